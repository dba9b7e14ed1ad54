#include "system/file_calls.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "temp_dir.h"

// A file about to be replaced leaves the system's cache with its bytes
// intact; a pipe is not opened (which would wait for a writer), and a missing
// name or a folder is no error.
TEST(DropCachedPages, DropsARegularFilesPagesAndLeavesOtherNamesAlone) {
  TempDir dir;
  const std::string name = dir.file("old.txt");
  writeFileText(name, std::string(1 << 20, 'o'));
  ::sync();  // the system drops only pages already on disk
  const int fd = ::open(name.c_str(), O_RDONLY);
  ASSERT_GE(fd, 0);
  void* map = ::mmap(nullptr, 1 << 20, PROT_READ, MAP_SHARED, fd, 0);
  ASSERT_NE(map, MAP_FAILED);
  auto cachedPages = [&] {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::string states((1 << 20) / page, '\0');
    ::mincore(map, 1 << 20, reinterpret_cast<unsigned char*>(states.data()));
    std::size_t n = 0;
    for (char s : states) n += s & 1;
    return n;
  };
  ASSERT_GT(cachedPages(), 0u);
  dropCachedPages(name.c_str());
  struct statfs where;
  if (statfs(dir.path().c_str(), &where) == 0 && where.f_type != 0x01021994) {  // tmpfs keeps its pages
    EXPECT_EQ(cachedPages(), 0u);
  }
  EXPECT_EQ(readFileText(name), std::string(1 << 20, 'o'));
  ::munmap(map, 1 << 20);
  ::close(fd);

  ASSERT_EQ(::mkfifo(dir.file("pipe").c_str(), 0600), 0);
  dropCachedPages(dir.file("pipe").c_str());  // returns at once
  dropCachedPages(dir.file("none").c_str());
  dropCachedPages(dir.path().c_str());
}
