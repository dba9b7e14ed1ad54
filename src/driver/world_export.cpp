#include "world_export.h"

#include <cstdio>

#include "console.h"
#include "run_state.h"
#include "text/utf_convertors.h"

int exportWorld() {
  // The world goes beside the project: map.pew gives map.wrp. In a folder
  // walk the name is built from the folder's name all the same.
  FileStringA outputName;
  outputName.Format("%s", projectPath.Get());
  outputName.fs_ReplaceExt("wrp");
  std::printf("Making %s ...\n", utfConvertors::convert_if_local_codepage(outputName.Get()).c_str());

  int status = world->wrp_CreateFromPew(8, project, printMessage);
  if (status != 0) return status;
  std::fputs("...Writing wrp\n", stdout);
  status = world->wrp_Create(outputName.Get(), 8);
  // The world is the last thing done with this project in this run.
  project->Close();
  world->Close();

  if (status == 0 && runOptions.verify) {
    std::fputs("\n*********verifying wrp===========\n", stdout);
    status = world->wrp_Open(outputName.Get(), 0, printMessage, nullptr, 0);
    world->Close();
  }
  return status;
}
