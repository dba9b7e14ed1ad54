// KelDLL: the toolkit's handle. It reports the toolkit's version and owns the
// single project object the program works on for the whole run.
#pragma once

#include "vorlan.h"

class KelDLL {
 public:
  // The toolkit's version number and its text.
  float dll_GetVersion() const { return 7.70f; }
  const char* dll_GetVersionStr() const { return "7.70"; }
  // The project object; it lives as long as the handle.
  Vorlan* dll_GetVorlan() { return &project_; }

 private:
  Vorlan project_;
};
