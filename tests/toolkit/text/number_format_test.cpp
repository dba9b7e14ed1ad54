// formatFixed against the C library's snprintf, over the values where a
// home-made conversion usually goes wrong.
#include "text/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>

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
