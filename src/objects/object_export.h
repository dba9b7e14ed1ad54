// The object export (-E, -EO, -EO0 .. -EO3): one text record for every
// valid object of the project, in list order, to a file or to standard
// output. Every line ends in "\r\n".
//
// Layouts by format number:
//   0  "name",x,y,height,degrees
//   1  "name[:instance]",x,y,height,degrees,relative height,scale
//   2  "name",relative height, then the four transform rows on lines of
//      their own and an empty line
//   3  the same as 2
#pragma once

#include "text/text_writer.h"
#include "project/vorlan.h"

struct ObjectLayout {
  int format = 1;          // 0..3; anything else fails at the first object
  int separator = ',';     // written as one byte
  bool header = true;      // a header line first
  bool columnate = true;   // pad the name column, fixed-width numbers
};

// Writes the records to `out`. Returns 0, also after reporting an object
// whose template is missing (nothing is written then); 1 when the format is
// not 0..3 or the output failed (out.error() is then set).
int writeObjects(Vorlan& project, TextWriter& out, const ObjectLayout& layout);

// The action: writes to the file `fileName`, or to standard output when the
// name is null or empty. Returns 0 or 1. A file that cannot be written stays
// as it was.
int exportObjects(Vorlan& project, const char* fileName, const ObjectLayout& layout);
