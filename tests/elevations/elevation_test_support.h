// Small helpers shared by the elevation tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "project/vorlan.h"

// A project in memory with the given grid, heights in storage order.
inline void makeGrid(Vorlan& project, std::uint32_t columns, std::uint32_t rows, float spacing,
                     const std::vector<float>& heights = {}) {
  project.pew_New(columns, rows, spacing);
  ElevationGrid* grid = project.pew_get_elevations();
  for (std::size_t i = 0; i < heights.size(); ++i) grid->heights[i] = heights[i];
}

inline std::vector<float> heightsOf(Vorlan& project) {
  ElevationGrid* grid = project.pew_get_elevations();
  return std::vector<float>(grid->heights, grid->heights + std::size_t{grid->columns} * grid->rows);
}

// The six header lines the export writes.
inline std::string ascHeader(unsigned columns, unsigned rows, const std::string& cellSize) {
  return "ncols " + std::to_string(columns) + "\r\nnrows " + std::to_string(rows) +
         "\r\nxllcorner 0.0\r\nyllcorner 0.0\r\ncellsize " + cellSize + "\r\nNODATA_value -9999\r\n";
}
