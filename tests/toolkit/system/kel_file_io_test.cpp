#include "system/kel_file_io.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "temp_dir.h"

namespace {

// The whole file with a terminating zero after it, empty files too; a file
// that cannot be read leaves nothing of the earlier one.
TEST(KelFileIO, HoldsTheWholeFileWithATerminatingZero) {
  TempDir dir;
  std::string content;
  for (int i = 0; content.size() < (5u << 20); ++i) content += std::to_string(i) + " 1.5 2.5\r\n";
  content += std::string("\0inner zero", 11);
  KelFileIO io;
  for (const std::string& text : {content, std::string()}) {
    writeFileText(dir.file("file"), text);
    ASSERT_NE(io.io_OpenFile(dir.file("file").c_str(), nullptr, 1), 0);
    ASSERT_EQ(std::string(io.io_GetAddress(), io.io_GetSize()), text);
    EXPECT_EQ(io.io_GetAddress()[io.io_GetSize()], '\0');
  }
  EXPECT_EQ(io.io_OpenFile(dir.file("missing").c_str(), nullptr, 1), 0);
  EXPECT_EQ(io.io_GetAddress(), nullptr);
  EXPECT_EQ(io.io_OpenFile(dir.path().string().c_str(), nullptr, 1), 0);
}

TEST(KelFileIO, BannerIsCommentLinesWithTitleAndDate) {
  setenv("TZ", "UTC", 1);  // no other test of this program reads the local time
  tzset();
  GenString banner;
  KelFileIO::io_Banner(&banner, "Vorlan 1.96: ObjectTemplate Library ", 1700000000L);
  std::string text = banner.Get();
  const std::string rule = "//" + std::string(72, '-') + "\r\n";
  EXPECT_EQ(text, rule + "// Vorlan 1.96: ObjectTemplate Library 2023-11-14 22:13:20\r\n" + rule);
}

}  // namespace
