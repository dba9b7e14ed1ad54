#include "line_reader.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace {

// Large files are read in blocks of 1 MB; a small file gets a block just
// larger than itself, so a short import (and every fuzz input) does not pay
// for clearing a megabyte it never uses.
std::size_t blockSizeFor(FILE* file) {
  constexpr std::size_t kLarge = std::size_t{1} << 20, kSmall = 4096;
  struct stat info;
  if (fstat(fileno(file), &info) != 0 || !S_ISREG(info.st_mode)) return kLarge;
  std::size_t wanted = static_cast<std::size_t>(info.st_size) + LineReader::kLineBuffer;
  return wanted < kSmall ? kSmall : wanted < kLarge ? wanted : kLarge;
}

}  // namespace

LineReader::LineReader(FILE* file) : file_(file), block_(blockSizeFor(file)) { line_[0] = '\0'; }

// Moves the unread bytes to the front and reads more behind them; false
// when nothing more came.
bool LineReader::fill() {
  if (atEnd_) return false;
  if (begin_ > 0) {
    std::memmove(block_.data(), block_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  errno = 0;
  std::size_t n = std::fread(block_.data() + end_, 1, block_.size() - end_, file_);
  end_ += n;
  if (n == 0) {
    atEnd_ = true;
    if (std::ferror(file_)) error_ = errno ? errno : EIO;
  }
  return n > 0;
}

bool LineReader::next() {
  const std::size_t most = kLineBuffer - 1;
  for (;;) {
    std::size_t available = end_ - begin_;
    std::size_t span = available < most ? available : most;
    const char* start = block_.data() + begin_;
    const char* newline = static_cast<const char*>(std::memchr(start, '\n', span));
    if (newline || available >= most || (atEnd_ && available > 0)) {
      std::size_t size = newline ? static_cast<std::size_t>(newline - start) + 1 : span;
      std::memcpy(line_, start, size);
      line_[size] = '\0';
      length_ = std::strlen(line_);
      begin_ += size;
      return true;
    }
    if (!fill()) {
      if (end_ > begin_) continue;  // the last line, without its '\n'
      length_ = 0;
      line_[0] = '\0';
      return false;
    }
  }
}
