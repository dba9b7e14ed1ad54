#include "system/mapped_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

MappedFile::~MappedFile() { release(); }

void MappedFile::release() {
  if (mapped_) ::munmap(data_, size_);
  mapped_ = false;
  copy_.clear();
  data_ = nullptr;
  size_ = 0;
}

void MappedFile::copy(const unsigned char* data, std::size_t size) {
  release();
  copy_.assign(data, data + size);
  data_ = copy_.data();
  size_ = size;
}

int MappedFile::open(const char* name) {
  release();
  int fd = ::open(name, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno;
  struct stat st;
  int e = 0;
  if (::fstat(fd, &st) != 0) {
    e = errno;
  } else if (S_ISDIR(st.st_mode)) {
    e = EISDIR;
  } else if (S_ISREG(st.st_mode) && st.st_size > 0) {
    size_ = static_cast<std::size_t>(st.st_size);
    void* p = ::mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE, fd, 0);
    if (p != MAP_FAILED) {
      data_ = static_cast<unsigned char*>(p);
      mapped_ = true;
      // Records are walked front to back.
      ::madvise(p, size_, MADV_SEQUENTIAL);
    } else {
      size_ = 0;
      e = errno;  // a file the system cannot map
    }
  }
  // Anything else (an empty file, a pipe, a device) holds no bytes: the
  // reader finds it too short.
  ::close(fd);
  if (e != 0) release();
  return e;
}
