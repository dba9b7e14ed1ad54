#include "system/mapped_file.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "temp_dir.h"

// Pages given back are read from the file again, so a change written into
// the mapping survives exactly where no whole page around it was given back.
// This is what keeps an edited record next to the heights a save writes.
TEST(MappedFile, GivesBackOnlyTheWholePagesAsked) {
  TempDir dir;
  const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  writeFileText(dir.file("five"), std::string(5 * page, 'f'));
  MappedFile file;
  ASSERT_EQ(file.open(dir.file("five").c_str()), 0);
  ASSERT_EQ(file.size(), 5 * page);
  unsigned char* bytes = file.data();
  // Marks at the edges of the range page + 1 .. 4 * page - 1 and inside it.
  const std::size_t marks[] = {page, page + 1, 2 * page, 4 * page - 2, 4 * page - 1, 4 * page};
  for (std::size_t at : marks) bytes[at] = 'w';
  file.giveBackRange(bytes + page + 1, 3 * page - 2);
  std::string kept;
  for (std::size_t at : marks) kept += static_cast<char>(bytes[at]);
  EXPECT_EQ(kept, "wwfwww") << "only the pages wholly inside the range are read again";
  EXPECT_EQ(bytes[5 * page], 0) << "a zero follows the file";

  file.giveBack(3 * page - 1);  // the first two pages only
  kept.clear();
  for (std::size_t at : marks) kept += static_cast<char>(bytes[at]);
  EXPECT_EQ(kept, "fffwww");

  file.copy(reinterpret_cast<const unsigned char*>("copied"), 6);
  file.data()[0] = 'C';
  file.giveBack(6);
  file.giveBackRange(file.data(), 6);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(file.data()), file.size()), "Copied");
}
