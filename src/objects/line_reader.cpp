#include "line_reader.h"

#include <cerrno>
#include <cstring>

LineReader::LineReader(FILE* file) : file_(file), block_(std::make_unique_for_overwrite<char[]>(kBlock)) { line_[0] = '\0'; }

// Moves the unread bytes to the front and reads more behind them; false
// when nothing more came.
bool LineReader::fill() {
  if (atEnd_) return false;
  if (begin_ > 0) {
    std::memmove(block_.get(), block_.get() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  errno = 0;
  std::size_t n = std::fread(block_.get() + end_, 1, kBlock - end_, file_);
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
    const char* start = block_.get() + begin_;
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
