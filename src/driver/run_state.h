// The process-wide state of one run: the toolkit handle and its objects, the
// settings, the two paths from the command line, and the output-name builder
// used by every save. Each lives for the whole process.
#pragma once

#include "system/file_string.h"
#include "kel_dll.h"
#include "system/rename_package.h"
#include "run_options.h"

extern KelDLL toolkit;
// The toolkit's project object, world writer and config reader, fetched by
// the entry point.
extern Vorlan* project;
extern Morvik* world;
extern Tovisk* configReader;
extern RunOptions runOptions;
// The project file or folder named on the command line.
extern FileStringA projectPath;
// The import or export text file named on the command line; empty if none.
extern FileStringA textFilePath;
// Builds and commits the output names when a project is rewritten.
extern RenamePackageA outputs;
// Set once a changing action on a folder has said where it saves.
extern bool folderOutputAnnounced;
// The running program's file name without folder and extension.
extern FileStringA programName;
