#include "run_loop.h"

#include <cstdio>

#include "console.h"
#include "file_tree.h"
#include "run_state.h"
#include "templates/statistics.h"
#include "templates/template_export.h"
#include "templates/template_import.h"
#include "templates/template_reduction.h"
#include "world_export.h"

int walkFolder(const char* folder) {
  FileTreeEx listing;
  int opened = listing.ft_OpenDirNew(folder, "*.pew", 0);
  if (opened < 0) return 1;
  if (opened == 0) return 0;
  do {
    const char* entry = listing.ft_GetEntry(1);
    int status = listing.ft_IsDir() ? walkFolder(entry) : processFile(entry);
    if (status != 0) return status;
  } while (listing.ft_Next());
  return 0;
}

int processFile(const char* path) {
  int status = project->pew_Open(path, 0, printMessage, nullptr, 0);
  std::fputs("--------------\n", stderr);
  if (status != 0) return status;
  showStatistics(*project, printMessage);
  return dispatchAction(runOptions.action);
}

int runSelfTest() {
  std::fputs("\n==creating a test.pew===\n\n", stdout);
  int status = project->pew_Create("test", 0);
  if (status == 0) status = project->pew_Open("test", 0, printMessage, nullptr, 0);
  FileStringA().fs_unlink("test.pew");
  std::fputs("Clearing pew\n", stdout);
  return status;
}

// The object half of -ROT/-RTO, which the object maintenance module
// provides; until it is part of the program the objects are left as they
// are and the templates are reduced alone.
namespace {
int reduceObjectsBeforeTemplates() { return 0; }
}  // namespace

int dispatchAction(ActionCode code) {
  // Actions whose modules are not part of the program yet do nothing and
  // succeed, like None and Analyse, whose result is the statistics alone.
  switch (code) {
    case ActionCode::SelfTest:
      return runSelfTest();
    case ActionCode::ListTemplates:
      return listTemplates(*project, runOptions.separator);
    case ActionCode::ExportWrp:
      return exportWorld();
    case ActionCode::DeleteTemplates:
      return deleteTemplates(*project);
    case ActionCode::ReduceTemplates:
      return reduceTemplates(*project);
    case ActionCode::AddTemplates:
      return importTemplates(*project, *configReader, textFilePath.Get(), true);
    case ActionCode::ExportTemplates:
      return exportTemplates(*project, textFilePath.Get(), project->GetIO());
    case ActionCode::ImportTemplates:
      return importTemplates(*project, *configReader, textFilePath.Get(), false);
    case ActionCode::ReduceAll:
      return reduceObjectsAndTemplates(*project, reduceObjectsBeforeTemplates);
    case ActionCode::None:
    case ActionCode::Analyse:
    case ActionCode::ExportElevations:
    case ActionCode::ImportElevations:
    case ActionCode::DeleteObjects:
    case ActionCode::ImportObjects:
    case ActionCode::ExportObjects:
    case ActionCode::ReduceObjects:
    case ActionCode::ListDuplicates:
    case ActionCode::RemoveDuplicates:
      return 0;
  }
  return 0;  // codes above 18
}
