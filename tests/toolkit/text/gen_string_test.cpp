#include "text/gen_string.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "case_lines.h"
#include "config/config_reader.h"
#include "project/matrix4.h"

TEST(GenString, BytesCaseFoldingAndTheBareMark) {
  EXPECT_EQ(sizeof(GenString), sizeof(void*));  // an empty text costs no block
  GenString empty("x");
  empty.Set("");
  EXPECT_TRUE(empty.IsEmpty() && !empty.StoredBare() && std::string(empty.Get()).empty());
  const char text[] = "d\xe9j\xe0 vu";
  GenString copy = GenString(text), moved = std::move(copy);
  EXPECT_EQ(std::string(moved.Get(), moved.Length()), text);

  GenString s("Data\\House.P3D");
  EXPECT_EQ(std::vector<bool>({s.Compare("data\\house.p3d", false), s.Compare("data\\house.p3d", true),
                               s.Compare("Data\\House.P3D", true), s.Compare("data\\house.p3", false),
                               GenString("\xc9").Compare("\xe9", false), GenString().Compare(nullptr, false)}),
            std::vector<bool>({true, false, true, false, false, true}));  // only ASCII folds

  GenString bare;
  bare.SetStoredBare(true);
  GenString bareCopy = bare;
  EXPECT_TRUE(bareCopy.IsEmpty() && bareCopy.StoredBare() && bareCopy == bare && !(bareCopy == GenString()));
  EXPECT_EQ(std::vector<int>({GenString("42;").str_atoi(), GenString("-7").str_atoi(), GenString("x").str_atoi()}),
            std::vector<int>({42, -7, 0}));
}

// The cases of float_texts.txt, then the three values of a vector.
TEST(GenStringFloat, ShortestTextsAConfigReaderReadsRight) {
  GenString s;
  for (const std::string& line : caseLines(VORLAN_TOOLKIT_TESTS "/text/float_texts.txt", 20)) {
    std::istringstream in(line);
    std::string width, value, text;
    in >> width >> value >> text;
    const double v = std::strtod(value.c_str(), nullptr);
    EXPECT_STREQ(width == "float" ? s.str_FloatToStr(static_cast<float>(v), 0) : s.str_FloatToStr(v, 0), text.c_str())
        << line;
  }
  Vector3 v{-0.0f, std::numeric_limits<float>::infinity(), 0.1f};
  EXPECT_STREQ(s.str_FloatToStr(&v, 0), "-0.0,1e999,0.1");
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
    float f = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
    double d = std::bit_cast<double>(bits);
    if (std::isfinite(f)) floats.push_back(f);
    if (std::isfinite(d)) doubles.push_back(d);
  }
  GenString s;
  std::string text = "v[]={";
  std::vector<std::uint64_t> bits;  // floats first, then doubles
  for (float f : floats) text += std::string(s.str_FloatToStr(f, 0)) + ",", bits.push_back(std::bit_cast<std::uint32_t>(f));
  for (double d : doubles) text += std::string(s.str_FloatToStr(d, 0)) + ",", bits.push_back(std::bit_cast<std::uint64_t>(d));
  text += "};\n";
  Tovisk reader;
  ASSERT_EQ(reader.rap_Create("numbers", 0, text.data(), nullptr, static_cast<int>(text.size()), nullptr), 0)
      << reader.ErrorString(1);
  rap_entry* e = reader.rap_get_root()->rpe_get_entry("v", 1000)->rpe_get_entry(nullptr, 1000);
  for (std::size_t i = 0; i < bits.size(); ++i, e = e->rpe_get_next()) {
    ASSERT_NE(e, nullptr);
    double read = std::strtod(e->value.Get(), nullptr);
    EXPECT_EQ(i < floats.size() ? std::bit_cast<std::uint32_t>(static_cast<float>(read)) : std::bit_cast<std::uint64_t>(read),
              bits[i])
        << e->value.Get();
  }
}
