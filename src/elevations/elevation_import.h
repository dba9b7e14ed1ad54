// Import of the elevation grid (-IE) from an asc grid or, when the file does
// not start with an "ncols" line, from an xyz point list. The file must fit
// the project: its size and cell size are never changed.
#pragma once

#include "project/vorlan.h"

// Asks for confirmation ("Import Elevations"), reads every height of the
// grid from `fileName` and saves the project. Returns the save's status, or
// 1 when declined or when the file cannot be read or does not fit; the
// project file is then left as it was.
int importElevations(Vorlan& project, const char* fileName);

// The reading step of the import without confirmation and save: replaces
// the heights of the project's grid in memory with those of `fileName`,
// printing progress on standard output and problems on standard error.
// Returns 0 when every height was read, else 1; after a failure the grid
// may hold some new heights, and the project must not be saved.
int readElevationFile(Vorlan& project, const char* fileName);
