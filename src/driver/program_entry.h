// The whole run of the program: banner, toolkit version check, options,
// finding the project, processing it (or a folder of them), exception
// reporting and the exit status.
#pragma once

#include <functional>

// The toolkit version the run is checked against; the entry point passes the
// toolkit's own, tests pass others.
struct LibraryVersion {
  float number;
  const char* text;  // may be null
};

constexpr float kProgramVersion = 1.96f;
// The oldest toolkit accepted, and the version named in the refusal. They
// differ on purpose: a toolkit that shows as 7.70 only after rounding to two
// decimals is still accepted.
constexpr float kMinimumLibraryVersion = 7.699f;
constexpr float kRequiredLibraryVersionShown = 7.70f;

// Runs the program on its command line; returns the exit status.
int runProgram(int argc, char** argv, const LibraryVersion& library);

// True when the toolkit is too old; the refusal is printed and pause cleared.
bool checkLibraryVersion(float version);

// Runs `body` and returns its status; an exception escaping it is reported
// on standard error and gives 1. Either way the end-of-run pause follows
// when it is switched on.
int runGuarded(const std::function<int()>& body);
