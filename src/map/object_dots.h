// ObjectDots: the project's objects drawn onto the map, one pixel each.
#pragma once

#include <cstdint>

#include "picture.h"
#include "project/vorlan.h"

// Dot colours of objects whose template sets no object colour, by the
// template's object type; unknown types are drawn as artificial, objects
// whose template is missing in their own colour.
constexpr Rgb kNaturalDot{0, 100, 0};
constexpr Rgb kArtificialDot{220, 0, 0};
constexpr Rgb kRoadDot{64, 64, 64};
constexpr Rgb kMissingTemplateDot{255, 0, 255};

// The colour of the dots of a template's objects (null: a missing template).
Rgb dotColour(const PewObjectTemplate* t);

struct DotCounts {
  std::uint64_t drawn = 0;
  std::uint64_t deleted = 0;  // marked deleted but still stored
  std::uint64_t outside = 0;  // valid, but not over the grid
};

// Draws every valid object at its position: x east and y north, divided by
// the grid spacing, give the grid cell it stands in (the cell from grid
// point c to c + 1), and that cell's pixel takes the dot. Objects whose cell
// is not in the grid (or whose position is no number) are counted, not
// drawn.
DotCounts drawObjects(Vorlan& project, Picture& picture);
