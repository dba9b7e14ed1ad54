#include "text/cstring8.h"

#include <cstdio>
#include <string>

const char* CString8::Format(const char* format, ...) {
  va_list args;
  va_start(args, format);
  FormatV(format, args);
  va_end(args);
  return Get();
}

const char* CString8::FormatV(const char* format, va_list args) {
  if (!format) {
    Set("");
    return Get();
  }
  va_list measure;
  va_copy(measure, args);
  int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length <= 0) {
    Set("");
    return Get();
  }
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, args);
  text.resize(static_cast<std::size_t>(length));
  Set(text);
  return Get();
}
