#include "run_loop.h"

#include <cstdio>

#include "console.h"
#include "elevations/elevation_export.h"
#include "elevations/elevation_import.h"
#include "system/file_tree.h"
#include "objects/object_export.h"
#include "objects/object_import.h"
#include "objects/object_maintenance.h"
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

int dispatchAction(ActionCode code) {
  // None and Analyse have nothing to do: the statistics already printed are
  // their whole result.
  switch (code) {
    case ActionCode::SelfTest:
      return runSelfTest();
    case ActionCode::ListTemplates:
      return listTemplates(*project, runOptions.separator);
    case ActionCode::ExportElevations:
      return exportElevations(*project, textFilePath.Get(), static_cast<unsigned>(runOptions.elevationFormat));
    case ActionCode::ImportElevations:
      return importElevations(*project, textFilePath.Get());
    case ActionCode::DeleteObjects:
      return deleteObjects(*project);
    case ActionCode::ImportObjects:
      return importObjects(*project, textFilePath.Get());
    case ActionCode::ExportObjects: {
      ObjectLayout layout;
      layout.format = runOptions.objectFormat;
      layout.separator = runOptions.separator;
      layout.header = runOptions.header != 0;
      layout.columnate = runOptions.columnate == 1;
      return exportObjects(*project, textFilePath.Get(), layout);
    }
    case ActionCode::ReduceObjects:
      return reduceObjects(*project);
    case ActionCode::ListDuplicates:
      return listDuplicates(*project);
    case ActionCode::RemoveDuplicates:
      return removeDuplicates(*project);
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
      return reduceObjectsAndTemplates(*project, [] { return reduceObjects(*project); });
    case ActionCode::None:
    case ActionCode::Analyse:
      return 0;
  }
  return 0;  // codes above 18
}
