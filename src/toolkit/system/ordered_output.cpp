#include "system/ordered_output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

ssize_t writeError(void*, const char* data, size_t size) {
  std::fflush(stdout);
  size_t done = 0;
  while (done < size) {
    ssize_t n = ::write(STDERR_FILENO, data + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return done > 0 ? static_cast<ssize_t>(done) : -1;
    done += static_cast<size_t>(n);
  }
  return static_cast<ssize_t>(done);
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
