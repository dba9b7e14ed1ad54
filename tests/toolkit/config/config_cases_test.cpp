// Walks config_cases.txt: texts the reader reads from memory as "lib.txt",
// each with the tree it must make (and its warnings) or the error it must
// give. The file's first lines say how a case is written.
#include <gtest/gtest.h>

#include <fstream>

#include "case_lines.h"
#include "config/config_test_helpers.h"
#include "status.h"

namespace {

struct Case {
  int line = 0;
  std::string text, tree, error;
  std::vector<std::string> warnings;
};

void Check(const Case& c) {
  SCOPED_TRACE("config_cases.txt:" + std::to_string(c.line));
  Tovisk reader;
  int s = ParseText(reader, c.text);
  if (!c.error.empty()) {
    EXPECT_EQ(s ? reader.ErrorString(s) : TreeText(reader), c.error);
    EXPECT_EQ(s, status::kConfigSyntax);
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
  std::vector<Case> cases;
  char last = '#';
  int number = 0;
  for (std::string line; std::getline(in, line); last = line.empty() ? '#' : line[0]) {
    ++number;
    char kind = line.empty() ? '#' : line[0];
    std::string rest = kind == '#' ? "" : unescapeCaseText(line.substr(std::min<std::size_t>(2, line.size())));
    if (kind == '>' && last == '>') cases.back().text += "\n" + rest;
    else if (kind == '>') cases.emplace_back(), cases.back().line = number, cases.back().text = rest;
    else if (kind != '#' && cases.empty()) ADD_FAILURE() << "a line before the first text: " << line;
    else if (kind == '=') cases.back().tree = rest;
    else if (kind == '!') cases.back().error = rest;
    else if (kind == '~') cases.back().warnings.push_back(rest);
    else if (kind != '#') ADD_FAILURE() << "a line that starts with none of '>', '=', '~', '!' and '#': " << line;
  }
  EXPECT_GT(cases.size(), 150u) << "config_cases.txt is missing or cut short";
  for (const Case& c : cases) Check(c);
}
