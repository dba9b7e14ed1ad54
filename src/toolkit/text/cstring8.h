// CString8: the toolkit's 8-bit text with printf-style formatting on top of
// GenString. The result is never cut: the string grows to fit the output.
#pragma once

#include <cstdarg>

#include "gen_string.h"

class CString8 : public GenString {
 public:
  using GenString::GenString;
  CString8() = default;

  // The string becomes the formatted text; returns it. A null format gives "".
  const char* Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
  const char* FormatV(const char* format, va_list args) __attribute__((format(printf, 2, 0)));
};
