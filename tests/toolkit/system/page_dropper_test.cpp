#include "system/page_dropper.h"

#include <sys/mman.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "mapped_pages.h"
#include "temp_dir.h"

// Behind a writer of a new file, a step at a time, the pages that still hold
// the file's bytes leave the mapping and the system's cache; a page written
// to keeps its bytes, and the bytes dropped read the same as before.
TEST(PageDropper, DropsTheFilesPagesBehindAWriterAStepAtATime) {
  TempDir dir;
  MappedFile file;
  const std::size_t step = MappedFile::kGiveBackStep;
  ASSERT_TRUE(mapPages(file, dir, step / page + 2, 'd'));
  ::sync();  // the system drops only pages already on disk
  unsigned char* bytes = file.data();
  std::size_t sum = 0;
  for (std::size_t at = 0; at < file.size(); at += page) sum += bytes[at];
  ASSERT_EQ(sum, 'd' * file.size() / page);
  bytes[page + 3] = 'w';
  auto cached = [&](std::size_t pageNumber) {
    unsigned char state = 0;
    mincore(bytes + pageNumber * page, page, &state);
    return (state & 1) != 0;
  };

  // A file system in memory keeps its pages whatever it is asked.
  struct statfs where;
  const bool drops = statfs(dir.path().c_str(), &where) == 0 && where.f_type != 0x01021994;  // not tmpfs
  {
    PageDropper dropper(file);
    dropper.behind(bytes + step - 1);  // not a whole step yet
  }
  EXPECT_TRUE(cached(0));
  {
    PageDropper dropper(file);
    dropper.behind(bytes + page);
    dropper.behind(bytes + step + page + 1);
  }
  EXPECT_EQ(bytes[page + 3], 'w') << "the written page stays";
  EXPECT_TRUE(cached(1));
  EXPECT_TRUE(cached(step / page + 1));
  if (drops) {
    EXPECT_FALSE(cached(0));
    EXPECT_FALSE(cached(step / page - 1));
  }
  EXPECT_EQ(bytes[0], 'd');
  EXPECT_EQ(bytes[step], 'd');
  {
    PageDropper dropper(file);
    dropper.behind(bytes + 2 * step);  // past the file: nothing
  }
  EXPECT_TRUE(cached(step / page + 1));
  EXPECT_EQ(bytes[step + page], 'd');
}
