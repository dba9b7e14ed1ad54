#include "config/config_source.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "config/config_error.h"
#include "system/input_file.h"
#include "status.h"

namespace {

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};

std::string TooLarge(std::size_t maxBytes) {
  return "file is too large (more than " + std::to_string(maxBytes) + " bytes)";
}

bool IsControlByte(unsigned char c) {
  return c == 0x7F || (c < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\f' && c != '\v');
}

bool IsBlankOrLineEnd(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

}  // namespace

ConfigSource::ConfigSource(std::string path, std::string bytes)
    : path_(std::move(path)), text_(std::move(bytes)) {
  bytesRead_ = text_.size();
  if (text_.size() >= 3 && text_.compare(0, 3, "\xEF\xBB\xBF") == 0) text_.erase(0, 3);
  DropEndMark();
  CheckBytes();
  MarkCarriageReturnLineEnds();
  JoinContinuedLines();
}

std::unique_ptr<ConfigSource> ConfigSource::FromFile(const std::string& path, std::size_t maxBytes,
                                                     std::string* error) {
  int fd = openInputFile(path.c_str(), error);  // refuses folders and devices
  if (fd < 0) return nullptr;
  std::unique_ptr<std::FILE, FileCloser> file(fdopen(fd, "rb"));
  if (!file) {
    *error = std::strerror(errno);
    ::close(fd);
    return nullptr;
  }
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  if (!ec && size > maxBytes) {
    *error = TooLarge(maxBytes);
    return nullptr;
  }
  // Read in large blocks until the end; the cap is checked as we go because a
  // file's size may be unknown (a pipe) or change while we read it.
  constexpr std::size_t kBlock = std::size_t{1} << 20;
  std::string bytes;
  for (;;) {
    std::size_t had = bytes.size();
    if (had > maxBytes) {
      *error = TooLarge(maxBytes);
      return nullptr;
    }
    bytes.resize(had + kBlock);
    std::size_t got = std::fread(bytes.data() + had, 1, kBlock, file.get());
    bytes.resize(had + got);
    if (got < kBlock) {
      if (std::ferror(file.get())) {
        *error = std::strerror(errno);
        return nullptr;
      }
      break;
    }
  }
  if (bytes.size() > maxBytes) {
    *error = TooLarge(maxBytes);
    return nullptr;
  }
  return std::unique_ptr<ConfigSource>(new ConfigSource(path, std::move(bytes)));
}

std::unique_ptr<ConfigSource> ConfigSource::FromBuffer(const std::string& name,
                                                       std::string_view bytes,
                                                       std::size_t maxBytes, std::string* error) {
  if (bytes.size() > maxBytes) {
    *error = TooLarge(maxBytes);
    return nullptr;
  }
  return std::unique_ptr<ConfigSource>(new ConfigSource(name, std::string(bytes)));
}

void ConfigSource::DropEndMark() {
  // Old editors end a text with Ctrl-Z; blanks may follow it. A Ctrl-Z
  // anywhere else stays (names made from 8-bit text can hold one).
  std::size_t end = text_.size();
  while (end > 0 && (IsBlankOrLineEnd(text_[end - 1]) || text_[end - 1] == '\x1A')) --end;
  std::size_t mark = text_.find('\x1A', end);
  if (mark != std::string::npos) text_.resize(mark);
}

void ConfigSource::CheckBytes() const {
  // A zero byte never occurs in text. Other control bytes may, inside strings
  // and names; the lexer refuses them anywhere else.
  std::size_t zero = text_.find('\0');
  if (zero == std::string::npos) return;
  // Named by its first control byte, which may come before the zero.
  std::size_t at = 0;
  while (at < zero && !IsControlByte(static_cast<unsigned char>(text_[at]))) ++at;
  char hex[8];
  std::snprintf(hex, sizeof hex, "0x%02X", static_cast<unsigned char>(text_[at]));
  throw ConfigError(status::kConfigSyntax, Describe(at) + ": unexpected byte " + hex + ": this is not a text file");
}

void ConfigSource::MarkCarriageReturnLineEnds() {
  // A carriage return without a line feed after it ends a line (texts from
  // old Macintosh editors). It becomes a line feed in place, so offsets stay.
  for (std::size_t p = text_.find('\r'); p != std::string::npos; p = text_.find('\r', p + 1)) {
    if (p + 1 == text_.size() || text_[p + 1] != '\n') text_[p] = '\n';
  }
}

void ConfigSource::JoinContinuedLines() {
  std::string joined;
  std::size_t from = 0;
  std::size_t removed = 0;
  const std::size_t n = text_.size();
  for (std::size_t p = text_.find('\\'); p != std::string::npos; p = text_.find('\\', p + 1)) {
    std::size_t length = 0;
    // The string's terminating zero stops both tests at the end of the text.
    if (text_[p + 1] == '\n') {
      length = 2;
    } else if (text_[p + 1] == '\r' && text_[p + 2] == '\n') {
      length = 3;
    }
    if (length == 0) continue;
    if (splices_.empty()) joined.reserve(n);
    joined.append(text_, from, p - from);
    removed += length;
    splices_.push_back({joined.size(), removed});
    from = p + length;
  }
  if (splices_.empty()) return;
  joined.append(text_, from, std::string::npos);
  original_ = std::move(text_);
  text_ = std::move(joined);
}

std::size_t ConfigSource::OriginalOffset(std::size_t offset) const {
  // The last splice at or before the offset tells how much was removed before it.
  auto after = std::upper_bound(splices_.begin(), splices_.end(), offset,
                                [](std::size_t value, const Splice& s) { return value < s.at; });
  if (after == splices_.begin()) return offset;
  return offset + std::prev(after)->removed;
}

ConfigSource::Place ConfigSource::Locate(std::size_t offset) const {
  const std::string& layout = original_.empty() ? text_ : original_;
  if (lineStarts_.empty()) {
    // Made once: messages and entry places are looked up many times.
    lineStarts_.push_back(0);
    for (std::size_t p = layout.find('\n'); p != std::string::npos; p = layout.find('\n', p + 1))
      lineStarts_.push_back(p + 1);
  }
  std::size_t at = std::min(OriginalOffset(offset), layout.size());
  auto next = std::upper_bound(lineStarts_.begin(), lineStarts_.end(), at);
  return {static_cast<int>(next - lineStarts_.begin()), static_cast<int>(at - *std::prev(next)) + 1};
}

std::string ConfigSource::Describe(std::size_t offset) const {
  const Place place = Locate(offset);
  return path_ + ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
}

int ConfigSource::LineOf(std::size_t offset) const {
  return Locate(offset).line;
}
