// Finds, for each valid object of a list, its first later twin: the first
// valid object behind it with the same template id and a transform equal
// byte for byte (so 0.0 and -0.0 differ). Linear however many objects and
// however large the groups of twins: one pass hashes every object into parts
// by hash, a second searches each part in a hash table small enough to stay
// in a processor's cache; both split between two threads on a large list.
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

namespace twin_search {
// The bits of each object's 64-bit hash that count. Tests narrow them so
// that objects which are not twins share hashes.
inline std::uint64_t hashBits = ~std::uint64_t{0};
}  // namespace twin_search

// Every valid object that has a later twin, with that twin, in the order of
// the list: memory for the twins found and 12 bytes a valid object.
std::vector<TwinPair> findLaterTwins(const PewObjects& objects);
