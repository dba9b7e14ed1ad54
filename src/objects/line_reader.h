// LineReader: reads a text file line by line exactly as fgets with a buffer
// of 2000 bytes does, through a large block buffer of its own.
//
// A line is everything up to and including the next '\n'; a longer line is
// handed out in pieces of 1999 bytes, each piece a line of its own, and the
// last line of a file may lack its '\n'. As with fgets, a NUL byte read from
// the file ends the line's text (text() stops there) but not the line.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>

class LineReader {
 public:
  static constexpr std::size_t kLineBuffer = 2000;  // fgets buffer, NUL included

  explicit LineReader(FILE* file);

  // Reads the next line; false at the end of the file or on a read error.
  bool next();
  // The line's text, NUL-terminated; its length up to the first NUL.
  const char* text() const { return line_; }
  std::size_t length() const { return length_; }
  // The errno of a failed read, 0 when the file simply ended.
  int error() const { return error_; }

 private:
  bool fill();

  // Left uninitialised: the pages of a short file's read are the only ones
  // ever touched, so a small import does not pay for clearing a megabyte.
  static constexpr std::size_t kBlock = std::size_t{1} << 20;

  FILE* file_;
  std::unique_ptr<char[]> block_;
  std::size_t begin_ = 0, end_ = 0;  // unread bytes of block_
  bool atEnd_ = false;
  int error_ = 0;
  char line_[kLineBuffer];
  std::size_t length_ = 0;
};
