// Walks config_cases.txt: texts the reader reads from memory as "lib.txt",
// each with the tree it must make (and its warnings) or the error it must
// give. The file's first lines say how a case is written.
#include <gtest/gtest.h>

#include <fstream>

#include "config/config_test_helpers.h"
#include "status.h"

namespace {

// "\n", "\r", "\t", "\0", "\\" and "\xHH" stand for their bytes; any other
// backslash is a mistake in the file.
std::string Unescape(const std::string& line, int number) {
  std::string bytes;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] != '\\') {
      bytes += line[i];
      continue;
    }
    char c = i + 1 < line.size() ? line[++i] : ' ';
    if (c == 'x' && i + 2 < line.size()) {
      bytes += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      const std::string from = "nrt0\\", to("\n\r\t\0\\", 5);
      std::size_t at = from.find(c);
      EXPECT_NE(at, std::string::npos) << "config_cases.txt:" << number << ": unknown escape";
      if (at != std::string::npos) bytes += to[at];
    }
  }
  return bytes;
}

struct Case {
  int line = 0;
  std::string text, tree, error;
  std::vector<std::string> warnings;
  bool open = false;  // its text is still being read
};

void Check(const Case& c) {
  if (c.line == 0) return;
  SCOPED_TRACE("config_cases.txt:" + std::to_string(c.line));
  Tovisk reader;
  int s = ParseText(reader, c.text);
  if (!c.error.empty()) {
    EXPECT_EQ(s, status::kConfigSyntax);
    EXPECT_EQ(s ? reader.ErrorString(s) : TreeText(reader), c.error);
    EXPECT_EQ(reader.rap_get_root(), nullptr);
    return;
  }
  ASSERT_EQ(s, status::kOk) << reader.ErrorString(s);
  EXPECT_EQ(TreeText(reader), c.tree);
  EXPECT_EQ(reader.Warnings(), c.warnings);
}

}  // namespace

TEST(ConfigCases, EveryTextGivesItsTreeOrItsError) {
  std::ifstream in(VORLAN_TOOLKIT_TESTS "/config/config_cases.txt");
  ASSERT_TRUE(in) << "config_cases.txt is missing";
  Case c;
  int number = 0, cases = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    char kind = line.empty() ? '#' : line[0];
    if (kind == '#') continue;
    std::string rest = Unescape(line.substr(std::min<std::size_t>(2, line.size())), number);
    if (kind == '>') {
      if (!c.open) Check(c), c = Case(), c.line = number, c.open = true, ++cases;
      else c.text += '\n';
      c.text += rest;
      continue;
    }
    c.open = false;
    if (kind == '=') c.tree = rest;
    else if (kind == '!') c.error = rest;
    else if (kind == '~') c.warnings.push_back(rest);
    else ADD_FAILURE() << "config_cases.txt:" << number << ": a line starts with '>', '=', '~', '!' or '#'";
  }
  Check(c);
  EXPECT_GT(cases, 150);
}
