#include "run_state.h"

KelDLL toolkit;
Vorlan* project = nullptr;
Morvik* world = nullptr;
RunOptions runOptions;
FileStringA projectPath;
FileStringA textFilePath;
RenamePackageA outputs;
FileStringA programName;
