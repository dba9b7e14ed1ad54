// The per-project cycle: open, statistics, the one selected action; and the
// walk that runs it on every project of a folder tree.
#pragma once

#include "run_options.h"

// Processes every "*.pew" file of the folder tree, depth first, entries in
// byte order of their names. Returns the first non-zero status (which stops
// the walk), 1 when a folder or an entry cannot be read (reported), else 0.
int walkFolder(const char* folder);

// Opens the project, prints its statistics and runs the selected action.
// Returns the open's status when it fails, else the action's; 1 when the
// path is not a regular file, or when another run keeps changing it (an
// action that changes the project holds its lock, see project_lock.h).
int processFile(const char* path);

// Runs the action on the open project; codes without an action return 0.
int dispatchAction(ActionCode code);

// The self-test: writes the open project to "test.pew" in the current
// folder, reads it back, and removes the file. Refuses (1) when a test.pew
// is there already.
int runSelfTest();
