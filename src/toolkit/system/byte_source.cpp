#include "system/byte_source.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

ByteSource::~ByteSource() {
  if (fd_ >= 0) ::close(fd_);
}

int ByteSource::openFile(const char* name) {
  int fd = ::open(name, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno;
  struct stat st;
  if (::fstat(fd, &st) != 0) {
    int e = errno;
    ::close(fd);
    return e;
  }
  if (S_ISDIR(st.st_mode)) {
    ::close(fd);
    return EISDIR;
  }
  fd_ = fd;
  size_ = static_cast<std::uint64_t>(st.st_size);
  // A window of the file's own size when it is smaller than a block.
  buffer_.resize(size_ < kBlock ? static_cast<std::size_t>(size_) : kBlock);
  window_ = cur_ = end_ = buffer_.data();
  windowStart_ = filePos_ = 0;
  return 0;
}

void ByteSource::openMemory(const unsigned char* data, std::size_t size) {
  fd_ = -1;
  size_ = size;
  window_ = cur_ = data;
  end_ = data + size;
  windowStart_ = 0;
  filePos_ = size;
}

std::size_t ByteSource::readSome(unsigned char* into, std::size_t max) {
  std::size_t got = 0;
  while (got < max) {
    ssize_t n = ::read(fd_, into + got, max - got);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;  // an error or a file that shrank: the caller sees a shortage
    got += static_cast<std::size_t>(n);
  }
  filePos_ += got;
  return got;
}

bool ByteSource::refill(std::size_t n) {
  if (fd_ < 0) return false;  // memory holds everything there is
  if (remaining() < n) return false;
  std::size_t have = static_cast<std::size_t>(end_ - cur_);
  std::uint64_t start = offset();
  if (buffer_.size() < n) {
    // Only ever as large as the file still holds (checked above).
    std::vector<unsigned char> bigger(n);
    std::memcpy(bigger.data(), cur_, have);
    buffer_.swap(bigger);
  } else {
    std::memmove(buffer_.data(), cur_, have);
  }
  std::size_t want = buffer_.size() - have;
  std::uint64_t left = size_ - filePos_;
  if (want > left) want = static_cast<std::size_t>(left);
  std::size_t got = readSome(buffer_.data() + have, want);
  window_ = cur_ = buffer_.data();
  end_ = window_ + have + got;
  windowStart_ = start;
  return have + got >= n;
}

bool ByteSource::readBytes(void* out, std::size_t n) {
  if (n == 0) return true;
  if (remaining() < n) return false;
  auto* dst = static_cast<unsigned char*>(out);
  std::size_t have = static_cast<std::size_t>(end_ - cur_);
  if (n <= have || fd_ < 0) {
    if (n > have) return false;
    std::memcpy(dst, cur_, n);
    cur_ += n;
    return true;
  }
  // Drain the buffer, then read the rest straight into the destination.
  std::memcpy(dst, cur_, have);
  std::uint64_t start = offset() + have;
  std::size_t got = readSome(dst + have, n - have);
  window_ = cur_ = end_ = buffer_.data();
  windowStart_ = start + got;
  return got == n - have;
}
