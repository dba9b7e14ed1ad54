#include "system/project_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

int ProjectLock::acquire(const char* path, int waitMilliseconds, void (*onWait)(const char* path)) {
  release();
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitMilliseconds);
  bool told = false;
  for (;;) {
    int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return errno;
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
      // The run that held the lock saves by renaming a new file onto the
      // name: the file locked here may no longer be the project. Lock the
      // one the name holds now.
      struct stat locked, named;
      if (fstat(fd, &locked) == 0 && stat(path, &named) == 0 && locked.st_dev == named.st_dev &&
          locked.st_ino == named.st_ino) {
        fd_ = fd;
        return 0;
      }
      ::close(fd);
      continue;
    }
    int error = errno;
    ::close(fd);
    if (error != EWOULDBLOCK && error != EINTR) return error;
    if (std::chrono::steady_clock::now() >= deadline) return EWOULDBLOCK;
    if (!told && onWait) onWait(path);
    told = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

void ProjectLock::release() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}
