// Finds, for each object of a list, its first later twin: the first object
// behind it with the same template id and a transform equal byte for byte
// (so 0.0 and -0.0 differ). One pass over the objects with a hash table of
// their template ids and transform bytes: linear however many objects and
// however large the groups of twins.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "project/pew_object.h"

// objects[first] and its first later twin, objects[twin].
struct TwinPair {
  std::uint32_t first;
  std::uint32_t twin;
  bool operator==(const TwinPair&) const = default;
};

// Every object that has a later twin, with that twin, in the order of the
// objects: memory for the twins found, not for every object.
std::vector<TwinPair> findLaterTwins(std::span<const PewObject* const> objects);
