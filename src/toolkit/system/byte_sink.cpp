#include "system/byte_sink.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

ByteSink::~ByteSink() {
  if (fd_ >= 0) ::close(fd_);
}

int ByteSink::openWith(const char* name, int flags) {
  fd_ = ::open(name, O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0666);
  if (fd_ < 0) return error_ = errno;
  written_ = 0;
  buffer_.resize(kFirstBuffer);
  used_ = 0;
  return 0;
}

int ByteSink::create(const char* name) { return openWith(name, O_TRUNC); }

int ByteSink::createNew(const char* name) { return openWith(name, O_EXCL); }

void ByteSink::writeAll(const unsigned char* data, std::size_t n) {
  const off_t start = static_cast<off_t>(written_);
  const std::size_t length = n;
  while (n > 0 && error_ == 0) {
    ssize_t w = ::write(fd_, data, n);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) {
      error_ = w < 0 ? errno : EIO;
      return;
    }
    data += w;
    n -= static_cast<std::size_t>(w);
    written_ += static_cast<std::uint64_t>(w);
  }
  // Have the system start putting each block on disk now, without waiting:
  // the writes overlap with the encoding of the next blocks, and the fsync
  // that every save ends with finds little left to do. A file system that
  // cannot do this just ignores it.
  ::sync_file_range(fd_, start, static_cast<off_t>(length), SYNC_FILE_RANGE_WRITE);
}

void ByteSink::flush() {
  if (used_ > 0 && error_ == 0 && fd_ >= 0) writeAll(buffer_.data(), used_);
  used_ = 0;
}

void ByteSink::writeSlow(const void* data, std::size_t n) {
  // The buffer starts small and doubles up to its full size before anything
  // is written, so a small file costs no more than its own bytes.
  while (buffer_.size() < kFullBuffer && n > buffer_.size() - used_) buffer_.resize(2 * buffer_.size());
  if (n <= buffer_.size() - used_) {
    std::memcpy(buffer_.data() + used_, data, n);
    used_ += n;
    return;
  }
  flush();
  if (n >= buffer_.size()) {
    if (error_ == 0 && fd_ >= 0) writeAll(static_cast<const unsigned char*>(data), n);
    return;
  }
  std::memcpy(buffer_.data(), data, n);
  used_ = n;
}

int ByteSink::sync() {
  flush();
  if (fd_ >= 0 && error_ == 0) {
    while (::fsync(fd_) != 0) {
      if (errno != EINTR) {
        error_ = errno;
        break;
      }
    }
  }
  return error_;
}

int ByteSink::close() {
  flush();
  if (fd_ >= 0) {
    if (::close(fd_) != 0 && error_ == 0) error_ = errno;
    fd_ = -1;
  }
  return error_;
}
