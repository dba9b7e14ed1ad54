#include "system/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

const char* fileKindName(unsigned mode) {
  switch (mode & S_IFMT) {
    case S_IFREG: return "a regular file";
    case S_IFDIR: return "a folder";
    case S_IFIFO: return "a pipe";
    case S_IFCHR: return "a character device";
    case S_IFBLK: return "a block device";
    case S_IFSOCK: return "a socket";
    case S_IFLNK: return "a symbolic link";
    default: return "an unknown kind of file";
  }
}

int openInputFile(const char* name, std::string* problem) {
  if (!name) {
    if (problem) *problem = std::strerror(ENOENT);
    return -1;
  }
  // Without O_NONBLOCK, opening a named pipe waits for a writer, and
  // opening some devices has effects of its own.
  int fd = ::open(name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) {
    if (problem) *problem = std::strerror(errno);
    return -1;
  }
  struct stat info;
  if (fstat(fd, &info) != 0) {
    int error = errno;
    if (problem) *problem = std::strerror(error);
    ::close(fd);
    errno = error;
    return -1;
  }
  if (!S_ISREG(info.st_mode) && !S_ISFIFO(info.st_mode)) {
    if (problem) *problem = std::string("is ") + fileKindName(info.st_mode) + ", not a file or pipe";
    ::close(fd);
    errno = EINVAL;
    return -1;
  }
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  return fd;
}
