// vorlan-map: draws a project as a PNG picture.
//
//   vorlan-map project[.pew] [picture.png]
//
// The picture's name defaults to the project's with ".png" in place of its
// extension, beside it. Messages and the summary go to standard error.
#pragma once

// Runs the program on its command line; returns the exit status: 0, or 1
// when the project does not open, has no grid, or the picture cannot be
// written (the picture's old file, if any, is then left as it was).
int runMap(int argc, char** argv);
