// ByteSource: little-endian reading of bytes in memory (a mapped file or a
// buffer), with the absolute offset of every read and the number of bytes
// left, so that a decoder can check each count against the file before it
// allocates anything for it.
#pragma once

#include <cstdint>
#include <cstring>

class ByteSource {
 public:
  ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  void openMemory(const unsigned char* data, std::size_t size) {
    start_ = cur_ = data;
    end_ = data + size;
  }

  std::uint64_t offset() const { return static_cast<std::uint64_t>(cur_ - start_); }
  std::uint64_t size() const { return static_cast<std::uint64_t>(end_ - start_); }
  std::uint64_t remaining() const { return static_cast<std::uint64_t>(end_ - cur_); }

  // True when `n` bytes are left at cursor().
  bool ensure(std::size_t n) const { return static_cast<std::size_t>(end_ - cur_) >= n; }
  const unsigned char* cursor() const { return cur_; }
  void advance(std::size_t n) { cur_ += n; }

  template <typename T>
  bool read(T& value) {
    return readBytes(&value, sizeof(T));
  }
  // Copies `n` bytes out; false (nothing read) when fewer are left.
  bool readBytes(void* out, std::size_t n) {
    if (!ensure(n)) return false;
    if (n != 0) std::memcpy(out, cur_, n);
    cur_ += n;
    return true;
  }

 private:
  const unsigned char* start_ = nullptr;
  const unsigned char* cur_ = nullptr;
  const unsigned char* end_ = nullptr;
};
