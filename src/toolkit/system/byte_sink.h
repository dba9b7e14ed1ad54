// ByteSink: little-endian writing to a file through a large buffer. The
// first failure is remembered and every later write is dropped, so a writer
// can emit a whole file and check once at the end.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

class ByteSink {
 public:
  ByteSink() = default;
  ByteSink(const ByteSink&) = delete;
  ByteSink& operator=(const ByteSink&) = delete;
  ~ByteSink();

  // Creates (or truncates) the file; returns 0 or the errno of the failure.
  int create(const char* name);
  // Creates a file that must not exist yet (a temporary file beside a
  // target); returns 0 or the errno of the failure (EEXIST when it exists).
  int createNew(const char* name);
  template <typename T>
  void put(const T& value) {
    write(&value, sizeof(T));
  }
  void write(const void* data, std::size_t n) {
    if (n == 0) return;
    if (n <= buffer_.size() - used_) {
      std::memcpy(buffer_.data() + used_, data, n);
      used_ += n;
    } else {
      writeSlow(data, n);
    }
  }
  // Has the system copy the `n` bytes at `offset` of the open file `in` to
  // the end of this file, without passing them through memory. Returns how
  // many it copied: fewer, down to none, when the system cannot (another
  // file system, a file that got shorter); the caller writes the rest.
  std::size_t copyFrom(int in, std::uint64_t offset, std::size_t n);
  // Flushes and has the system put the data on disk (fsync); returns 0 or
  // the errno of the first failure.
  int sync();
  // Flushes and closes; returns 0 or the errno of the first failure.
  int close();
  int error() const { return error_; }

 private:
  void writeSlow(const void* data, std::size_t n);
  void flush();
  void writeAll(const unsigned char* data, std::size_t n);
  void startWriteback(std::size_t n);
  int openWith(const char* name, int flags);

  static constexpr std::size_t kFirstBuffer = std::size_t{64} << 10;
  static constexpr std::size_t kFullBuffer = std::size_t{4} << 20;

  int fd_ = -1;
  int error_ = 0;
  std::vector<unsigned char> buffer_;
  std::size_t used_ = 0;
  std::uint64_t written_ = 0;  // bytes written to the file so far
};
