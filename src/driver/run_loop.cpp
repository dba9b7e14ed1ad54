#include "run_loop.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "console.h"
#include "elevations/elevation_export.h"
#include "elevations/elevation_import.h"
#include "system/file_tree.h"
#include "system/input_file.h"
#include "objects/object_export.h"
#include "objects/object_import.h"
#include "objects/object_maintenance.h"
#include "system/project_lock.h"
#include "run_state.h"
#include "templates/statistics.h"
#include "templates/template_export.h"
#include "templates/template_import.h"
#include "templates/template_reduction.h"
#include "text/utf_convertors.h"
#include "world_export.h"

namespace {

constexpr int kLockWaitMilliseconds = 3000;

std::string shown(const char* text) { return utfConvertors::convert_if_local_codepage(text); }

// The actions that read, change and save the project.
bool changesProject(ActionCode code) {
  switch (code) {
    case ActionCode::ImportElevations:
    case ActionCode::DeleteObjects:
    case ActionCode::DeleteTemplates:
    case ActionCode::ImportObjects:
    case ActionCode::ReduceObjects:
    case ActionCode::ReduceTemplates:
    case ActionCode::AddTemplates:
    case ActionCode::ImportTemplates:
    case ActionCode::ReduceAll:
    case ActionCode::RemoveDuplicates:
      return true;
    default:
      return false;
  }
}

void sayWaiting(const char* path) {
  std::fprintf(stderr, "%s is being changed by another run; waiting for it...\n", shown(path).c_str());
}

}  // namespace

int walkFolder(const char* folder) {
  FileTreeEx listing;
  int opened = listing.ft_OpenDirNew(folder, "*.pew", 0);
  if (opened < 0) {
    std::fprintf(stderr, "cannot read %s\n", shown(listing.ft_GetError()).c_str());
    return 1;
  }
  if (opened == 0) return 0;
  do {
    const char* entry = listing.ft_GetEntry(1);
    int status = listing.ft_IsDir() ? walkFolder(entry) : processFile(entry);
    if (status != 0) return status;
  } while (listing.ft_Next());
  return 0;
}

int processFile(const char* path) {
  // Only a regular file can be a project; opening a named pipe would wait
  // for a writer, and a device may never end.
  struct stat info;
  if (stat(path, &info) == 0 && !S_ISREG(info.st_mode)) {
    std::fprintf(stderr, "%s is %s, not a project file\n", shown(path).c_str(), fileKindName(info.st_mode));
    return 1;
  }
  // A change is read, made and saved under the lock, so that two runs
  // changing one project cannot lose one of the changes.
  ProjectLock lock;
  if (changesProject(runOptions.action)) {
    int error = lock.acquire(path, kLockWaitMilliseconds, sayWaiting);
    if (error == EWOULDBLOCK) {
      std::fprintf(stderr, "%s is being changed by another run: nothing was done, try again when it has finished\n",
                   shown(path).c_str());
      return 1;
    }
  }
  int status = project->pew_Open(path, Vorlan::kNoFlags, printMessage, nullptr, 0);
  std::fputs("--------------\n", stderr);
  if (status != 0) return status;
  showStatistics(*project, printMessage);
  return dispatchAction(runOptions.action);
}

int runSelfTest() {
  // The self-test writes and then removes test.pew: never one of the user's.
  struct stat info;
  if (lstat("test.pew", &info) == 0) {
    std::fputs("test.pew already exists in this folder: the self-test would overwrite and remove it, "
               "so it was not run\n", stderr);
    return 1;
  }
  std::fputs("\n==creating a test.pew===\n\n", stdout);
  int status = project->pew_Create("test", 0);
  if (status == 0) status = project->pew_Open("test", Vorlan::kNoFlags, printMessage, nullptr, 0);
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
