#include "elevations/elevation_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "case_lines.h"
#include "stream_capture.h"

namespace {

// The bits of a float as text; all NaNs of one sign are alike.
std::string bitsOf(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, 4);
  if (std::isnan(value)) return std::signbit(value) ? "-nan" : "nan";
  return std::to_string(bits) + " (" + std::to_string(value) + ")";
}

// What the asc body reader and the xyz point reader (for the third number)
// must give for a token: strtod's value narrowed to float, bit for bit.
void expectStrtodValue(const std::string& token) {
  std::string text = token + " next";
  float expected = static_cast<float>(std::strtod(text.c_str(), nullptr));
  float value = -12345.0f;
  const char* end = readAscValue(text.c_str(), value);
  EXPECT_EQ(bitsOf(value), bitsOf(expected)) << token;
  EXPECT_EQ(end, text.c_str() + token.size()) << token;

  std::string line = "0 0  " + token + "\r\n";
  ElevationText xyz(line.c_str(), "points.xyz");
  XyzPoint point;
  ASSERT_TRUE(xyz.readXyzLine(point));
  EXPECT_EQ(bitsOf(point.z), bitsOf(expected)) << token;
}

}  // namespace

TEST(AscValue, AwkwardAndRandomTokensGiveStrtodsValue) {
  for (const std::string& token : caseLines(TEST_DATA_DIR "/asc_value_tokens.txt", 50)) expectStrtodValue(token);
  std::mt19937_64 random(7);
  std::uniform_int_distribution<std::uint64_t> bits;
  std::uniform_real_distribution<double> terrain(-500.0, 5000.0);
  char token[64];
  for (int i = 0; i < 100000; ++i) {
    std::uint64_t b = bits(random);
    double any;
    std::memcpy(&any, &b, sizeof any);
    static const char* const formats[] = {"%.2f", "%.17g", "%.9g", "%.3f", "%.20f"};
    std::snprintf(token, sizeof token, formats[i % 5], i % 2 ? terrain(random) : (i % 5 == 4 ? any * 1e-300 : any));
    if (std::isnan(any) && i % 2 == 0) continue;
    expectStrtodValue(token);
  }
}

// Each value, then what is left where the position stopped.
TEST(AscValue, PositionMovesToTheNextBlankWhereverStrtodStopped) {
  std::string text = "12abc\t-3x\rnan(q) 5\n\v 6 8.25", walk;
  const char* p = text.c_str();
  for (int i = 0; i < 7; ++i) {
    float value;
    p = readAscValue(skipAscBlanks(p), value);
    walk += std::to_string(value) + "|" + std::string(p).substr(0, 2) + " ";
  }
  // A vertical tab is no blank: strtod reads past it to the 6, the position
  // stays before the 6.
  EXPECT_EQ(walk, "12.000000|\t- -3.000000|\rn nan| 5 5.000000|\n\v 6.000000| 6 6.000000| 8 8.250000| ");
}

namespace {

// What `body` printed while it read `file`.
std::string read(const std::string& file, const std::function<void(ElevationText&)>& body) {
  ElevationText text(file.c_str(), "grid.asc");
  StreamCapture out(stdout);
  body(text);
  return out.finish();
}

}  // namespace

TEST(HeaderLines, LongLinesAreCutButPassedOverWholeAndNoReadPassesTheEnd) {
  const std::size_t max = ElevationText::kHeaderLineMax;
  std::optional<long> columns, rows;
  for (std::size_t length : {max, max + 1, max + 2, std::size_t{5000}}) {  // the line's length
    std::string longLine = "ncols 5" + std::string(length - 11, ' ') + "tail";
    std::string printed = read(longLine + "\r\nnrows 6\r\n", [&](ElevationText& t) {
      columns = t.readHeaderInt("ncols ");
      rows = t.readHeaderInt("nrows ");
    });
    EXPECT_EQ(columns, 5);
    EXPECT_EQ(rows, 6);
    EXPECT_EQ(printed, longLine.substr(0, max) + "nrows 6") << length;
  }
  // A carriage return as the very last byte: nothing runs past the end.
  bool atEnd = false;
  read("ncols 2\r", [&](ElevationText& t) {
    columns = t.readHeaderInt("ncols ");
    atEnd = t.atEnd();
  });
  EXPECT_EQ(columns, 2);
  EXPECT_TRUE(atEnd);
  // A whole number is its decimal digits, whatever follows them.
  read("ncols 12a\r\n", [&](ElevationText& t) { columns = t.readHeaderInt("ncols "); });
  EXPECT_EQ(columns, 12);
}

// The lines of xyz_points.txt, read as one file, give their points.
TEST(HeaderLines, XyzPointsSkipNumbersByDigitsAndPoints) {
  std::string text, expected, points;
  for (const std::string& line : caseLines(TEST_DATA_DIR "/xyz_points.txt", 5)) {
    text += (text.empty() ? "" : "\r\n") + line.substr(0, line.find('\t'));
    expected += line.substr(line.find('\t') + 1) + ", ";
  }
  read(text, [&points](ElevationText& t) {
    XyzPoint p;
    char line[100];
    while (t.readXyzLine(p)) points.append(line, std::snprintf(line, sizeof line, "%g %g %g, ", p.x, p.y, p.z));
  });
  EXPECT_EQ(points, expected);
}
