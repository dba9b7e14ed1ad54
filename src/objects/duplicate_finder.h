// Finds, for each valid object of a list, its first later twin: the first
// valid object behind it with the same template id and a transform equal
// byte for byte (so 0.0 and -0.0 differ). Linear however many objects and
// however large the groups of twins: one pass hashes every object, a second
// puts them in hash tables; both split between two threads on a large list.
#pragma once

#include <cstdint>
#include <vector>

#include "project/pew_object.h"

// The objects at two positions of the list (PewObjects::atPosition): one,
// and its first later twin.
struct TwinPair {
  std::uint32_t first;
  std::uint32_t twin;
  bool operator==(const TwinPair&) const = default;
};

// Every valid object that has a later twin, with that twin, in the order of
// the list: memory for the twins found and 4 bytes a position.
std::vector<TwinPair> findLaterTwins(const PewObjects& objects);
