// The class syntax: classes, properties, arrays, values and how the tree
// answers lookups.
#include <gtest/gtest.h>

#include "config/config_test_helpers.h"
#include "status.h"

using Names = std::vector<std::string>;

TEST(ConfigSyntax, ClassesPropertiesAndArraysBuildTheTreeInFileOrder) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader,
                      "top = 1;\n"
                      "class Outer {\n"
                      "  a = \"x\";\n"
                      "  class Inner { b = 2; };\n"
                      "  list[] = {1, 2.5, \"three\"};\n"
                      "  class Second {};\n"
                      "};\n"),
            0)
      << reader.ErrorString(1);
  EXPECT_EQ(ChildNames(reader.rap_get_root()), (Names{"top", "Outer"}));
  rap_entry* outer = reader.rap_get_class("Outer");
  ASSERT_NE(outer, nullptr);
  EXPECT_EQ(ChildNames(outer), (Names{"a", "Inner", "list", "Second"}));
  EXPECT_EQ(outer->get_count(), 4);

  rap_entry* first = outer->rpe_get_class(nullptr);
  ASSERT_NE(first, nullptr);
  EXPECT_STREQ(first->name.Get(), "Inner");
  ASSERT_NE(first->rpe_get_next_class(), nullptr);
  EXPECT_STREQ(first->rpe_get_next_class()->name.Get(), "Second");
  EXPECT_EQ(first->rpe_get_next_class()->rpe_get_next_class(), nullptr);

  rap_entry* list = outer->rpe_get_entry("list", 1000);
  ASSERT_NE(list, nullptr);
  EXPECT_TRUE(list->IsArray());
  EXPECT_EQ(list->get_count(), 3);
  EXPECT_EQ(ArrayText(list), "{1,2.5,three}");
  EXPECT_EQ(reader.rap_get_class("top"), nullptr) << "a property is no class";
  EXPECT_EQ(reader.rap_get_class("Missing"), nullptr);
}

TEST(ConfigSyntax, NestedArraysTrailingCommasAndEmptyArrays) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader, "a[] = { {1,2}, {3}, {}, 4, };\nb[]={};\nc[]={{{5}}};\n"), 0)
      << reader.ErrorString(1);
  EXPECT_EQ(ValueAt(reader, "", "a"), "{{1,2},{3},{},4}");
  rap_entry* a = reader.rap_get_root()->rpe_get_entry("a", 1000);
  EXPECT_EQ(a->get_count(), 4);
  EXPECT_EQ(a->rpe_get_entry(nullptr, 1000)->get_count(), 2);
  EXPECT_EQ(ValueAt(reader, "", "b"), "{}");
  EXPECT_EQ(ValueAt(reader, "", "c"), "{{{5}}}");
}

TEST(ConfigSyntax, ValueTexts) {
  struct Case {
    const char* written;
    const char* kept;
  };
  const Case cases[] = {
      {"\"plain\"", "plain"},
      {"\"say \"\"hi\"\"\"", "say \"hi\""},
      {"\"\"", ""},
      {"\"data\\bighouse2.p3d\"", "data\\bighouse2.p3d"},  // a backslash is no escape
      {"42", "42"},
      {"-7", "-7"},
      {"+7", "7"},
      {"007", "7"},
      {"0x0000FF", "255"},
      {"0XfF", "255"},
      {"0x7FFFFFFF", "2147483647"},
      {"0x80000000", "-2147483648"},
      {"0xFFFFFFFF", "-1"},
      {"4294967295", "-1"},
      {"-2147483648", "-2147483648"},
      {"-0x10", "-16"},
      {"0x100000000", "0x100000000"},  // more than 32 bits: kept as written
      {"99999999999", "99999999999"},
      {"-99999999999", "-99999999999"},
      {"1.5", "1.5"},
      {"-2e-3", "-2e-3"},
      {".5", ".5"},
      {"1e+10", "1e+10"},
      {"- 1.25", "-1.25"},
      {"ARTIFICIAL", "ARTIFICIAL"},  // an unknown word is kept as its text
      {"3dModel", "3dModel"},
  };
  for (const Case& c : cases) {
    Tovisk reader;
    ASSERT_EQ(ParseText(reader, std::string("v = ") + c.written + ";"), 0) << c.written << ": " << reader.ErrorString(1);
    EXPECT_EQ(ValueAt(reader, "", "v"), c.kept) << c.written;
  }
}

TEST(ConfigSyntax, CommentsLineEndsAndEightBitText) {
  Tovisk reader;
  std::string text =
      "// banner line\r\n"
      "/* a block\r\n   comment */ class A // trailing\r\n"
      "{\r\n"
      "  s = \"caf\xe9 // not a comment /* nor this */\";\r\n"
      "  t = 1; /* between */ u = 2;\r\n"
      "};\r\n";
  ASSERT_EQ(ParseText(reader, text), 0) << reader.ErrorString(1);
  EXPECT_EQ(ValueAt(reader, "A", "s"), "caf\xe9 // not a comment /* nor this */");
  EXPECT_EQ(ValueAt(reader, "A", "u"), "2");
  ASSERT_EQ(ParseText(reader, "\xEF\xBB\xBF" "a = 1;"), 0) << "a byte-order mark is skipped";
  EXPECT_EQ(ValueAt(reader, "", "a"), "1");
}

TEST(ConfigSyntax, ClassNamesMadeFromModelNamesReadAsOneName) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader,
                      "class ObjectTemplate {\n"
                      " class Object3_house(1).old&new {};\n"
                      " class Object4_\xe9t\xe9 {};\n"
                      " class AObject_(0 {};\n"
                      "};\n"),
            0)
      << reader.ErrorString(1);
  EXPECT_EQ(ChildNames(reader.rap_get_class("ObjectTemplate")),
            (Names{"Object3_house(1).old&new", "Object4_\xe9t\xe9", "AObject_(0"}));
}

TEST(ConfigSyntax, RedefinitionRules) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader,
                      "a = 1; b[] = {1}; a = 2; b[] = {2, 3};\n"
                      "class Late; class Other {}; class Late { x = 1; };\n"
                      "c[] += {9};\n"
                      ";;\n"),
            0)
      << reader.ErrorString(1);
  EXPECT_EQ(ChildNames(reader.rap_get_root()), (Names{"a", "b", "Late", "Other", "c"}));
  EXPECT_EQ(ValueAt(reader, "", "a"), "2");
  EXPECT_EQ(ValueAt(reader, "", "b"), "{2,3}");
  EXPECT_EQ(ValueAt(reader, "Late", "x"), "1") << "the body fills the declared class in its place";
  EXPECT_FALSE(reader.rap_get_class("Late")->IsDeclaredOnly());
  EXPECT_EQ(ValueAt(reader, "", "c"), "{9}") << "+= on a new array defines it";

  ASSERT_EQ(ParseText(reader, "class OnlyDeclared;"), 0);
  ASSERT_NE(reader.rap_get_class("OnlyDeclared"), nullptr);
  EXPECT_TRUE(reader.rap_get_class("OnlyDeclared")->IsDeclaredOnly());
}

TEST(ConfigSyntax, ArrayAppendExtendsOwnOrInheritedArray) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader,
                      "class Base { list[] = {1, 2}; };\n"
                      "class Derived: Base { list[] += {3}; };\n"
                      "class Own { list[] = {1}; list[] += {{2}, 3}; };\n"),
            0)
      << reader.ErrorString(1);
  EXPECT_EQ(ValueAt(reader, "Derived", "list"), "{1,2,3}");
  EXPECT_EQ(ValueAt(reader, "Base", "list"), "{1,2}") << "the base keeps its own elements";
  EXPECT_EQ(ValueAt(reader, "Own", "list"), "{1,{2},3}");
}

TEST(ConfigSyntax, InheritanceLookupFallsBackToTheBaseButWalksOwnEntriesOnly) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader,
                      "class Root { a = 1; b = 1; class Sub { s = 1; }; };\n"
                      "class Mid: Root { b = 2; };\n"
                      "class Leaf: Mid { c = 3; };\n"
                      "class Outer { class Root: Root { a = 5; }; };\n"),
            0)
      << reader.ErrorString(1);
  rap_entry* leaf = reader.rap_get_class("Leaf");
  ASSERT_NE(leaf, nullptr);
  ASSERT_NE(leaf->rpe_get_base(), nullptr);
  EXPECT_STREQ(leaf->rpe_get_base()->name.Get(), "Mid");
  EXPECT_STREQ(leaf->rpe_get_entry("b", 1000)->value.Get(), "2") << "nearest base first";
  EXPECT_STREQ(leaf->rpe_get_entry("a", 1000)->value.Get(), "1");
  ASSERT_NE(leaf->rpe_get_class("Sub"), nullptr);
  EXPECT_EQ(ChildNames(leaf), (Names{"c"}));
  EXPECT_EQ(leaf->rpe_get_class(nullptr), nullptr);

  rap_entry* inner = reader.rap_get_class("Outer")->rpe_get_class("Root");
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(inner->rpe_get_base(), reader.rap_get_class("Root")) << "'class Root: Root' names the outer Root";
  EXPECT_STREQ(inner->rpe_get_entry("b", 1000)->value.Get(), "1");
}

TEST(ConfigSyntax, DeleteRemovesAClassOfTheEnclosingClass) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader,
                      "class A { class X {}; class Y {}; v = 1; delete X; delete Nothing; };\n"
                      "class B: A {};\n"
                      "delete A;\n"),
            0)
      << reader.ErrorString(1);
  EXPECT_EQ(reader.rap_get_class("A"), nullptr);
  rap_entry* b = reader.rap_get_class("B");
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(ChildNames(b->rpe_get_base()), (Names{"Y", "v"})) << "a deleted base stays readable";
}

TEST(ConfigSyntax, LookupsIgnoreCaseAndHonourTheLimit) {
  Tovisk reader;
  std::string text = "class Big {\n";
  for (int i = 0; i < 1500; ++i) text += "  class C" + std::to_string(i) + " { n = " + std::to_string(i) + "; };\n";
  text += "  last = 1;\n};\n";
  ASSERT_EQ(ParseText(reader, text), 0) << reader.ErrorString(1);
  rap_entry* big = reader.rap_get_class("big");
  ASSERT_NE(big, nullptr);
  EXPECT_EQ(big->get_count(), 1501);
  EXPECT_STREQ(big->rpe_get_class("c1234")->rpe_get_entry("N", 1000)->value.Get(), "1234");
  EXPECT_NE(big->rpe_get_entry("C999", 1000), nullptr);
  EXPECT_EQ(big->rpe_get_entry("C1000", 1000), nullptr) << "the 1001st child is past the limit";
  EXPECT_NE(big->rpe_get_entry("C1000", 1001), nullptr);
  EXPECT_NE(big->rpe_get_entry("last", 0), nullptr) << "no limit below 1";
}

TEST(ConfigSyntax, AFailedReadLeavesNoTreeAndANewReadReplacesTheOld) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader, "class A {};"), 0);
  ASSERT_NE(reader.rap_get_class("A"), nullptr);
  EXPECT_EQ(ParseText(reader, "class A {"), status::kConfigSyntax);
  EXPECT_EQ(reader.rap_get_class("A"), nullptr);
  EXPECT_EQ(reader.rap_get_root(), nullptr);
  ASSERT_EQ(ParseText(reader, "class B {};"), 0);
  EXPECT_EQ(reader.rap_get_class("A"), nullptr);
  EXPECT_NE(reader.rap_get_class("B"), nullptr);
  EXPECT_STREQ(reader.ErrorString(0), "no error");
}
