#include "system/mapped_file.h"
#include "system/zeroed_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mapped_pages.h"
#include "temp_dir.h"

// Pages given back are read from the file again, so a change written into
// the mapping survives exactly where no whole page around it was given back.
// This is what keeps an edited record next to the heights a save writes.
TEST(MappedFile, GivesBackOnlyTheWholePagesAsked) {
  TempDir dir;
  MappedFile file;
  ASSERT_TRUE(mapPages(file, dir, 5, 'f'));
  unsigned char* bytes = file.data();
  // Marks at the edges of the range page + 1 .. 4 * page - 1 and inside it.
  const std::size_t marks[] = {page, page + 1, 2 * page, 4 * page - 2, 4 * page - 1, 4 * page};
  for (std::size_t at : marks) bytes[at] = 'w';
  file.giveBackRange(bytes + page + 1, 3 * page - 2);
  std::string kept;
  for (std::size_t at : marks) kept += static_cast<char>(bytes[at]);
  EXPECT_EQ(kept, "wwfwww") << "only the pages wholly inside the range are read again";
  EXPECT_EQ(bytes[5 * page], 0) << "a zero follows the file";

  file.giveBack(3 * page - 1);               // less than a step: nothing goes back yet
  file.giveBackRange(bytes + page, page);  // exactly the second page
  kept.clear();
  for (std::size_t at : marks) kept += static_cast<char>(bytes[at]);
  EXPECT_EQ(kept, "fffwww");

  file.release();
  unsigned char state = 0;
  EXPECT_NE(mincore(bytes, page, &state), 0) << "released: nothing is mapped there any more";
  EXPECT_EQ(file.size(), 0u);
  file.copy(reinterpret_cast<const unsigned char*>("copied"), 6);
  file.data()[0] = 'C';
  file.giveBack(6);
  file.giveBackRange(file.data(), 6);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(file.data()), file.size()), "Copied");
}

// Pages never written to still hold the file's bytes, read or not; a page
// written to does not, and neither do bytes that are not the file's.
TEST(MappedFile, PiecesTellWhichPagesStillHoldTheFile) {
  TempDir dir;
  MappedFile file;
  ASSERT_TRUE(mapPages(file, dir, 8, 'e'));
  unsigned char* bytes = file.data();
  EXPECT_EQ(bytes[page + 9], 'e');  // read only
  bytes[3 * page + 5] = 'w';
  bytes[5 * page - 1] = 'w';
  std::vector<std::string> pieces;
  auto note = [&](const unsigned char* piece, std::size_t length, int fd, std::uint64_t offset) {
    pieces.push_back(std::to_string(piece - bytes) + "+" + std::to_string(length) +
                     (fd >= 0 ? " file@" + std::to_string(offset) : " memory"));
  };
  const std::size_t from = page / 2;
  file.forEachPiece(bytes + from, 7 * page + 1 - from, note);
  const std::string p3 = std::to_string(3 * page), p5 = std::to_string(5 * page);
  EXPECT_EQ(pieces, std::vector<std::string>({std::to_string(from) + "+" + std::to_string(3 * page - from) +
                                                  " file@" + std::to_string(from),
                                              p3 + "+" + std::to_string(2 * page) + " memory",
                                              p5 + "+" + std::to_string(2 * page + 1) + " file@" + p5}));
  pieces.clear();
  file.forEachPiece(bytes + 8 * page - 1, 2, note);  // runs past the file's end
  file.forEachPiece(bytes, 0, note);
  file.copy(reinterpret_cast<const unsigned char*>("four"), 4);
  bytes = file.data();
  file.forEachPiece(file.data(), 4, note);
  EXPECT_EQ(pieces.size(), 2u);
  EXPECT_EQ(pieces[0].substr(pieces[0].find(' ')), " memory");
  EXPECT_EQ(pieces[1], "0+4 memory");
}

// Memory from the system: an empty array still has an address; a large one
// (huge pages) reads zero to its last entry and keeps what is written there.
TEST(ZeroedArray, EmptyAndLarge) {
  ZeroedArray<int> none(0);
  EXPECT_NE(&none[0], nullptr);
  ZeroedArray<std::uint64_t> large((std::size_t{3} << 18) + 1);
  const std::size_t last = large.size() - 1;
  EXPECT_EQ(large[0] + large[last], 0u);
  large[last] = 7;
  EXPECT_EQ(large[last], 7u);
}

// Giving back the bytes read so far goes in steps: a whole step of pages
// goes back at once, what follows waits for the next step.
TEST(MappedFile, GivesBackTheBytesReadInSteps) {
  TempDir dir;
  MappedFile file;
  const std::size_t step = MappedFile::kGiveBackStep;
  ASSERT_TRUE(mapPages(file, dir, step / page + 3, 'f'));
  unsigned char* bytes = file.data();
  const std::size_t marks[] = {page, step + page - 1, step + page, step + 2 * page};
  for (std::size_t at : marks) bytes[at] = 'w';
  file.giveBack(step + page + 1);
  file.giveBack(step + 2 * page + 1);  // one page more: kept until a step has gathered
  std::string kept;
  for (std::size_t at : marks) kept += static_cast<char>(bytes[at]);
  EXPECT_EQ(kept, "ffww");
}

