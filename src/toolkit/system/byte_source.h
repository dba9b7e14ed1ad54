// ByteSource: little-endian reading of a file (in large blocks) or of bytes
// in memory, with the absolute offset of every read and the number of bytes
// left, so that a decoder can check each count against the file before it
// allocates anything for it.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

class ByteSource {
 public:
  ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;
  ~ByteSource();

  // Opens a file for reading; returns 0 or the errno of the failure.
  int openFile(const char* name);
  void openMemory(const unsigned char* data, std::size_t size);

  std::uint64_t offset() const { return windowStart_ + static_cast<std::uint64_t>(cur_ - window_); }
  std::uint64_t size() const { return size_; }
  std::uint64_t remaining() const { return size_ - offset(); }

  // Makes `n` bytes available at cursor(); false when the data ends first.
  bool ensure(std::size_t n) {
    return static_cast<std::size_t>(end_ - cur_) >= n || refill(n);
  }
  const unsigned char* cursor() const { return cur_; }
  void advance(std::size_t n) { cur_ += n; }

  template <typename T>
  bool read(T& value) {
    if (!ensure(sizeof(T))) return false;
    std::memcpy(&value, cur_, sizeof(T));
    cur_ += sizeof(T);
    return true;
  }
  // Copies `n` bytes out; large copies bypass the buffer.
  bool readBytes(void* out, std::size_t n);

 private:
  bool refill(std::size_t n);
  std::size_t readSome(unsigned char* into, std::size_t max);

  static constexpr std::size_t kBlock = std::size_t{4} << 20;
  int fd_ = -1;
  std::uint64_t size_ = 0;
  std::uint64_t filePos_ = 0;      // file offset of the next byte to read from disk
  std::uint64_t windowStart_ = 0;  // file offset of window_[0]
  std::vector<unsigned char> buffer_;
  const unsigned char* window_ = nullptr;
  const unsigned char* cur_ = nullptr;
  const unsigned char* end_ = nullptr;
};
