// Texts made to exhaust the reader: each bound stops it with a message that
// names the place, before memory or the stack runs out.
#include <gtest/gtest.h>

#include "config/config_test_helpers.h"
#include "status.h"

namespace {

std::string Error(const std::string& text, const ConfigLimits& limits = ConfigLimits()) {
  Tovisk reader;
  reader.SetLimits(limits);
  int s = ParseText(reader, text);
  EXPECT_EQ(s, status::kConfigSyntax);
  return s ? reader.ErrorString(s) : "";
}

}  // namespace

TEST(ConfigErrors, BoundsStopTextsThatWouldExhaustTheReader) {
  // Each level doubles: 2^40 tokens if nothing stopped it.
  std::string doubling = "#define M0 x, x\n";
  for (int i = 1; i <= 40; ++i)
    doubling += "#define M" + std::to_string(i) + " M" + std::to_string(i - 1) + ", M" + std::to_string(i - 1) + "\n";
  ConfigLimits fewTokens, shortExpansions;
  fewTokens.maxExpansionTokens = 100000;
  shortExpansions.maxExpansionLength = 10000;
  EXPECT_EQ(Error(doubling + "v[] = {M40};\n", fewTokens),
            "lib.txt:42:8: macro expansion is too large (more than 100000 tokens in all)");
  // The bound itself is allowed: this use of M counts six tokens.
  ConfigLimits sixTokens, fiveTokens;
  sixTokens.maxExpansionTokens = 6;
  fiveTokens.maxExpansionTokens = 5;
  Tovisk reader;
  reader.SetLimits(sixTokens);
  int parsed = ParseText(reader, "#define M a, b, c\nv[] = {M};\n");
  EXPECT_EQ(parsed, status::kOk) << reader.ErrorString(parsed);
  EXPECT_EQ(Error("#define M a, b, c\nv[] = {M};\n", fiveTokens),
            "lib.txt:2:8: macro expansion is too large (more than 5 tokens in all)");
  // Arguments grow inside arguments: bounded by the length of one expansion.
  EXPECT_EQ(Error("#define D(x) x x\n#define E(x) D(D(D(D(D(D(D(D(x))))))))\n"
                  "#define S(x) #x\n#define XS(x) S(x)\nv = XS(E(E(E(E(E(y))))));\n",
                  shortExpansions),
            "lib.txt:5:14: macro expansion is too long (more than 10000 tokens)");

  EXPECT_EQ(Error("v[] = " + std::string(100000, '{')), "lib.txt:1:263: classes and arrays are nested more than 256 deep");
  std::string classes;
  for (int i = 0; i < 100000; ++i) classes += "class C" + std::to_string(i) + " {";
  EXPECT_EQ(Error(classes), "lib.txt:1:2974: classes and arrays are nested more than 256 deep");
  auto nestedCalls = [](int depth) {
    std::string calls = "#define ID(x) x\nv = ";
    for (int i = 0; i < depth; ++i) calls += "ID(";
    return calls + "1" + std::string(static_cast<std::size_t>(depth), ')') + ";";
  };
  EXPECT_EQ(Error(nestedCalls(1000)), "lib.txt:2:605: macro calls nested more than 200 deep in arguments");
  EXPECT_EQ(Error(nestedCalls(100000)), "lib.txt:2:14: macro expansion is too long (more than 1048576 tokens)")
      << "the arguments held at once are bounded";
  std::string chain;
  for (int i = 0; i < 1000; ++i) chain += "#define M" + std::to_string(i) + " M" + std::to_string(i + 1) + "\n";
  EXPECT_EQ(Error(chain + "v = M0;"), "lib.txt:1001:5: macros expand inside each other more than 200 levels deep");
}
