// Runs a built program of the project as its own process, the way a user
// runs it from a shell, for the tests that need a whole process.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

// Starts `tool` in the folder `dir` with `args` after the program's name, in
// a plain environment (LC_ALL=C, no terminal). Standard input comes from
// `in` (empty: /dev/null); standard output and error go to the files `out`
// and `err` of `dir` (one file when they are the same name). Files it
// writes are limited to 256 MB and the run to 60 seconds.
pid_t startTool(const std::string& tool, const std::string& dir, const std::vector<std::string>& args,
                const std::string& in, const std::string& out, const std::string& err);

// Waits for the process: its exit status, or 128 plus the signal that ended
// it (SIGALRM: it ran out of time).
int waitForTool(pid_t pid);
