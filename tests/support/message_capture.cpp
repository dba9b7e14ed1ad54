#include "message_capture.h"

#include <cstdarg>
#include <cstdio>

std::string MessageCapture::text;
int MessageCapture::calls = 0;

bool MessageCapture::sink(const char* format, ...) {
  char buffer[4096];
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  text += buffer;
  ++calls;
  return true;
}
