#include "system/mapped_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

MappedFile::~MappedFile() { release(); }

void MappedFile::release() {
  if (mappedRoom_ != 0) ::munmap(data_, mappedRoom_);
  mappedRoom_ = given_ = 0;
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
  if (::fstat(fd, &st) != 0) e = errno;
  else if (S_ISDIR(st.st_mode)) e = EISDIR;
  else e = map(fd);
  ::close(fd);
  return e;
}

int MappedFile::map(int fd) {
  release();
  struct stat st;
  if (::fstat(fd, &st) != 0) return errno;
  // Anything but a regular file with bytes (an empty file, a pipe, a device)
  // holds no bytes: a reader finds it too short.
  if (!S_ISREG(st.st_mode) || st.st_size <= 0) return 0;
  // Room for the file and one more page of zeros: the file's own last page
  // is zero past its end, and the next page holds the zero for a file that
  // fills its last page.
  const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  const std::size_t size = static_cast<std::size_t>(st.st_size);
  const std::size_t room = (size / page + 1) * page;
  void* area = ::mmap(nullptr, room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (area == MAP_FAILED) return errno;
  if (::mmap(area, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_FIXED, fd, 0) == MAP_FAILED) {
    int e = errno;  // a file the system cannot map
    ::munmap(area, room);
    return e;
  }
  ::madvise(area, size, MADV_SEQUENTIAL);  // read front to back
  data_ = static_cast<unsigned char*>(area);
  size_ = size;
  mappedRoom_ = room;
  return 0;
}

void MappedFile::giveBack(std::size_t upTo) {
  if (mappedRoom_ == 0 || upTo > size_) return;
  const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  std::size_t done = upTo / page * page;
  if (done <= given_) return;
  ::madvise(data_ + given_, done - given_, MADV_DONTNEED);
  given_ = done;
}

void MappedFile::giveBackRange(const void* start, std::size_t n) {
  if (mappedRoom_ == 0 || !contains(start)) return;
  const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  auto offset = static_cast<std::size_t>(static_cast<const unsigned char*>(start) - data_);
  std::size_t end = n < size_ - offset ? offset + n : size_;
  std::size_t from = (offset + page - 1) / page * page;
  std::size_t to = end / page * page;
  if (to > from) ::madvise(data_ + from, to - from, MADV_DONTNEED);
}
