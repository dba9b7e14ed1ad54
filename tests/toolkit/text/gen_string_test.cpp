#include "text/gen_string.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "config/config_reader.h"
#include "project/matrix4.h"

TEST(GenString, EmptyIsNeverNullAndCostsNoBlock) {
  GenString s;
  EXPECT_STREQ(s.Get(), "");
  EXPECT_TRUE(s.IsEmpty());
  EXPECT_EQ(sizeof(GenString), sizeof(void*));
  s.Set("x");
  s.Set("");
  EXPECT_TRUE(s.IsEmpty());
  EXPECT_FALSE(s.StoredBare());
}

TEST(GenString, KeepsBytesIncludingHighCodePage) {
  const char text[] = "d\xe9j\xe0 vu";
  GenString s(text);
  EXPECT_EQ(s.Length(), sizeof(text) - 1);
  EXPECT_STREQ(s.Get(), text);
  GenString copy = s;
  EXPECT_TRUE(copy == s);
  GenString moved = std::move(copy);
  EXPECT_STREQ(moved.Get(), text);
}

TEST(GenString, CompareFoldsOnlyAsciiCaseWhenAsked) {
  GenString s("Data\\House.P3D");
  EXPECT_TRUE(s.Compare("data\\house.p3d", false));
  EXPECT_FALSE(s.Compare("data\\house.p3d", true));
  EXPECT_TRUE(s.Compare("Data\\House.P3D", true));
  EXPECT_FALSE(s.Compare("data\\house.p3", false));
  EXPECT_FALSE(GenString("\xc9").Compare("\xe9", false));
  EXPECT_TRUE(GenString().Compare(nullptr, false));
}

TEST(GenString, BareMarkSurvivesCopyAndIsPartOfEquality) {
  GenString bare;
  bare.SetStoredBare(true);
  EXPECT_TRUE(bare.IsEmpty());
  EXPECT_TRUE(bare.StoredBare());
  GenString copy = bare;
  EXPECT_TRUE(copy.StoredBare());
  EXPECT_FALSE(copy == GenString());
}

TEST(GenString, AtoiReadsTheLeadingInteger) {
  EXPECT_EQ(GenString("42;").str_atoi(), 42);
  EXPECT_EQ(GenString("-7").str_atoi(), -7);
  EXPECT_EQ(GenString("x").str_atoi(), 0);
}

TEST(GenStringFloat, ShortestTextOfEachWidth) {
  GenString s;
  EXPECT_STREQ(s.str_FloatToStr(0.1f, 0), "0.1");
  EXPECT_STREQ(s.str_FloatToStr(0.1, 0), "0.1");
  EXPECT_STREQ(s.str_FloatToStr(static_cast<double>(0.1f), 0), "0.10000000149011612");
  EXPECT_STREQ(s.str_FloatToStr(static_cast<double>(1.3f), 0), "1.2999999523162842");
  EXPECT_STREQ(s.str_FloatToStr(50.0, 0), "50");
  EXPECT_STREQ(s.str_FloatToStr(-3.25f, 0), "-3.25");
  EXPECT_STREQ(s.str_FloatToStr(1e-5f, 0), "1e-05");
  EXPECT_STREQ(s.str_FloatToStr(0.0f, 0), "0");
}

TEST(GenStringFloat, TextsAConfigReaderWouldMisreadAreAvoided) {
  GenString s;
  // 32-bit integer readings would wrap these, or drop the sign of zero.
  EXPECT_STREQ(s.str_FloatToStr(2147483648.0, 0), "2147483648.0");
  EXPECT_STREQ(s.str_FloatToStr(4294967295.0, 0), "4294967295.0");
  EXPECT_STREQ(s.str_FloatToStr(2147483647.0, 0), "2147483647");
  EXPECT_STREQ(s.str_FloatToStr(4294967296.0, 0), "4294967296");
  EXPECT_STREQ(s.str_FloatToStr(-2147483648.0, 0), "-2147483648");
  EXPECT_STREQ(s.str_FloatToStr(2147483648.0f, 0), "2147483648.0");
  EXPECT_STREQ(s.str_FloatToStr(-0.0f, 0), "-0.0");
  EXPECT_STREQ(s.str_FloatToStr(-0.0, 0), "-0.0");
  // Nothing non-finite: infinities read back as such, a NaN becomes 0.
  EXPECT_STREQ(s.str_FloatToStr(std::numeric_limits<float>::infinity(), 0), "1e999");
  EXPECT_STREQ(s.str_FloatToStr(-std::numeric_limits<double>::infinity(), 0), "-1e999");
  EXPECT_STREQ(s.str_FloatToStr(std::numeric_limits<double>::quiet_NaN(), 0), "0");
  EXPECT_STREQ(s.str_FloatToStr(-std::numeric_limits<float>::quiet_NaN(), 0), "0");
}

TEST(GenStringFloat, VectorIsThreeValuesWithCommas) {
  GenString s;
  Vector3 v{1.0f, 0.5f, -2.0f};
  EXPECT_STREQ(s.str_FloatToStr(&v, 0), "1,0.5,-2");
  Vector3 odd{-0.0f, std::numeric_limits<float>::infinity(), 0.1f};
  EXPECT_STREQ(s.str_FloatToStr(&odd, 0), "-0.0,1e999,0.1");
}

// Every text, read back through the config reader as the template import
// reads it (strtod, narrowed for floats), gives the very same bits.
TEST(GenStringFloat, ReadsBackThroughTheConfigReaderBitForBit) {
  std::mt19937_64 random(7);
  std::vector<float> floats = {0.0f, -0.0f, 1.0f, 0.1f, 16777216.0f, 2147483648.0f, 3e9f, 4294967296.0f,
                               std::numeric_limits<float>::max(), std::numeric_limits<float>::denorm_min(),
                               -std::numeric_limits<float>::infinity()};
  std::vector<double> doubles = {0.0, -0.0, 0.1, 1e300, 2147483648.0, 4294967295.0, -4294967295.0,
                                 std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min(),
                                 std::numeric_limits<double>::infinity()};
  for (int i = 0; i < 2000; ++i) {
    std::uint64_t bits = random();
    float f;
    double d;
    std::uint32_t low = static_cast<std::uint32_t>(bits);
    std::memcpy(&f, &low, sizeof f);
    std::memcpy(&d, &bits, sizeof d);
    if (std::isfinite(f)) floats.push_back(f);
    if (std::isfinite(d)) doubles.push_back(d);
  }
  std::string text = "f[]={";
  GenString s;
  for (std::size_t i = 0; i < floats.size(); ++i) text += (i ? "," : "") + std::string(s.str_FloatToStr(floats[i], 0));
  text += "};\nd[]={";
  for (std::size_t i = 0; i < doubles.size(); ++i)
    text += (i ? "," : "") + std::string(s.str_FloatToStr(doubles[i], 0));
  text += "};\n";
  Tovisk reader;
  ASSERT_EQ(reader.rap_Create("numbers", 0, text.data(), nullptr, static_cast<int>(text.size()), nullptr), 0)
      << reader.ErrorString(1);
  rap_entry* e = reader.rap_get_root()->rpe_get_entry("f", 1000)->rpe_get_entry(nullptr, 1000);
  for (float want : floats) {
    ASSERT_NE(e, nullptr);
    float got = static_cast<float>(std::strtod(e->value.Get(), nullptr));
    EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0) << e->value.Get();
    e = e->rpe_get_next();
  }
  e = reader.rap_get_root()->rpe_get_entry("d", 1000)->rpe_get_entry(nullptr, 1000);
  for (double want : doubles) {
    ASSERT_NE(e, nullptr);
    double got = std::strtod(e->value.Get(), nullptr);
    EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0) << e->value.Get();
    e = e->rpe_get_next();
  }
}
