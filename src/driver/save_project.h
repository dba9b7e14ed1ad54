// The end of every action that changes the project.
#pragma once

// Writes the open project through the prepared output names (see
// confirmAction), commits them (with the backup under -B), prints `message`
// (when not null) and, under -V, re-opens the new file and prints its
// statistics. Returns 0, or the failing step's status.
int saveProject(const char* message);
