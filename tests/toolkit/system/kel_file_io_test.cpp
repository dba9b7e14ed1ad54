#include "system/kel_file_io.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <unistd.h>
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
  io.io_SetPipeLimit(1000);  // binds pipes only: a file is mapped whole
  // A file that fills its last page gets its zero from the page after.
  for (const std::string& text : {content, std::string(), std::string(8192, 'x')}) {
    writeFileText(dir.file("file"), text);
    ASSERT_NE(io.io_OpenFile(dir.file("file").c_str(), nullptr, 1), 0);
    ASSERT_EQ(std::string(io.io_GetAddress(), io.io_GetSize()), text);
    EXPECT_EQ(io.io_GetAddress()[io.io_GetSize()], '\0');
  }
  EXPECT_EQ(io.io_OpenFile(dir.file("missing").c_str(), nullptr, 1), 0);
  EXPECT_EQ(io.io_GetAddress(), nullptr);
  EXPECT_EQ(io.io_OpenFile(dir.path().string().c_str(), nullptr, 1), 0);
}

// A pipe is read whole, up to the limit: endless input fails, and says so.
TEST(KelFileIO, PipesStopAtTheLimit) {
  for (std::size_t limit : {std::size_t{100}, std::size_t{300}}) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], std::string(300, 'z').data(), 300), 300);
    close(ends[1]);
    KelFileIO io;
    io.io_SetPipeLimit(limit);
    int read = io.io_OpenFile(("/dev/fd/" + std::to_string(ends[0])).c_str(), nullptr, 1);
    int error = errno;
    close(ends[0]);
    EXPECT_EQ(read != 0, limit == 300);
    EXPECT_EQ(read != 0 ? io.io_GetSize() : std::size_t{error == EFBIG}, read != 0 ? 300u : 1u);
  }
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
