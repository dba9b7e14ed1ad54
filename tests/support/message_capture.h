// A message sink for toolkit calls that collects what it is given, so tests
// can check the messages a failure produces.
#pragma once

#include <string>

struct MessageCapture {
  static std::string text;
  static int calls;
  static void reset() {
    text.clear();
    calls = 0;
  }
  static bool sink(const char* format, ...);
};
