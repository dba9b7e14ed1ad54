// KelDLL: the toolkit's handle. It reports the toolkit's version and owns the
// single project object, world writer and config reader the program works
// with for the whole run.
#pragma once

#include "config/config_reader.h"
#include "world/morvik.h"
#include "project/vorlan.h"

class KelDLL {
 public:
  // The toolkit's version number and its text.
  float dll_GetVersion() const { return 7.70f; }
  const char* dll_GetVersionStr() const { return "7.70"; }
  // The project object, the world writer and the config reader; they live
  // as long as the handle.
  Vorlan* dll_GetVorlan() { return &project_; }
  Morvik* dll_GetMorvik() { return &world_; }
  Tovisk* dll_GetRap() { return &rap_; }

 private:
  Vorlan project_;
  Morvik world_;
  Tovisk rap_;
};
