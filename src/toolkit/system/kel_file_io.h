// KelFileIO: a whole file held in memory, and the banner written at the top
// of the text files the toolkit's users create.
#pragma once

#include <cstddef>
#include <vector>

#include "text/gen_string.h"

class KelFileIO {
 public:
  // Reads all of `name` (a regular file or a pipe, see input_file.h) into
  // memory, followed by a terminating zero byte.
  // Non-zero on success; on failure nothing is held. The pointer and the
  // flags are unused (nullptr, 1).
  int io_OpenFile(const char* name, void* reserved, int flags);
  // The first byte of the file in memory (writable, zero-terminated); null
  // when nothing is held.
  char* io_GetAddress() { return data_.empty() ? nullptr : data_.data(); }
  // The number of bytes of the file, without the terminating zero.
  std::size_t io_GetSize() const { return data_.empty() ? 0 : data_.size() - 1; }
  // A banner of comment lines ("//") for a config-syntax text: a rule, the
  // title followed by the date as local "YYYY-MM-DD HH:MM:SS" (no date when
  // `date` is 0), and a rule; each line ends in "\r\n".
  static void io_Banner(GenString* out, const char* title, long date);

 private:
  std::vector<char> data_;  // the file and its terminating zero
};
