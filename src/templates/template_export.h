// -ET: the template table of the open project written as a class library
// text that the template import (-AT, -IT) reads back. Every member is left
// out where it has the value a new template gets, so a library of plain
// templates stays short.
#pragma once

#include "system/kel_file_io.h"
#include "project/vorlan.h"

// Writes every template of `project`, in table order, into `fileName`, with
// the banner that `io` composes. Returns 0 when the library was written, 1
// when the file cannot be created or written (a partly written file is
// removed). The project is only read.
int exportTemplates(Vorlan& project, const char* fileName, KelFileIO* io);
