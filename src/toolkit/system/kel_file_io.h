// KelFileIO: a whole file held in memory, and the banner written at the top
// of the text files the toolkit's users create.
#pragma once

#include <cstddef>
#include <vector>

#include "system/mapped_file.h"
#include "text/gen_string.h"

class KelFileIO {
 public:
  KelFileIO() = default;
  KelFileIO(const KelFileIO&) = delete;
  KelFileIO& operator=(const KelFileIO&) = delete;
  ~KelFileIO() { release(); }

  // Holds all of `name` (a regular file or a pipe, see input_file.h) in
  // memory, followed by a terminating zero byte: a regular file is mapped,
  // not copied, and a pipe is read up to the limit set below.
  // Non-zero on success; on failure nothing is held (errno tells why: EFBIG
  // for a pipe past the limit). The pointer and the flags are unused
  // (nullptr, 1).
  int io_OpenFile(const char* name, void* reserved, int flags);
  // The most bytes a pipe may bring (endless input must not fill memory).
  void io_SetPipeLimit(std::size_t bytes) { pipeLimit_ = bytes; }
  // The first byte of the file in memory (writable, zero-terminated); null
  // when nothing is held.
  char* io_GetAddress() { return size_ == 0 && !data_ ? nullptr : data_; }
  // The number of bytes of the file, without the terminating zero.
  std::size_t io_GetSize() const { return size_; }
  // The bytes before `upTo` will not be read again: a mapped file gives
  // their memory back (the file's pages stay cached by the system).
  void io_Done(const char* upTo);
  // A banner of comment lines ("//") for a config-syntax text: a rule, the
  // title followed by the date as local "YYYY-MM-DD HH:MM:SS" (no date when
  // `date` is 0), and a rule; each line ends in "\r\n".
  static void io_Banner(GenString* out, const char* title, long date);

 private:
  void release();

  char* data_ = nullptr;  // the file and its terminating zero
  std::size_t size_ = 0;
  MappedFile mapped_;        // a regular file
  std::vector<char> buffer_;  // a pipe
  std::size_t pipeLimit_ = ~std::size_t{0};

  static constexpr std::size_t kFirstPipeBlock = std::size_t{64} << 10;
};
