#include "text/utf_convertors.h"

#include <gtest/gtest.h>

#include "case_lines.h"

using namespace utfConvertors;

TEST(UtfConvertors, ConsoleConversionByCharset) {
  const char* text = "caf\xc3\xa9 \xe2\x82\xac \xc5\xa0 \xc2\xa4\xc3\xbf\xc4\x80";  // café € Š ¤ÿĀ
  struct {
    const char* text;
    const char* charset;
    std::string expected;
  } const cases[] = {
      {text, "UTF-8", text}, {text, "utf8", text}, {text, "ANSI_X3.4-1968", text},
      {text, "KOI8-R", text},  // a set we do not write: left alone
      {text, "ISO-8859-1", "caf\xe9 ? ? \xa4\xff?"}, {text, "ISO-8859-15", "caf\xe9 \xa4 \xa6 ?\xff?"},
      {text, "CP1252", "caf\xe9 \x80 \x8a \xa4\xff?"}, {text, "windows-1252", "caf\xe9 \x80 \x8a \xa4\xff?"},
      {"caf\xe9", "ISO-8859-1", "caf\xe9"},  // not UTF-8: unchanged
      {nullptr, "ISO-8859-1", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(convert_for_charset(c.text, c.charset), c.expected) << c.charset;
  EXPECT_EQ(convert_if_local_codepage(nullptr), "");
  EXPECT_EQ(convert_if_local_codepage("plain ascii"), "plain ascii");
}

// The texts of utf8_texts.txt are good or bad UTF-8 as they say.
TEST(UtfConvertors, ValidationAndWideText) {
  auto valid = [](const std::string& s) { return is_valid_utf8(s.data(), s.size()); };
  for (const std::string& line : caseLines(VORLAN_TOOLKIT_TESTS "/text/utf8_texts.txt", 20))
    EXPECT_EQ(valid(line.substr(line.find('\t') + 1)), line.starts_with("good\t")) << line;
  EXPECT_EQ(sbcs_to_unicode("A\x80\xe9\x81\x9f", -1), std::wstring(L"A\u20ac\u00e9\u0081\u0178"));
  EXPECT_EQ(sbcs_to_unicode("abc", 1), L"a");
  EXPECT_EQ(sbcs_to_unicode(nullptr, -1), L"");
  EXPECT_EQ(sbcs_to_utf8("\x80\xff", 2), "\xe2\x82\xac\xc3\xbf");
  EXPECT_EQ(unicode_to_utf8(L"\u007f\u0080\u07ff\u0800\ud7ff\ue000\uffff\U00010000\U0010FFFF"),
            "\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf");
  const wchar_t bad[] = {0xD800, static_cast<wchar_t>(0x110000), 0};
  EXPECT_EQ(unicode_to_utf8(bad), "\xef\xbf\xbd\xef\xbf\xbd");
  EXPECT_EQ(unicode_to_utf8(nullptr), "");
}
