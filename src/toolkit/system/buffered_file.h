// A stdio stream for writing a file through a large buffer, so big text
// exports reach the disk in few large writes. fclose flushes it, releases
// the buffer and reports a failed write as EOF.
#pragma once

#include <cstddef>
#include <cstdio>

constexpr std::size_t kWriteBufferSize = std::size_t{1} << 20;

// Creates or truncates `name` (mode 0666 less the umask); null on failure.
FILE* openBufferedWriter(const char* name);
