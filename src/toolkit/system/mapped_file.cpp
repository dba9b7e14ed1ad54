#include "system/mapped_file.h"

#include <cerrno>
#include <cstdint>
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
  // The file goes at a 2 MB boundary: the system then maps the page cache's
  // large pages whole, and a pass over a big project takes far fewer page
  // faults and address translations (about a third less time to walk every
  // record of a 330 MB project).
  constexpr std::size_t kAlign = std::size_t{2} << 20;
  const std::size_t reserved = room + kAlign - page;
  void* reservation = ::mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (reservation == MAP_FAILED) return errno;
  auto* first = static_cast<unsigned char*>(reservation);
  auto* area = reinterpret_cast<unsigned char*>((reinterpret_cast<std::uintptr_t>(first) + kAlign - 1) & ~(kAlign - 1));
  if (area != first) ::munmap(first, static_cast<std::size_t>(area - first));
  if (area + room != first + reserved) ::munmap(area + room, static_cast<std::size_t>(first + reserved - (area + room)));
  if (::mmap(area, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_FIXED, fd, 0) == MAP_FAILED) {
    int e = errno;  // a file the system cannot map
    ::munmap(area, room);
    return e;
  }
  ::madvise(area, size, MADV_SEQUENTIAL);  // read front to back
  data_ = area;
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
