// KelDLL: the toolkit's handle. It reports the toolkit's version and owns the
// single project object and world writer the program works with for the
// whole run.
#pragma once

#include "morvik.h"
#include "vorlan.h"

class KelDLL {
 public:
  // The toolkit's version number and its text.
  float dll_GetVersion() const { return 7.70f; }
  const char* dll_GetVersionStr() const { return "7.70"; }
  // The project object and the world writer; they live as long as the handle.
  Vorlan* dll_GetVorlan() { return &project_; }
  Morvik* dll_GetMorvik() { return &world_; }

 private:
  Vorlan project_;
  Morvik world_;
};
