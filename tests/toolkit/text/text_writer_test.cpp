#include "text/text_writer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <string>

#include "temp_dir.h"

TEST(TextWriter, FileMatchesFprintfAcrossManyBufferFlushes) {
  TempDir dir;
  std::string name = dir.file("objects.txt");
  std::string expected;
  std::FILE* file = std::fopen(name.c_str(), "w");
  ASSERT_NE(file, nullptr);
  {
    TextWriter writer(file);
    char line[200];
    for (int i = 0; i < 200000; ++i) {
      double x = i * 0.37 - 1000.005, y = -i / 3.0, angle = i % 720 - 360.125;
      std::snprintf(line, sizeof line, "%lld;%8.2f;%11.2f;%f;%s\n", i * 1000003LL - 5, x, y, angle, "tree");
      expected += line;
      writer.putInt(i * 1000003LL - 5), writer.put(';'), writer.putFixed(x, 2, 8), writer.put(';');
      writer.putFixed(y, 2, 11), writer.put(';'), writer.putFixed(angle, 6), writer.put(";tree\n");
    }
    for (int i = 0; i < 300000; ++i) {  // long whole numbers alone meet the buffer's end too
      writer.putInt(LLONG_MIN >> (i % 64)), writer.putUnsigned(ULLONG_MAX >> (i % 63));
      expected += std::to_string(LLONG_MIN >> (i % 64)) + std::to_string(ULLONG_MAX >> (i % 63));
    }
    writer.put(std::string(3 * TextWriter::kBufferSize / 2, 'z'));  // larger than the buffer
    writer.putFixed(1.5, 1, static_cast<int>(TextWriter::kBufferSize) + 10);
    EXPECT_EQ(writer.close(), 0);
  }
  std::fclose(file);
  expected += std::string(3 * TextWriter::kBufferSize / 2, 'z') + std::string(TextWriter::kBufferSize + 7, ' ') + "1.5";
  EXPECT_TRUE(readFileText(name) == expected);
}

TEST(TextWriter, RemembersTheFirstFailure) {
  std::FILE* full = std::fopen("/dev/full", "w");
  if (!full) GTEST_SKIP() << "no /dev/full here";
  TextWriter diskFull(full);
  diskFull.putFixed(1.25, 2);
  EXPECT_TRUE(diskFull.ok());  // still in the buffer
  EXPECT_EQ(diskFull.flush(), ENOSPC);
  diskFull.put("also lost");
  EXPECT_EQ(diskFull.close(), ENOSPC);
  EXPECT_EQ(diskFull.error(), ENOSPC);
  std::fclose(full);
}
