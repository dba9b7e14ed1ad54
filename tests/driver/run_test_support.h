// Runs the program in this process on a command line and collects what it
// printed, for the run-loop tests.
#pragma once

#include <string>
#include <vector>

#include "driver/program_entry.h"
#include "stream_capture.h"

using RunResult = Captured;

// `words` are the arguments after the program name ("/opt/tools/vorlan").
// The yes and pause settings are cleared first, as at process start.
RunResult runWith(std::vector<std::string> words, LibraryVersion library = {7.70f, "7.70"});

// Writes a small valid project with `objects` objects of one template.
std::string writeProject(const std::string& name, int objects);
