#include "save_project.h"

#include <cstdio>

#include "console.h"
#include "run_state.h"
#include "templates/statistics.h"
#include "text/utf_convertors.h"

namespace {

std::string shownName(const char* path) {
  FileStringA name;
  name.fs_Extract(FileStringA::kName | FileStringA::kExtension, path);
  return utfConvertors::convert_if_local_codepage(name.Get());
}

}  // namespace

int saveProject(const char* message) {
  const char* name = outputs.rnp_GetFileName(3);
  std::fprintf(stderr, "\n-------------\nCreating %s...", shownName(name).c_str());
  int status = project->pew_Create(name, 0);
  std::fputs("--------------\n", stderr);
  status = outputs.rnp_CloseOutputs(status);
  if (status != 0) {
    const char* reason = *outputs.rnp_GetError() ? outputs.rnp_GetError() : "the new project could not be written";
    std::fprintf(stderr, "%s was not saved and is unchanged: %s\n", shownName(outputs.rnp_GetFileName(1)).c_str(),
                 utfConvertors::convert_if_local_codepage(reason).c_str());
    return status;
  }
  if (message) std::printf("%s", utfConvertors::convert_if_local_codepage(message).c_str());
  if (runOptions.verify) {
    name = outputs.rnp_GetFileName(1);
    std::printf("Verifying new %s.....", shownName(name).c_str());
    status = project->pew_Open(name, Vorlan::kNoFlags, printMessage, nullptr, 0);
    if (status != 0) return status;
    showStatistics(*project, printMessage);
  }
  return status;
}
