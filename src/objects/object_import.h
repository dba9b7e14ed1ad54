// The object import (-I, -IO): reads object records, as the object export
// writes them, and adds one object per record to the project, creating a
// template for every model the project has none for.
//
// A record is a line "name<sep>value<sep>value..." where the name may be in
// double quotes and the separator is the first punctuation character behind
// it. Lines with a separator behind their second value are short records
// (x, y, height, degrees[, relative height[, scale]]); the others open a
// transform record: the relative height, then four rows of three values on
// lines of their own and one more line that is skipped. The records' places,
// directions and scales are checked for syntax only: new objects keep the
// placement the object list gives them.
#pragma once

#include <cstdio>

#include "text/text_writer.h"
#include "project/vorlan.h"

// The action: confirms, reads `fileName` and saves the project. Returns 1
// when the user declines, the file cannot be opened or read, or a line is
// bad (the objects of the lines before it then stay in memory, unsaved);
// otherwise the status of saving.
int importObjects(Vorlan& project, const char* fileName);

// Reads the records of `file` into the project, echoing every line to
// `echo`. Returns 0 at the end of the file; 1 after "bad syntax" or a read
// error (reported on standard error, the file named as `shownName`).
// `interactive` (the echo goes to a terminal) shows each line at once, and
// before any warning about it; otherwise the echo is written in blocks.
int readObjectRecords(Vorlan& project, FILE* file, TextWriter& echo, const char* shownName, bool interactive);
