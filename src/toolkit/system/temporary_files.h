// Temporary files of this process (a project or an export being written),
// removed when a terminating signal ends the run part-way, and the cleanup of
// those that killed runs left behind.
#pragma once

#include <string>

// Records `path` as a temporary file of ours: SIGINT, SIGTERM or SIGHUP
// remove it before the process ends (the handlers are installed on the first
// call, except for signals the process ignores). Only a few names are held
// at once; the rest are not covered.
void holdTemporary(const std::string& path);
// Forgets `path` (it has been renamed into place or removed).
void releaseTemporary(const std::string& path);

// Removes from `folder` ("" for the current one, otherwise ending in '/') the
// regular files named `prefix` + "<pid>" [+ "-<counter>"] + `suffix` whose
// process no longer exists. Names of this process, and of processes of other
// users (which cannot be told from live ones), are left alone.
void removeStaleTemporaries(const std::string& folder, const std::string& prefix, const std::string& suffix = "");
