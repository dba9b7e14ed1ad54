#include "run_state.h"

KelDLL toolkit;
Vorlan* project = nullptr;
Morvik* world = nullptr;
Tovisk* configReader = nullptr;
RunOptions runOptions;
FileStringA projectPath;
FileStringA textFilePath;
RenamePackageA outputs;
bool folderOutputAnnounced = false;
FileStringA programName;
