#include "system/file_calls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

int writeWhole(int fd, const void* data, std::size_t size) {
  const char* at = static_cast<const char*>(data);
  while (size > 0) {
    ssize_t n = ::write(fd, at, size);
    if (n > 0) {
      at += n;
      size -= static_cast<std::size_t>(n);
    } else if (n == 0) {
      return EIO;
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

int syncWhole(int fd) {
  while (::fsync(fd) != 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

std::string folderOf(const std::string& path) {
  std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

void dropCachedPages(const char* path) {
  // Only a regular file is opened: opening a device may act on it.
  struct stat info;
  if (::stat(path, &info) != 0 || !S_ISREG(info.st_mode)) return;
  int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return;
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) ::posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
  ::close(fd);
}

void syncFolderOf(const std::string& path) {
  const std::string folder = folderOf(path);
  int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd == -1) return;
  syncWhole(fd);
  ::close(fd);
}

int readSome(int fd, void* data, std::size_t size, std::size_t& got) {
  for (;;) {
    ssize_t n = ::read(fd, data, size);
    if (n >= 0) {
      got = static_cast<std::size_t>(n);
      return 0;
    }
    if (errno != EINTR) {
      got = 0;
      return errno;
    }
  }
}
