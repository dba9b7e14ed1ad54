// Opening the text files that imports read. An import text is a regular
// file or a pipe (so "/dev/stdin" fed from a file or a pipe works); folders,
// devices and sockets are refused, since reading /dev/zero or a terminal
// would never end. A named pipe is opened without waiting for a writer:
// with none, it reads as empty instead of holding the run.
#pragma once

#include <string>

// Returns a file descriptor open for (blocking) reading, or -1 with
// `problem` (if given) set to why: the system's reason, or "is a
// character device, not a file or pipe" and the like.
int openInputFile(const char* name, std::string* problem);

// "a folder", "a character device", ... for the kind of file `mode` gives.
const char* fileKindName(unsigned mode);
