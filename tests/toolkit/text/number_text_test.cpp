// The number texts of number_text.h against the C library: fixedText
// against snprintf over the values where a home-made conversion usually goes
// wrong, parseDouble and parseFloat against strtod and strtof (the same bits
// and the same end for every text).
#include "text/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

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
  for (Field field : kExportFields) {
    if (!sameAsPrintf(value, field)) return false;
  }
  return true;
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

}  // namespace

TEST(FormatFixed, ZerosTiesSpecialAndExtremeValues) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  for (double v : {0.0, 0.001, 0.004999, 0.005, 1e-7, 0.05, 0.94, 0.95, 1.0, inf, nan, 0.125, 0.375, 0.625, 0.875,
                   2.675, 1.005, 1e15 + 0.5, 0.5, 1.5, 2.5, 0.25, 0.15, 1e300, DBL_MAX, double{FLT_MAX}, 1e22, 1e23,
                   9.2233720368547758e18, 1.8446744073709552e19, 1.8446744073709551e17, 1.8446744073709552e13,
                   123456789012345.67, 4503599627370495.5, DBL_MIN, DBL_TRUE_MIN, 1e-310, double{FLT_MIN},
                   double{FLT_TRUE_MIN}, 4.9999999999999996e-7, 5e-7}) {
    EXPECT_TRUE(sameInEveryExportField(v)) << v;
    EXPECT_TRUE(sameInEveryExportField(-v)) << v;
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
