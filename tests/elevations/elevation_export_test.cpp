#include "elevations/elevation_export.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>

#include "case_lines.h"
#include "elevation_test_support.h"
#include "elevations/height_text.h"
#include "stream_capture.h"
#include "temp_dir.h"

namespace {

struct Export {
  int result;
  std::string out, err, file;
};

Export exportTo(Vorlan& project, const std::string& name, unsigned format) {
  Captured run = captureRun([&] { return exportElevations(project, name.c_str(), format); });
  Export e{run.status, run.out, run.err, ""};
  if (std::filesystem::is_regular_file(name)) e.file = readFileText(name);
  return e;
}

std::string printed(const char* format, float value) {
  char text[400];
  std::snprintf(text, sizeof text, format, static_cast<double>(value));
  return text;
}

std::string formatted(float value, int width) {
  char text[kHeightTextCapacity];
  return std::string(text, formatHeight(text, value, width));
}

}  // namespace

// Enough heights to fill the piece buffer many times over, negative ones
// among them; the asc header rounds the cell size to one decimal.
TEST(ElevationExport, WritesLargeGridsInPiecesWithoutLosingAByte) {
  TempDir dir;
  Vorlan project;
  std::vector<float> heights(300 * 200);
  for (std::size_t i = 0; i < heights.size(); ++i) heights[i] = static_cast<float>(i) * 0.37f - 5000.0f;
  makeGrid(project, 300, 200, 12.25f, heights);
  std::string asc = ascHeader(300, 200, "12.2"), xyz;
  for (std::size_t r = 0; r < 200; ++r) {
    for (std::size_t c = 0; c < 300; ++c) {
      float h = heights[r * 300 + c];
      asc += printed("%.2f", h) + (c + 1 < 300 ? " " : "\r\n");
      char line[100];
      std::snprintf(line, sizeof line, "%11.2f %11.2f %11.2f\r\n", c * 12.25, r * 12.25, static_cast<double>(h));
      xyz += line;
    }
    asc += "\r\n";
  }
  EXPECT_EQ(exportTo(project, dir.file("big.asc"), kElevationAsc).file, asc);
  EXPECT_EQ(exportTo(project, dir.file("big.xyz"), kElevationXyz).file, xyz);
  // A format the writer does not know fails and leaves no file.
  EXPECT_EQ(exportTo(project, dir.file("big.grd"), kElevationXyz + 1).result, 1);
  EXPECT_FALSE(std::filesystem::exists(dir.file("big.grd")));
}

// The values of height_values.txt, then random ones.
TEST(HeightText, MatchesPrintfOnAwkwardAndRandomValues) {
  for (const std::string& text : caseLines(TEST_DATA_DIR "/height_values.txt", 35)) {
    const float v = std::strtof(text.c_str(), nullptr);
    EXPECT_EQ(formatted(v, 0), printed("%.2f", v)) << v;
    EXPECT_EQ(formatted(v, 11), printed("%11.2f", v)) << v;
  }
  std::mt19937 random(12345);
  std::uniform_int_distribution<std::uint32_t> bits;
  std::uniform_real_distribution<float> terrain(-2000.0f, 9000.0f);
  for (int i = 0; i < 200000; ++i) {
    std::uint32_t b = bits(random);
    float any;
    std::memcpy(&any, &b, sizeof any);
    float height = terrain(random);
    // Exactly representable hundredths and halves of them test the rounding.
    float tie = static_cast<float>(static_cast<int>(b % 200000) - 100000) / 8.0f;
    for (float v : {any, height, tie}) {
      ASSERT_EQ(formatted(v, 0), printed("%.2f", v)) << v;
      ASSERT_EQ(formatted(v, 11), printed("%11.2f", v)) << v;
    }
  }
}
