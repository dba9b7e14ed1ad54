#include "run_state.h"

RunOptions runOptions;
FileStringA projectPath;
FileStringA textFilePath;
RenamePackageA outputs;
