// The number texts of number_text.h against the C library: fixedText
// against snprintf over the values where a home-made conversion usually goes
// wrong, parseDouble and parseFloat against strtod and strtof (the same bits
// and the same end for every text).
#include "text/number_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "case_lines.h"

namespace {

struct Field {
  int precision;
  int width;
};
// The conversions the exports use: %.2f %4.2f %5.2f %6.2f %8.2f %11.2f %.1f %f.
constexpr Field kExportFields[] = {{2, 0}, {2, 4}, {2, 5}, {2, 6}, {2, 8}, {2, 11}, {1, 0}, {6, 0}};

std::string viaPrintf(double value, int precision, int width) {
  char text[1024];
  std::snprintf(text, sizeof text, "%*.*f", width, precision, value);
  return text;
}

// Reports the first mismatch only, so that a sweep stays readable.
bool sameAsPrintf(double value, Field field) {
  std::string expected = viaPrintf(value, field.precision, field.width);
  std::string actual = fixedText(value, field.precision, field.width);
  if (actual == expected) return true;
  ADD_FAILURE() << "%" << field.width << "." << field.precision << "f of bits 0x" << std::hex
                << std::bit_cast<std::uint64_t>(value) << ": got \"" << actual << "\", printf gives \"" << expected
                << "\"";
  return false;
}

bool sameInEveryExportField(double value) {
  return std::all_of(std::begin(kExportFields), std::end(kExportFields), [&](Field f) { return sameAsPrintf(value, f); });
}

bool sameAsStrtod(const std::string& text) {
  char *libraryEnd, *libraryFloatEnd;
  const char *end, *floatEnd;
  double expected = std::strtod(text.c_str(), &libraryEnd), actual = parseDouble(text.c_str(), &end);
  float expectedFloat = std::strtof(text.c_str(), &libraryFloatEnd), actualFloat = parseFloat(text.c_str(), &floatEnd);
  if (std::bit_cast<std::uint64_t>(actual) == std::bit_cast<std::uint64_t>(expected) && end == libraryEnd &&
      std::bit_cast<std::uint32_t>(actualFloat) == std::bit_cast<std::uint32_t>(expectedFloat) && floatEnd == libraryFloatEnd)
    return true;
  ADD_FAILURE() << "\"" << text << "\": got " << actual << " / " << actualFloat << " ending at " << end - text.c_str()
                << ", strtod gives " << expected << " / " << expectedFloat << " ending at " << libraryEnd - text.c_str();
  return false;
}

// The exact decimal text of m * 2^-k (k may be negative): the C library
// prints a long double's exact value, and m of up to 64 bits fits in one.
std::string exactDecimal(std::uint64_t m, int k) {
  static char text[2000];
  std::snprintf(text, sizeof text, "%.*Lf", k > 0 ? k : 0, std::ldexp(static_cast<long double>(m), -k));
  return text;
}

// The texts of number_texts.txt, read by the C library: the values to print
// and the texts to parse.
const std::vector<std::string>& numberTexts() {
  static const std::vector<std::string> texts = caseLines(VORLAN_TOOLKIT_TESTS "/text/number_texts.txt", 100);
  return texts;
}

}  // namespace

TEST(FormatFixed, ZerosTiesSpecialAndExtremeValues) {
  for (const std::string& text : numberTexts()) {
    const double v = std::strtod(text.c_str(), nullptr);
    EXPECT_TRUE(sameInEveryExportField(v)) << text;
    EXPECT_TRUE(sameInEveryExportField(-v)) << text;
  }
  // Wide fields and long precisions; a narrow field never cuts.
  for (double v : {0.1, -2.675, 1e-300, 5e-324, 1e17, 123.456, 12345.678, DBL_MAX}) {
    for (int precision : {-1, 0, 2, 3, 9, 16, 17, 18, 25, 40, 100}) {
      for (int width : {0, 4, 120, 600}) EXPECT_TRUE(sameAsPrintf(v, {precision, width}));
    }
  }
}

TEST(FormatFixed, SweepsOverTiesCentsPowersOfTwoAndRandomBits) {
  // Exact ties at precision p are the odd multiples of 2^-(p + 1).
  for (int precision = 0; precision <= 8; ++precision) {
    for (int odd = 1; odd < 40000; odd += 2) {
      double tie = std::ldexp(odd, -(precision + 1));
      ASSERT_TRUE(sameAsPrintf(tie, {precision, 0}));
      ASSERT_TRUE(sameAsPrintf(-tie, {precision, 9}));
    }
  }
  // Text-like values with three decimals sit next to the %.2f rounding edge.
  for (int thousandths = -2000000; thousandths <= 2000000; thousandths += 7) {
    ASSERT_TRUE(sameAsPrintf(thousandths / 1000.0, {2, 0}));
    ASSERT_TRUE(sameAsPrintf(static_cast<float>(thousandths / 1000.0), {2, 8}));
  }
  // Every power of two and its neighbours crosses each path of the conversion.
  for (int exponent = -1074; exponent <= 1023; ++exponent) {
    double power = std::ldexp(1.0, exponent);
    for (double v : {power, std::nextafter(power, 0.0), std::nextafter(power, INFINITY)})
      ASSERT_TRUE(sameInEveryExportField(v));
  }
  std::mt19937 random(20240611);
  for (int i = 0; i < 1000000; ++i) {
    double v = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    ASSERT_TRUE(sameAsPrintf(v, {2, 0}));
    ASSERT_TRUE(sameAsPrintf(v, kExportFields[i % std::size(kExportFields)]));
  }
  std::mt19937_64 random64(77);
  std::uniform_real_distribution<double> height(-20000.0, 20000.0);
  for (int i = 0; i < 200000; ++i) {
    ASSERT_TRUE(sameAsPrintf(std::bit_cast<double>(random64()), kExportFields[i % std::size(kExportFields)]));
    ASSERT_TRUE(sameInEveryExportField(height(random64)));
  }
}

TEST(ParseDouble, ShortMalformedSpecialAndHexadecimalTexts) {
  EXPECT_TRUE(sameAsStrtod(""));
  for (const std::string& text : numberTexts()) EXPECT_TRUE(sameAsStrtod(text));
  const char* end = nullptr;
  const char* empty = "  -x";
  EXPECT_EQ(parseDouble(empty, &end), 0.0);
  EXPECT_EQ(end, empty);  // no number: the end is the text itself, blanks and all
  EXPECT_EQ(parseDouble("42", nullptr), 42.0);
}

TEST(ParseDouble, LongDigitStringsAtRoundingTies) {
  // Exact ties between neighbouring values, then a hair above and below,
  // with the deciding digit hundreds of digits in.
  struct Tie {
    std::uint64_t odd;
    int k;
  };
  for (Tie tie : {Tie{1, 1075}, Tie{3, 1075}, Tie{(std::uint64_t{1} << 53) + 1, 53},
                  Tie{(std::uint64_t{1} << 54) - 1, -970}, Tie{(std::uint64_t{1} << 53) + 3, 1075 - 52},
                  Tie{(std::uint64_t{1} << 24) + 1, 24}, Tie{(std::uint64_t{1} << 25) - 1, -103}, Tie{1, 150}}) {
    std::string exact = exactDecimal(tie.odd, tie.k);
    std::string below = exact;
    below.back() = static_cast<char>(below.back() - 1);
    EXPECT_TRUE(sameAsStrtod(exact));
    EXPECT_TRUE(sameAsStrtod(below));
    EXPECT_TRUE(sameAsStrtod(exact + (tie.k > 0 ? "" : ".") + std::string(900, '0') + "1"));
    EXPECT_TRUE(sameAsStrtod("-" + exact + "e0x"));
  }
  EXPECT_GT(exactDecimal(1, 1075).size(), 800u);
  EXPECT_TRUE(sameAsStrtod(std::string(1000, '9')));
  EXPECT_TRUE(sameAsStrtod("0." + std::string(1000, '0') + "1e1005"));
  EXPECT_TRUE(sameAsStrtod(std::string(900, '1') + "e-900"));
}

TEST(ParseDouble, PrintedFloatAndDoubleBitPatterns) {
  std::mt19937_64 random(11);
  char text[1100];
  for (int i = 0; i < 1000000; ++i) {
    double value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    std::snprintf(text, sizeof text, i % 2 ? "%.9g" : "%.2f ", value);
    ASSERT_TRUE(sameAsStrtod(text));
  }
  for (int i = 0; i < 200000; ++i) {
    double value = std::bit_cast<double>(random());
    const char* formats[] = {"%.17g", "%.16g", "%a", "%.3e", "%.25g!", "%.6f"};
    std::snprintf(text, sizeof text, formats[i % 6], value);
    ASSERT_TRUE(sameAsStrtod(text));
  }
}
