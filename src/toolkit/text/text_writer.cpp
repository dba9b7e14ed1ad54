#include "text/text_writer.h"

#include <cerrno>
#include <charconv>
#include <string>

TextWriter::TextWriter(std::FILE* stream) : stream_(stream), buffer_(kBufferSize) {}

TextWriter::~TextWriter() { close(); }

void TextWriter::writeOut(const char* data, std::size_t n) {
  if (error_ != 0 || !stream_) return;
  errno = 0;
  if (std::fwrite(data, 1, n, stream_) != n || std::fflush(stream_) != 0) error_ = errno ? errno : EIO;
}

int TextWriter::flush() {
  writeOut(buffer_.data(), used_);
  used_ = 0;
  return error_;
}

int TextWriter::close() {
  flush();
  stream_ = nullptr;
  return error_;
}

void TextWriter::putSlow(std::string_view text) {
  flush();
  if (text.size() < buffer_.size()) {
    std::memcpy(buffer_.data(), text.data(), text.size());
    used_ = text.size();
  } else {
    writeOut(text.data(), text.size());
  }
}

void TextWriter::putFixedSlow(double value, int precision, int width) {
  flush();
  if (fixedTextCapacity(precision, width) <= buffer_.size()) {
    used_ = static_cast<std::size_t>(formatFixed(buffer_.data(), value, precision, width) - buffer_.data());
  } else {
    putSlow(fixedText(value, precision, width));
  }
}

void TextWriter::putInt(long long value) {
  if (buffer_.size() - used_ < 24) flush();
  used_ = static_cast<std::size_t>(std::to_chars(buffer_.data() + used_, buffer_.data() + buffer_.size(), value).ptr -
                                   buffer_.data());
}

void TextWriter::putUnsigned(unsigned long long value) {
  if (buffer_.size() - used_ < 24) flush();
  used_ = static_cast<std::size_t>(std::to_chars(buffer_.data() + used_, buffer_.data() + buffer_.size(), value).ptr -
                                   buffer_.data());
}
