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

inline constexpr std::uint32_t kNoTwin = 0xFFFFFFFF;

// For each objects[i], the index of its first later twin, or kNoTwin.
std::vector<std::uint32_t> findLaterTwins(std::span<const PewObject* const> objects);
