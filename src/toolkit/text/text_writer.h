// TextWriter: buffered text output for the exports, used instead of fprintf
// in loops that write millions of numbers. Numbers come out exactly as printf
// writes them in the C locale (see number_text.h). The first failure is
// remembered and every later write is dropped, so a writer can emit a whole
// file and check once at the end.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include "text/number_text.h"

class TextWriter {
 public:
  static constexpr std::size_t kBufferSize = std::size_t{1} << 20;

  // Writes through a stdio stream (a file an export opened, or stdout),
  // flushing it at each flush(); the stream stays open afterwards.
  explicit TextWriter(std::FILE* stream);
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;
  ~TextWriter();

  void put(char c) {
    if (used_ == buffer_.size()) flush();
    buffer_[used_++] = c;
  }
  void put(std::string_view text) {
    if (text.size() <= buffer_.size() - used_) {
      std::memcpy(buffer_.data() + used_, text.data(), text.size());
      used_ += text.size();
    } else {
      putSlow(text);
    }
  }
  // As printf("%*.*f", width, precision, value).
  void putFixed(double value, int precision, int width = 0) {
    if (buffer_.size() - used_ < fixedTextCapacity(precision, width)) {
      putFixedSlow(value, precision, width);
      return;
    }
    used_ = static_cast<std::size_t>(formatFixed(buffer_.data() + used_, value, precision, width) - buffer_.data());
  }
  // As printf("%lld", value).
  void putInt(long long value);
  // As printf("%llu", value).
  void putUnsigned(unsigned long long value);

  // Hands everything buffered to the file; returns 0 or the first errno.
  int flush();
  // Flushes and lets go of the stream; returns 0 or the errno of the first
  // failure.
  int close();
  int error() const { return error_; }
  bool ok() const { return error_ == 0; }

 private:
  void putSlow(std::string_view text);
  void putFixedSlow(double value, int precision, int width);
  void writeOut(const char* data, std::size_t n);

  std::FILE* stream_ = nullptr;
  int error_ = 0;
  std::vector<char> buffer_;
  std::size_t used_ = 0;
};
