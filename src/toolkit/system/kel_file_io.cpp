#include "system/kel_file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string>

#include "system/input_file.h"

namespace {
constexpr std::size_t kReadBlock = std::size_t{1} << 20;
constexpr const char* kRule = "//------------------------------------------------------------------------\r\n";
}  // namespace

void KelFileIO::release() {
  mapped_.release();
  std::vector<char>().swap(buffer_);
  data_ = nullptr;
  size_ = 0;
}

int KelFileIO::io_OpenFile(const char* name, void*, int) {
  release();
  if (!name) return 0;
  int fd = openInputFile(name, nullptr);
  if (fd < 0) return 0;
  struct stat info {};
  if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0 && mapped_.map(fd) == 0) {
    close(fd);
    data_ = reinterpret_cast<char*>(mapped_.data());
    size_ = mapped_.size();
    return 1;
  }
  // A pipe (or a file that cannot be mapped) is read in blocks that double.
  // No megabyte is cleared for a small input.
  std::size_t room = 64 * 1024;
  if (S_ISREG(info.st_mode)) room = static_cast<std::size_t>(info.st_size) + 1;
  std::vector<char> data;
  bool ok = true;
  for (;;) {
    std::size_t used = data.size();
    if (used > pipeLimit_) {
      errno = EFBIG;
      ok = false;
      break;
    }
    if (used == data.capacity()) data.reserve(used < room ? room : std::max(2 * used, kReadBlock));
    data.resize(data.capacity());
    ssize_t n = read(fd, data.data() + used, data.size() - used);
    bool interrupted = n < 0 && errno == EINTR;
    data.resize(used + (n > 0 ? static_cast<std::size_t>(n) : 0));
    if (interrupted) continue;
    if (n <= 0) {
      ok = n == 0;
      break;
    }
  }
  int error = errno;
  close(fd);
  if (!ok) {
    errno = error;
    return 0;
  }
  data.push_back('\0');
  buffer_ = std::move(data);
  data_ = buffer_.data();
  size_ = buffer_.size() - 1;
  return 1;
}

void KelFileIO::io_Done(const char* upTo) {
  if (data_ && upTo >= data_) mapped_.giveBack(static_cast<std::size_t>(upTo - data_));
}

void KelFileIO::io_Banner(GenString* out, const char* title, long date) {
  if (!out) return;
  std::string text = kRule;
  text += "// ";
  text += title ? title : "";
  if (date != 0) {
    std::time_t when = static_cast<std::time_t>(date);
    std::tm local{};
    char stamp[32];
    if (localtime_r(&when, &local) && std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local) > 0) {
      text += stamp;
    }
  }
  text += "\r\n";
  text += kRule;
  out->Set(text);
}
