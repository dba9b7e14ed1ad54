// One config text as the lexer reads it: the bytes of a file or of a buffer,
// with a leading UTF-8 byte-order mark and a trailing Ctrl-Z dropped, a
// carriage return alone taken as a line end, and every backslash at a line
// end removed together with that line end (line continuation). It remembers
// the original layout so that an offset into the joined text can be named by
// the line and column the user sees in an editor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class ConfigSource {
 public:
  // Reads a whole file in large blocks. Returns null and sets `error` (the
  // reason, without the file name) when the file cannot be opened or read, is
  // a folder, or holds more than `maxBytes` bytes. Throws ConfigError when the
  // content is binary (a zero byte).
  static std::unique_ptr<ConfigSource> FromFile(const std::string& path, std::size_t maxBytes,
                                                std::string* error);
  // The same for bytes already in memory; `name` stands for the file in messages.
  static std::unique_ptr<ConfigSource> FromBuffer(const std::string& name, std::string_view bytes,
                                                  std::size_t maxBytes, std::string* error);

  const std::string& path() const { return path_; }
  std::string_view text() const { return text_; }
  std::size_t bytesRead() const { return bytesRead_; }

  // "path:line:col" of an offset into text(); lines and columns count from 1,
  // columns in bytes.
  std::string Describe(std::size_t offset) const;
  int LineOf(std::size_t offset) const;
  void LineAndColumn(std::size_t offset, int* line, int* column) const {
    const Place place = Locate(offset);
    *line = place.line;
    *column = place.column;
  }

 private:
  struct Splice {
    std::size_t at;       // offset in the joined text where a line end was removed
    std::size_t removed;  // bytes removed up to and including this one
  };

  ConfigSource(std::string path, std::string bytes);
  void DropEndMark();
  void CheckBytes() const;
  void MarkCarriageReturnLineEnds();
  void JoinContinuedLines();
  std::size_t OriginalOffset(std::size_t offset) const;
  struct Place {
    int line, column;
  };
  Place Locate(std::size_t offset) const;

  std::string path_;
  std::string text_;
  std::string original_;  // the text before joining; empty when nothing was joined
  std::vector<Splice> splices_;
  mutable std::vector<std::size_t> lineStarts_;  // offsets in the layout the user sees
  std::size_t bytesRead_ = 0;
};
