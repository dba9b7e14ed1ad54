#include "text/utf_convertors.h"

#include <gtest/gtest.h>

namespace {

using utfConvertors::convert_for_charset;

TEST(UtfConvertors, ConsoleConversionByCharset) {
  const char* text = "caf\xc3\xa9 \xe2\x82\xac \xc5\xa0 \xc2\xa4";  // café € Š ¤
  struct Case {
    const char* charset;
    std::string expected;
  } cases[] = {
      {"UTF-8", text},
      {"utf8", text},
      {"ANSI_X3.4-1968", text},
      {"KOI8-R", text},  // a set we do not write: left alone
      {"ISO-8859-1", "caf\xe9 ? ? \xa4"},
      {"ISO-8859-15", "caf\xe9 \xa4 \xa6 ?"},
      {"CP1252", "caf\xe9 \x80 \x8a \xa4"},
      {"windows-1252", "caf\xe9 \x80 \x8a \xa4"},
  };
  for (const auto& c : cases) EXPECT_EQ(convert_for_charset(text, c.charset), c.expected) << c.charset;
}

TEST(UtfConvertors, TextThatIsNotUtf8PassesUnchanged) {
  EXPECT_EQ(convert_for_charset("caf\xe9", "ISO-8859-1"), "caf\xe9");
  EXPECT_EQ(convert_for_charset(nullptr, "ISO-8859-1"), "");
  EXPECT_EQ(utfConvertors::convert_if_local_codepage(nullptr), "");
  EXPECT_EQ(utfConvertors::convert_if_local_codepage("plain ascii"), "plain ascii");
}

TEST(UtfConvertors, Utf8Validation) {
  using utfConvertors::is_valid_utf8;
  auto valid = [](const std::string& s) { return is_valid_utf8(s.data(), s.size()); };
  EXPECT_TRUE(valid(""));
  EXPECT_TRUE(valid("\xf0\x9f\x98\x80"));
  EXPECT_FALSE(valid("\xc0\xaf"));          // overlong
  EXPECT_FALSE(valid("\xed\xa0\x80"));      // surrogate
  EXPECT_FALSE(valid("\xf4\x90\x80\x80"));  // above U+10FFFF
  EXPECT_FALSE(valid("\xe2\x82"));          // cut short
  EXPECT_FALSE(valid("\x80"));
}

TEST(UtfConvertors, Windows1252ToWideText) {
  using utfConvertors::sbcs_to_unicode;
  EXPECT_EQ(sbcs_to_unicode("A\x80\xe9\x81\x9f", -1), std::wstring(L"A\u20ac\u00e9\u0081\u0178"));
  EXPECT_EQ(sbcs_to_unicode("abc", 1), L"a");
  EXPECT_EQ(sbcs_to_unicode(nullptr, -1), L"");
  EXPECT_EQ(utfConvertors::sbcs_to_utf8("\x80\xff", 2), "\xe2\x82\xac\xc3\xbf");
}

TEST(UtfConvertors, WideTextToUtf8) {
  using utfConvertors::unicode_to_utf8;
  EXPECT_EQ(unicode_to_utf8(L"a\u00e9\u20ac\U0001F600"), "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
  const wchar_t bad[] = {0xD800, static_cast<wchar_t>(0x110000), 0};
  EXPECT_EQ(unicode_to_utf8(bad), "\xef\xbf\xbd\xef\xbf\xbd");
  EXPECT_EQ(unicode_to_utf8(nullptr), "");
}

}  // namespace
