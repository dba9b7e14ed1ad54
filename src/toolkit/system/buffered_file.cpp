#include "system/buffered_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

#include "system/file_calls.h"

// The C library's stdio buffer size cannot be raised without handing it
// memory that must outlive the stream, and the caller closes the stream with
// a plain fclose. So the stream is a custom one (the C library's cookie
// streams) whose cookie owns the file and a buffer of its own; stdio's small
// buffer feeds it and fclose releases both.
namespace {

struct Writer {
  int fd = -1;
  std::vector<char> buffer;
  bool failed = false;
  bool regular = false;     // a regular file, whose writeback can be started early
  std::uint64_t written = 0;
};

bool writeAll(Writer& w, const char* data, std::size_t size) {
  const std::uint64_t start = w.written;
  const std::size_t total = size;
  if (int error = writeWhole(w.fd, data, size); error != 0) {
    errno = error;  // for the stream, which reports the failure
    w.failed = true;
    return false;
  }
  w.written += total;
  // Have the system start putting each large block on disk now, without
  // waiting: the disk works while the next block is formatted, and the
  // fsync that makes an export durable finds little left to do.
  if (w.regular && total >= kWriteBufferSize / 2)
    ::sync_file_range(w.fd, static_cast<off_t>(start), static_cast<off_t>(total), SYNC_FILE_RANGE_WRITE);
  return true;
}

bool flushBuffer(Writer& w) {
  bool ok = w.failed ? false : writeAll(w, w.buffer.data(), w.buffer.size());
  w.buffer.clear();
  return ok;
}

ssize_t cookieWrite(void* cookie, const char* data, size_t size) {
  auto& w = *static_cast<Writer*>(cookie);
  if (w.failed) return -1;
  if (w.buffer.size() + size > kWriteBufferSize && !flushBuffer(w)) return -1;
  if (size >= kWriteBufferSize) {
    if (!writeAll(w, data, size)) return -1;
  } else {
    w.buffer.insert(w.buffer.end(), data, data + size);
  }
  return static_cast<ssize_t>(size);
}

int cookieClose(void* cookie) {
  auto* w = static_cast<Writer*>(cookie);
  bool ok = flushBuffer(*w);
  if (::close(w->fd) != 0) ok = false;
  delete w;
  return ok ? 0 : EOF;
}

}  // namespace

FILE* openBufferedWriter(const char* name) {
  int fd = ::open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) return nullptr;
  auto* w = new Writer;
  w->fd = fd;
  struct stat info;
  w->regular = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
  w->buffer.reserve(kWriteBufferSize);
  cookie_io_functions_t functions{};
  functions.write = cookieWrite;
  functions.close = cookieClose;
  FILE* stream = fopencookie(w, "wb", functions);
  if (!stream) {
    ::close(fd);
    delete w;
  }
  return stream;
}
