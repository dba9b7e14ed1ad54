#include "system/byte_sink.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "system/file_calls.h"

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
  if (error_ != 0 || n == 0) return;
  error_ = writeWhole(fd_, data, n);
  if (error_ == 0) startWriteback(n);
}

// Have the system start putting each block on disk now, without waiting: the
// writes overlap with the encoding of the next blocks, and the fsync that
// every save ends with finds little left to do. A file system that cannot do
// this just ignores it.
void ByteSink::startWriteback(std::size_t n) {
  ::sync_file_range(fd_, static_cast<off_t>(written_), static_cast<off_t>(n), SYNC_FILE_RANGE_WRITE);
  written_ += n;
}

std::size_t ByteSink::copyFrom(int in, std::uint64_t offset, std::size_t n) {
  flush();
  if (error_ != 0 || fd_ < 0) return 0;
  auto from = static_cast<off_t>(offset);
  std::size_t done = 0;
  while (done < n) {
    ssize_t copied = ::copy_file_range(in, &from, fd_, nullptr, n - done, 0);
    if (copied < 0 && errno == EINTR) continue;
    // Any failure, or the end of the file, leaves the rest to a plain write,
    // which meets a real error again and reports it.
    if (copied <= 0) break;
    startWriteback(static_cast<std::size_t>(copied));
    done += static_cast<std::size_t>(copied);
  }
  return done;
}

void ByteSink::flush() {
  writeAll(buffer_.data(), used_);
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
    writeAll(static_cast<const unsigned char*>(data), n);
    return;
  }
  std::memcpy(buffer_.data(), data, n);
  used_ = n;
}

int ByteSink::sync() {
  flush();
  if (fd_ >= 0 && error_ == 0) error_ = syncWhole(fd_);
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
