// Export of the elevation grid (-EE, -EE0, -EE1) as an ESRI ASCII grid
// ("asc", format 0) or as one "x y height" point per line ("xyz", format 1).
#pragma once

#include "text/text_writer.h"
#include "project/vorlan.h"

enum ElevationFormat : unsigned { kElevationAsc = 0, kElevationXyz = 1 };

// Writes the project's grid to `fileName` in the given format and reports
// progress on standard output. Returns 0, or 1 when there is no file name,
// the file cannot be created or written, or the format is unknown (the file
// is then left empty). The project is only read.
int exportElevations(Vorlan& project, const char* fileName, unsigned format);

// Writes the whole grid to `out`: the six asc header lines and the rows
// (each followed by an empty line), or the xyz points row by row with x
// running fastest. Every line ends in "\r\n". Returns 0, or 1 for an unknown
// format, in which case nothing is written.
int writeElevationGrid(TextWriter& out, const ElevationGrid& grid, float cellSize, unsigned format);
