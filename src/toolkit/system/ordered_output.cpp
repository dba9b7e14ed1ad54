#include "system/ordered_output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "system/file_calls.h"

namespace {

ssize_t writeError(void*, const char* data, size_t size) {
  std::fflush(stdout);
  if (int error = writeWhole(STDERR_FILENO, data, size); error != 0) {
    errno = error;
    return -1;
  }
  return static_cast<ssize_t>(size);
}

}  // namespace

void flushOutputBeforeErrors() {
  cookie_io_functions_t functions{};
  functions.write = writeError;
  FILE* stream = fopencookie(nullptr, "w", functions);
  if (!stream) return;
  setvbuf(stream, nullptr, _IONBF, 0);
  stderr = stream;
}
