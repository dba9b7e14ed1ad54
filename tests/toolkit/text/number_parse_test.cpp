// parseDouble and parseFloat against strtod and strtof: the same bits and the
// same end for every text.
#include "text/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

bool sameAsStrtod(const std::string& text) {
  char* libraryEnd;
  const char* end;
  double expected = std::strtod(text.c_str(), &libraryEnd);
  double actual = parseDouble(text.c_str(), &end);
  float expectedFloat = std::strtof(text.c_str(), &libraryEnd);
  const char* floatEnd;
  float actualFloat = parseFloat(text.c_str(), &floatEnd);
  bool same = std::bit_cast<std::uint64_t>(actual) == std::bit_cast<std::uint64_t>(expected) &&
              std::bit_cast<std::uint32_t>(actualFloat) == std::bit_cast<std::uint32_t>(expectedFloat) &&
              end == libraryEnd && floatEnd == libraryEnd;
  if (!same) {
    ADD_FAILURE() << "\"" << text << "\": got " << actual << " / " << actualFloat << " ending at "
                  << end - text.c_str() << ", strtod gives " << expected << " / " << expectedFloat << " ending at "
                  << libraryEnd - text.c_str();
  }
  return same;
}

// The exact decimal text of m * 2^-k (k may be negative): the C library
// prints a long double's exact value, and m of up to 64 bits fits in one.
std::string exactDecimal(std::uint64_t m, int k) {
  static char text[2000];
  std::snprintf(text, sizeof text, "%.*Lf", k > 0 ? k : 0, std::ldexp(static_cast<long double>(m), -k));
  return text;
}

}  // namespace

TEST(ParseDouble, ShortMalformedSpecialAndHexadecimalTexts) {
  for (const char* text :
       {"", " ", "-", "+", "-.", ".", "1e", "1e+", "1e-x", ".e1", "e5", "1.", ".5", "+.5e-3", "-0", "-0.0e99999",
        "0.000", "00012.50", "  \t\n\v\f\r-7.25xyz", "12,5", "1_000", "3.14.15", "1e5e5", "--1", "+-1", "- 1",
        "2.675 ", "1e0000000000000000000000005", "1e-99999999999999999999", "1e400", "-1e400", "1e-400", "2.4e-324",
        "2.5e-324", "4.9e-324", "2.2250738585072011e-308", "1.7976931348623157e308", "1.7976931348623159e308",
        "9007199254740993", "9007199254740993.0000001", "123456789012345678901234567890", "0.1e23", "1e22", "1e23",
        "8.5e-400", "18446744073709551615", "18446744073709551616e-20", "inf", "-INF", "+Infinity", "infinit",
        "infinityx", "in", "nan", "NaN", "-nan", "nan(123)", "nan(abc_9)", "nan(", "nan(a b)", "nanx", "na",
        "0x1.8p3", "-0X1P-2", "0x", "0xg", "0x.p1", "0x.8", "0x1p", "0x1p+", "0x1.fffffffffffff8p1023",
        "0x1.00000000000008p0", "0x0.0000000000001p-1022", " 0x10"}) {
    EXPECT_TRUE(sameAsStrtod(text));
  }
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

TEST(ParseDouble, RandomDecimalTexts) {
  std::mt19937_64 random(5);
  for (int i = 0; i < 300000; ++i) {
    std::string text;
    int digits = 1 + static_cast<int>(random() % 24);
    int point = static_cast<int>(random() % (digits + 2)) - 1;
    for (int d = 0; d < digits; ++d) {
      if (d == point) text += '.';
      text += static_cast<char>('0' + random() % 10);
    }
    if (random() % 3 == 0) text += "e" + std::to_string(static_cast<int>(random() % 80) - 40);
    ASSERT_TRUE(sameAsStrtod(text));
  }
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
