// The preprocessor: macros, conditionals and line continuation, as seen in
// the values of the parsed tree.
#include <gtest/gtest.h>

#include "config/config_test_helpers.h"
#include "status.h"

namespace {

// Reads the text and returns the value text of the top-level entry `v`.
std::string ValueOf(const std::string& text) {
  Tovisk reader;
  int status = ParseText(reader, text);
  if (status != 0) return std::string("error: ") + reader.ErrorString(status);
  return ValueAt(reader, "", "v");
}

}  // namespace

TEST(ConfigPreprocessor, ObjectLikeMacrosExpandInValuesNamesAndArrays) {
  EXPECT_EQ(ValueOf("#define RGB_RED 0x0000FF\nv = RGB_RED;"), "255");
  EXPECT_EQ(ValueOf("#define RGB_DEFAULT -1\nv = RGB_DEFAULT;"), "-1");
  EXPECT_EQ(ValueOf("#define NAME \"house\"\nv = NAME;"), "house");
  EXPECT_EQ(ValueOf("#define PAIR 1, 2\nv[] = {PAIR, 3};"), "{1,2,3}");
  EXPECT_EQ(ValueOf("#define KEY v\nKEY = 4;"), "4");
  EXPECT_EQ(ValueOf("#define ONE 1\n#define ALIAS ONE\nv = ALIAS;"), "1") << "rescanned";
  EXPECT_EQ(ValueOf("#define LATER NOW\n#define NOW 7\nv = LATER;"), "7") << "expanded when used";
  EXPECT_EQ(ValueOf("#define X 1\n#define X 2\nv = X;"), "2") << "a redefinition replaces";
  EXPECT_EQ(ValueOf("#define EMPTY\nv = EMPTY 5 EMPTY;"), "5");
  EXPECT_EQ(ValueOf("#define lower 1\nv = LOWER;"), "LOWER") << "macro names are case-sensitive";
  EXPECT_EQ(ValueOf("  #  define SPACED 3\nv = SPACED;"), "3");
  EXPECT_EQ(ValueOf("#\nv = 1;"), "1") << "a lone '#' does nothing";
}

TEST(ConfigPreprocessor, FunctionLikeMacros) {
  EXPECT_EQ(ValueOf("#define POS(x, y) {x, y}\nv[] = POS(1, 2);"), "{1,2}");
  EXPECT_EQ(ValueOf("#define ZERO() 0\nv = ZERO();"), "0");
  EXPECT_EQ(ValueOf("#define SECOND(a, b) b\nv = SECOND((1, 2), 3);"), "3") << "parentheses keep commas";
  EXPECT_EQ(ValueOf("#define SWAP(a, b) {b, a}\nv[] = SWAP(1, {2});"), "{{2},1}");
  EXPECT_EQ(ValueOf("#define ID(x) x\nv[] = {ID(\n 1\n)};"), "{1}") << "arguments may span lines";
  EXPECT_EQ(ValueOf("#define ID(x) x\nv = ID;"), "ID") << "without '(' the name stays a word";
  EXPECT_EQ(ValueOf("#define NOTFN (x) x\nv[] = {NOTFN};"), "error: lib.txt:2:8: expected a value for array 'v', found '('")
      << "a blank before '(' makes an object-like macro";
  EXPECT_EQ(ValueOf("#define ID(x) x\n#define NAME ID\nv = NAME(8);"), "8")
      << "a name from an expansion takes its arguments from the text after it";
  EXPECT_EQ(ValueOf("#define ID(x) x\nv = ID(ID(ID(9)));"), "9");
}

TEST(ConfigPreprocessor, StringizingAndPasting) {
  const std::string str = "#define STR(x) #x\n#define XSTR(x) STR(x)\n#define RGB_RED 0x0000FF\n";
  EXPECT_EQ(ValueOf(str + "v = STR(  hello   world  );"), "hello world");
  EXPECT_EQ(ValueOf(str + "v = STR(say \"hi\");"), "say \"hi\"") << "quotes survive the round";
  EXPECT_EQ(ValueOf(str + "v = STR();"), "");
  EXPECT_EQ(ValueOf(str + "v = STR(RGB_RED);"), "RGB_RED") << "'#' takes the argument as written";
  EXPECT_EQ(ValueOf(str + "v = XSTR(RGB_RED);"), "0x0000FF") << "other uses expand it first";

  const std::string cat = "#define CAT(a, b) a##b\n#define RGB_RED 0x0000FF\n";
  EXPECT_EQ(ValueOf(cat + "v = CAT(RGB_, RED);"), "255") << "a pasted name is expanded";
  EXPECT_EQ(ValueOf(cat + "v = CAT(12, 34);"), "1234");
  EXPECT_EQ(ValueOf(cat + "v = CAT(, x);"), "x");
  EXPECT_EQ(ValueOf(cat + "v = CAT(y, );"), "y");
  EXPECT_EQ(ValueOf("#define TAG(n) Object ## n ## _x\nv = TAG(7);"), "Object7_x");
  EXPECT_EQ(ValueOf("#define Q(n) n ## #n\nv[] = {Q(a)};"), "error: lib.txt:2:8: pasting 'a' and string \"a\" "
                                                            "with '##' does not give one valid token");
}

TEST(ConfigPreprocessor, AMacroIsNotExpandedInsideItsOwnExpansion) {
  EXPECT_EQ(ValueOf("#define A B\n#define B A\nv = A;"), "A");
  EXPECT_EQ(ValueOf("#define SELF {SELF, 1}\nv[] = SELF;"), "{SELF,1}");
  EXPECT_EQ(ValueOf("#define STR(x) #x\n#define XSTR(x) STR(x)\n#define W(x) x W(x)\nv = XSTR(W(1));"),
            "1 W(1)");
  EXPECT_EQ(ValueOf("#define ID(x) x\n#define LOOP ID(LOOP)\nv = LOOP;"), "LOOP");
}

TEST(ConfigPreprocessor, UndefRemovesAMacro) {
  EXPECT_EQ(ValueOf("#define X 1\n#undef X\nv = X;"), "X");
  EXPECT_EQ(ValueOf("#undef NEVER_DEFINED\nv = 2;"), "2");
}

TEST(ConfigPreprocessor, ConditionalsChooseGroupsAndNest) {
  EXPECT_EQ(ValueOf("#define ON\n#ifdef ON\nv = 1;\n#else\nv = 2;\n#endif"), "1");
  EXPECT_EQ(ValueOf("#ifdef OFF\nv = 1;\n#else\nv = 2;\n#endif"), "2");
  EXPECT_EQ(ValueOf("#ifndef OFF\nv = 1;\n#endif"), "1");
  EXPECT_EQ(ValueOf("#define ON\n#ifndef ON\nv = 1;\n#else\nv = 2;\n#endif"), "2");
  EXPECT_EQ(ValueOf("#define A\n#ifdef A\n#ifdef B\nv = 1;\n#else\nv = 2;\n#endif\n#else\nv = 3;\n#endif"), "2");
  EXPECT_EQ(ValueOf("#ifdef A\n#ifdef B\nv = 1;\n#else\nv = 2;\n#endif\n#else\nv = 3;\n#endif"), "3")
      << "an #else of a nested group that is left out does not count";
  EXPECT_EQ(ValueOf("#ifdef OFF\n#define V 1\n#else\n#define V 2\n#endif\nv = V;"), "2");
  EXPECT_EQ(ValueOf("#define X\n#ifdef X // note\nv = 1; /* c */\n#endif /* end */"), "1");
}

TEST(ConfigPreprocessor, LeftOutGroupsMayHoldAnything) {
  EXPECT_EQ(ValueOf("#ifdef OFF\n#pragma whatever\n#if 0\nbroken = \"no end\nclass {\n#endif\nv = 1;"), "1");
  EXPECT_EQ(ValueOf("#ifdef OFF\n/* a comment\n#endif\n hides this */\n#else\nv = 2;\n#endif"), "2")
      << "a block comment hides what looks like a directive";
  EXPECT_EQ(ValueOf("#ifdef OFF\ns = \"#endif\"; x = 1; // #endif\n#endif\nv = 3;"), "3");
}

TEST(ConfigPreprocessor, LineContinuationJoinsLines) {
  EXPECT_EQ(ValueOf("#define LIST 1, \\\n  2, \\\r\n  3\nv[] = {LIST};"), "{1,2,3}");
  EXPECT_EQ(ValueOf("v = \"ab\\\ncd\";"), "abcd");
  EXPECT_EQ(ValueOf("v = \"a\\b\";"), "a\\b") << "a backslash elsewhere stays";
  EXPECT_EQ(ValueOf("#def\\\nine X 5\nv = X;"), "5");
}

TEST(ConfigPreprocessor, MacrosSeeTheWholeTextInOrder) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader,
                      "#define NATURAL 1\n#define ARTIFICIAL 2\n"
                      "#define TEMPLATE(n, t) class n { ulObjectType = t; };\n"
                      "class ObjectTemplate {\n"
                      "  TEMPLATE(Tree, NATURAL)\n"
                      "  TEMPLATE(House, ARTIFICIAL)\n"
                      "};\n"),
            0)
      << reader.ErrorString(1);
  EXPECT_EQ(ValueAt(reader, "ObjectTemplate/Tree", "ulObjectType"), "1");
  EXPECT_EQ(ValueAt(reader, "ObjectTemplate/House", "ulObjectType"), "2");
}
