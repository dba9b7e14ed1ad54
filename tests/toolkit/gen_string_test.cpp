#include "gen_string.h"

#include <gtest/gtest.h>

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
