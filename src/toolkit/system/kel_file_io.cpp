#include "system/kel_file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string>

#include "system/file_calls.h"
#include "system/input_file.h"

namespace {
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
  // A pipe (or a file that cannot be mapped) is read into a buffer that
  // doubles as it fills; a small input clears no more than the first block.
  std::vector<char> data;
  std::size_t used = 0;
  int error = 0;
  for (std::size_t got = 1; got > 0;) {
    if (used > pipeLimit_) {
      error = EFBIG;
      break;
    }
    if (used == data.size()) data.resize(used + std::max(used, kFirstPipeBlock));
    error = readSome(fd, data.data() + used, data.size() - used, got);
    if (error != 0) break;
    used += got;
  }
  close(fd);
  if (error != 0) {
    errno = error;
    return 0;
  }
  data.resize(used + 1);
  data[used] = '\0';
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
    if (localtime_r(&when, &local)) text.append(stamp, std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local));
  }
  text += "\r\n";
  text += kRule;
  out->Set(text);
}
