// Texts the reader must refuse: every refusal has a status and a message
// naming the file, the line and the column and what was expected.
#include <gtest/gtest.h>

#include <filesystem>

#include "config/config_test_helpers.h"
#include "status.h"
#include "temp_dir.h"

namespace {

struct Outcome {
  int status;
  std::string message;
};

Outcome Read(const std::string& text, const ConfigLimits& limits = ConfigLimits()) {
  Tovisk reader;
  reader.SetLimits(limits);
  int status = ParseText(reader, text);
  return {status, status ? reader.ErrorString(status) : ""};
}

std::string SyntaxError(const std::string& text) {
  Outcome outcome = Read(text);
  EXPECT_EQ(outcome.status, status::kConfigSyntax) << text;
  return outcome.message;
}

}  // namespace

TEST(ConfigErrors, UnterminatedStringsCommentsAndClasses) {
  EXPECT_EQ(SyntaxError("a = 1;\nb = \"abc;\nc = 2;\n"),
            "lib.txt:2:5: unterminated string: no closing '\"' before the end of the line");
  EXPECT_EQ(SyntaxError("a = \"abc"), "lib.txt:1:5: unterminated string: no closing '\"' before the end of the file");
  EXPECT_EQ(SyntaxError("a = \"ab\"\"\n"),
            "lib.txt:1:5: unterminated string: no closing '\"' before the end of the line");
  EXPECT_EQ(SyntaxError("a = 1; /* open\nb = 2;\n"), "lib.txt:1:8: unterminated comment: '/*' has no closing '*/'");
  EXPECT_EQ(SyntaxError("class A {\n  x = 1;\n"),
            "lib.txt:3:1: expected '}' to close class 'A' (opened at lib.txt:1:9), found end of file");
  EXPECT_EQ(SyntaxError("a[] = {1,\n2"), "lib.txt:2:2: expected ',' or '}' in array 'a' (opened at lib.txt:1:7), found end of file");
}

TEST(ConfigErrors, MissingSemicolonsAndMisplacedTokens) {
  EXPECT_EQ(SyntaxError("class ObjectTemplate\n{\n class Object7\n {\n  ulObjectType=2\n };\n};\n"),
            "lib.txt:6:2: expected ';' after property 'ulObjectType', found '}'");
  EXPECT_EQ(SyntaxError("a[] = {1}\nb = 2;"), "lib.txt:2:1: expected ';' after array 'a', found 'b'");
  EXPECT_EQ(SyntaxError("class A {}\nclass B {};"), "lib.txt:2:1: expected ';' after the '}' of class 'A', found 'class'");
  EXPECT_EQ(SyntaxError("class A\nx = 1;"), "lib.txt:2:1: expected '{' or ';' after class 'A', found 'x'");
  EXPECT_EQ(SyntaxError("class {};"), "lib.txt:1:7: expected a class name after 'class', found '{'");
  EXPECT_EQ(SyntaxError("a = ;"), "lib.txt:1:5: expected a value for property 'a', found ';'");
  EXPECT_EQ(SyntaxError("a = 1 2;"), "lib.txt:1:7: expected ';' after property 'a', found '2'");
  EXPECT_EQ(SyntaxError("a = -x;"), "lib.txt:1:6: expected a number after '-' in property 'a', found 'x'");
  EXPECT_EQ(SyntaxError("a[] = {1 2};"), "lib.txt:1:10: expected ',' or '}' in array 'a', found '2'");
  EXPECT_EQ(SyntaxError("a[] = {1,,2};"), "lib.txt:1:10: expected a value for array 'a', found ','");
  EXPECT_EQ(SyntaxError("a[] = 1;"), "lib.txt:1:7: expected '{' to start the elements of array 'a', found '1'");
  EXPECT_EQ(SyntaxError("a[ = {};"), "lib.txt:1:4: expected ']' after 'a[', found '='");
  EXPECT_EQ(SyntaxError("a : 1;"), "lib.txt:1:3: expected '=' or '[]' after 'a', found ':'");
  EXPECT_EQ(SyntaxError("= 1;"), "lib.txt:1:1: expected a class or a property, found '='");
  EXPECT_EQ(SyntaxError("class A { \"x\" };"), "lib.txt:1:11: expected a class or a property or '}', found string \"x\"");
  EXPECT_EQ(SyntaxError("a = 1;\n};"), "lib.txt:2:1: found '}' outside of any class");
  EXPECT_EQ(SyntaxError("delete A"), "lib.txt:1:9: expected ';' after 'delete A', found end of file");
}

TEST(ConfigErrors, PlacesCountOriginalLinesAndColumns) {
  EXPECT_EQ(SyntaxError("a = 1;\r\nb = ;\r\n"), "lib.txt:2:5: expected a value for property 'b', found ';'");
  EXPECT_EQ(SyntaxError("#define X 1, \\\n  2\nv = ;"), "lib.txt:3:5: expected a value for property 'v', found ';'");
  EXPECT_EQ(SyntaxError("s = \"a\\\nb\"; t = ;"), "lib.txt:2:9: expected a value for property 't', found ';'");
  EXPECT_EQ(SyntaxError("\t\tv = ;"), "lib.txt:1:7: expected a value for property 'v', found ';'") << "a tab is one column";
  EXPECT_EQ(SyntaxError("#define BAD {\nclass A {\n  v = BAD;\n};"),
            "lib.txt:3:7: expected a value for property 'v', found '{'")
      << "an error inside an expansion points at the macro's use";
  EXPECT_EQ(SyntaxError("\xEF\xBB\xBFv = ;"), "lib.txt:1:5: expected a value for property 'v', found ';'");
}

TEST(ConfigErrors, ConflictingDefinitions) {
  EXPECT_EQ(SyntaxError("class A {};\nclass A {};"), "lib.txt:2:7: class 'A' is defined twice");
  EXPECT_EQ(SyntaxError("A = 1;\nclass a {};"), "lib.txt:2:7: 'a' is already a property in this class");
  EXPECT_EQ(SyntaxError("class A {};\nA = 1;"), "lib.txt:2:1: 'A' is already a class in this class");
  EXPECT_EQ(SyntaxError("a[] = {};\na = 1;"), "lib.txt:2:1: 'a' is already an array in this class");
  EXPECT_EQ(SyntaxError("a = 1;\na[] += {};"), "lib.txt:2:1: 'a' is already a property in this class");
  EXPECT_EQ(SyntaxError("a = 1;\ndelete a;"), "lib.txt:2:1: 'delete' removes classes, but 'a' is a property");
  EXPECT_EQ(SyntaxError("class B: A {};"), "lib.txt:1:10: base class 'A' of class 'B' is not defined");
  EXPECT_EQ(SyntaxError("class A;\nclass B: A {};\nclass A: B {};"), "lib.txt:3:10: class 'A' cannot derive from itself");
}

TEST(ConfigErrors, DirectiveErrors) {
  EXPECT_EQ(SyntaxError("v = 1;\n#pragma once\n"), "lib.txt:2:1: unknown directive '#pragma'");
  EXPECT_EQ(SyntaxError("#if 0\n#endif\n"), "lib.txt:1:1: unknown directive '#if'");
  EXPECT_EQ(SyntaxError("#1\n"), "lib.txt:1:2: expected a directive name after '#', found '1'");
  EXPECT_EQ(SyntaxError("v = 1;\n#else\n"), "lib.txt:2:1: #else without #ifdef or #ifndef");
  EXPECT_EQ(SyntaxError("v = 1;\n  #endif\n"), "lib.txt:2:3: #endif without #ifdef or #ifndef");
  EXPECT_EQ(SyntaxError("#ifdef X\nv = 1;\n"), "lib.txt:1:1: #ifdef X is not closed: expected #endif before the end of the file");
  EXPECT_EQ(SyntaxError("#define X\n#ifndef X\nv = 1;\n"),
            "lib.txt:2:1: #ifndef X is not closed: expected #endif before the end of the file");
  EXPECT_EQ(SyntaxError("#ifdef X\n#else\n#else\n#endif\n"), "lib.txt:3:1: #else after #else (for #ifdef X at lib.txt:1:1)");
  EXPECT_EQ(SyntaxError("#ifndef X\n#else\n#else\n#endif\n"), "lib.txt:3:1: #else after #else (for #ifndef X at lib.txt:1:1)");
  EXPECT_EQ(SyntaxError("#ifdef\n#endif"), "lib.txt:1:7: expected a macro name after #ifdef, found end of line");
  EXPECT_EQ(SyntaxError("#ifdef X Y\n#endif"), "lib.txt:1:10: expected the end of the line after #ifdef X, found 'Y'");
  EXPECT_EQ(SyntaxError("#ifdef X\n#endif X"), "lib.txt:2:8: expected the end of the line after #endif, found 'X'");
  EXPECT_EQ(SyntaxError("#undef 3"), "lib.txt:1:8: expected a macro name after #undef, found '3'");
  EXPECT_EQ(SyntaxError("#include x.h"), "lib.txt:1:10: expected a file name in double quotes after #include, found 'x'");
}

TEST(ConfigErrors, MacroDefinitionAndUseErrors) {
  EXPECT_EQ(SyntaxError("#define\n"), "lib.txt:1:8: expected a macro name after #define, found end of line");
  EXPECT_EQ(SyntaxError("#define F(a, a) a\n"), "lib.txt:1:14: parameter 'a' of macro 'F' is named twice");
  EXPECT_EQ(SyntaxError("#define F(a b) a\n"), "lib.txt:1:13: expected ',' or ')' after a parameter of macro 'F', found 'b'");
  EXPECT_EQ(SyntaxError("#define F(...) 1\n"), "lib.txt:1:11: expected a parameter name of macro 'F', found '.'");
  EXPECT_EQ(SyntaxError("#define F(a) #b\n"), "lib.txt:1:14: '#' in macro 'F' must be followed by a parameter name");
  EXPECT_EQ(SyntaxError("#define F ## x\n"), "lib.txt:1:11: '##' cannot stand at the start or the end of macro 'F'");
  EXPECT_EQ(SyntaxError("#define F(a) a ##\n"), "lib.txt:1:16: '##' cannot stand at the start or the end of macro 'F'");
  EXPECT_EQ(SyntaxError("#define F(a, b) a\nv = F(1);"), "lib.txt:2:5: macro 'F' takes 2 argument(s), but 1 were given");
  EXPECT_EQ(SyntaxError("#define F() 1\nv = F(2);"), "lib.txt:2:5: macro 'F' takes 0 argument(s), but 1 were given");
  EXPECT_EQ(SyntaxError("#define F(a) a\nv = F(1;\n"), "lib.txt:2:5: unterminated argument list of macro 'F': expected ')'");
  EXPECT_EQ(SyntaxError("#define F(a) a\nv = F(1,\n#define G\n);"),
            "lib.txt:3:1: a directive cannot stand inside the arguments of macro 'F'");
  EXPECT_EQ(SyntaxError("#define CAT(a, b) a##b\nv = CAT(/, *);"),
            "lib.txt:2:5: pasting '/' and '*' with '##' does not give one valid token");
}

TEST(ConfigErrors, MacroExpansionThatWouldExplodeIsStopped) {
  // Each level doubles: 2^40 tokens if nothing stopped it.
  std::string text = "#define M0 x, x\n";
  for (int i = 1; i <= 40; ++i) {
    text += "#define M" + std::to_string(i) + " M" + std::to_string(i - 1) + ", M" + std::to_string(i - 1) + "\n";
  }
  text += "v[] = {M40};\n";
  ConfigLimits small;
  small.maxExpansionTokens = 100000;
  Outcome outcome = Read(text, small);
  EXPECT_EQ(outcome.status, status::kConfigSyntax);
  EXPECT_EQ(outcome.message, "lib.txt:42:8: macro expansion is too large (more than 100000 tokens in all)");


  // Arguments grow inside arguments: bounded by the length of one expansion.
  std::string args = "#define D(x) x x\n#define E(x) D(D(D(D(D(D(D(D(x))))))))\n"
                     "#define S(x) #x\n#define XS(x) S(x)\nv = XS(E(E(E(E(E(y))))));\n";
  ConfigLimits shortLimits;
  shortLimits.maxExpansionLength = 10000;
  outcome = Read(args, shortLimits);
  EXPECT_EQ(outcome.status, status::kConfigSyntax);
  EXPECT_NE(outcome.message.find("macro expansion is too long"), std::string::npos) << outcome.message;
}

TEST(ConfigErrors, DeepNestingIsRefusedWithoutExhaustingTheStack) {
  std::string arrays = "v[] = " + std::string(100000, '{');
  EXPECT_EQ(SyntaxError(arrays), "lib.txt:1:263: classes and arrays are nested more than 256 deep");
  std::string classes;
  for (int i = 0; i < 100000; ++i) classes += "class C" + std::to_string(i) + " {";
  std::string message = SyntaxError(classes);
  EXPECT_NE(message.find("classes and arrays are nested more than 256 deep"), std::string::npos) << message;
  auto nestedCalls = [](int depth) {
    std::string calls = "#define ID(x) x\nv = ";
    for (int i = 0; i < depth; ++i) calls += "ID(";
    calls += '1';
    calls.append(static_cast<std::size_t>(depth), ')');
    return calls + ";";
  };
  EXPECT_EQ(SyntaxError(nestedCalls(1000)), "lib.txt:2:605: macro calls nested more than 200 deep in arguments");
  EXPECT_EQ(SyntaxError(nestedCalls(100000)), "lib.txt:2:14: macro expansion is too long (more than 1048576 tokens)")
      << "the arguments held at once are bounded";
  std::string chain;
  for (int i = 0; i < 1000; ++i) chain += "#define M" + std::to_string(i) + " M" + std::to_string(i + 1) + "\n";
  message = SyntaxError(chain + "v = M0;");
  EXPECT_EQ(message, "lib.txt:1001:5: macros expand inside each other more than 200 levels deep");
}

TEST(ConfigErrors, BinaryInputIsRefused) {
  EXPECT_EQ(SyntaxError(std::string("a = 1;\n\0b = 2;", 14)), "lib.txt:2:1: unexpected byte 0x00: this is not a text file");
  EXPECT_EQ(SyntaxError("s = \"\x01\";"), "lib.txt:1:6: unexpected byte 0x01: this is not a text file");
  std::string garbage;
  std::uint32_t seed = 12345;
  for (int i = 0; i < 4096; ++i) {
    seed = seed * 1103515245u + 12345u;
    garbage += static_cast<char>(seed >> 24);
  }
  Outcome outcome = Read(garbage);
  EXPECT_EQ(outcome.status, status::kConfigSyntax);
  EXPECT_EQ(outcome.message.rfind("lib.txt:", 0), 0u) << outcome.message;
}

TEST(ConfigErrors, FilesThatCannotBeReadOrAreTooLarge) {
  TempDir dir;
  Tovisk reader;
  std::string missing = dir.file("missing.txt");
  EXPECT_EQ(reader.rap_Create(missing.c_str(), 0, nullptr, nullptr, 0, nullptr), status::kCannotOpen);
  EXPECT_EQ(std::string(reader.ErrorString(status::kCannotOpen)), missing + ": cannot read the file: No such file or directory");
  EXPECT_EQ(reader.rap_Create(dir.path().string().c_str(), 0, nullptr, nullptr, 0, nullptr), status::kCannotOpen);
  EXPECT_NE(std::string(reader.ErrorString(status::kCannotOpen)).find("is a folder"), std::string::npos);
  EXPECT_EQ(reader.rap_Create(nullptr, 0, nullptr, nullptr, 0, nullptr), status::kCannotOpen);

  // A sparse file over the default cap: refused before anything is read.
  std::string huge = dir.file("huge.txt");
  writeFileText(huge, "a = 1;");
  std::filesystem::resize_file(huge, (std::uintmax_t{256} << 20) + 1);
  EXPECT_EQ(reader.rap_Create(huge.c_str(), 0, nullptr, nullptr, 0, nullptr), status::kCannotOpen);
  EXPECT_EQ(std::string(reader.ErrorString(status::kCannotOpen)),
            huge + ": cannot read the file: file is too large (more than 268435456 bytes)");

  ConfigLimits small;
  small.maxFileBytes = 100;
  reader.SetLimits(small);
  std::string big = dir.file("big.txt");
  writeFileText(big, std::string(101, ' '));
  EXPECT_EQ(reader.rap_Create(big.c_str(), 0, nullptr, nullptr, 0, nullptr), status::kCannotOpen);
  writeFileText(big, std::string(100, ' '));
  EXPECT_EQ(reader.rap_Create(big.c_str(), 0, nullptr, nullptr, 0, nullptr), 0);
}

TEST(ConfigErrors, ErrorStringForOtherCodes) {
  Tovisk reader;
  EXPECT_EQ(ParseText(reader, "a = ;"), status::kConfigSyntax);
  EXPECT_STREQ(reader.ErrorString(status::kConfigInclude), "an #include of the config text cannot be resolved");
  EXPECT_STREQ(reader.ErrorString(99), "config reader error 99");
  EXPECT_STREQ(reader.ErrorString(status::kConfigSyntax), "lib.txt:1:5: expected a value for property 'a', found ';'");
}
