// Relief: the elevation grid drawn as shaded relief over a colour ramp, the
// ground of the map picture.
#pragma once

#include <cstdint>

#include "picture.h"
#include "project/vorlan.h"

// The longest side of a picture; larger grids are averaged down.
constexpr std::uint32_t kLargestPictureSide = 4096;

// Grid points per pixel along each side for a grid of columns x rows: the
// smallest whole number that keeps both sides within the largest picture.
std::uint32_t pictureFactor(std::uint32_t columns, std::uint32_t rows);

// The grid as a picture, north up. Each pixel shows one factor x factor
// block of grid points (their average; the blocks at the eastern and
// northern edges may be smaller). Heights below 0 are water, blue that
// deepens towards the lowest point; land goes from green at 0 through brown
// to white at the highest point. Light from the north-west shades the
// slopes; flat ground keeps the ramp's own colour. Grid points that hold no
// number (NaN, infinity) are left out of the averages; a pixel with none
// is black. `spacing` is the distance of the grid points, which sets the
// steepness of the slopes. An empty grid gives an empty picture.
Picture drawRelief(const ElevationGrid& grid, float spacing);
