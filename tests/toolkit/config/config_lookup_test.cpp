// How the tree answers lookups: through bases, past deleted names, in any
// case, within a limit; and what a failed read leaves.
#include <gtest/gtest.h>

#include "config/config_test_helpers.h"
#include "status.h"

TEST(ConfigLookup, LookupsFallBackToTheNearestBaseUnlessANameWasDeleted) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader,
                      "class Root { a = 1; b = 1; class Sub { s = 1; }; class Gone {}; };\n"
                      "class Mid: Root { b = 2; delete Gone; };\n"
                      "class Leaf: Mid { c = 3; class Sub: Sub { t = 2; }; };\n"
                      "class Outer { class Root: Root { a = 5; }; };\n"
                      "class Cut: Leaf { delete Sub; };\n"
                      "x = 1; class Dropped { y = 1; }; class Kept: Dropped {}; delete Dropped;\n"),
            0)
      << reader.ErrorString(1);
  rap_entry *root = reader.rap_get_class("Root"), *leaf = reader.rap_get_class("Leaf");
  EXPECT_STREQ(leaf->rpe_get_entry("b", 1000)->value.Get(), "2") << "nearest base first";
  EXPECT_STREQ(leaf->rpe_get_entry("a", 1000)->value.Get(), "1");
  EXPECT_EQ(leaf->rpe_get_class("Sub")->rpe_get_base(), root->rpe_get_class("Sub")) << "the base's Sub";
  EXPECT_STREQ(leaf->rpe_get_class("Sub")->rpe_get_entry("s", 1000)->value.Get(), "1");
  EXPECT_EQ(leaf->rpe_get_class("Gone"), nullptr);
  EXPECT_TRUE(reader.rap_get_class("Mid")->rpe_deletes("gone"));
  EXPECT_NE(root->rpe_get_class("Gone"), nullptr) << "the base keeps it";
  EXPECT_EQ(reader.rap_get_class("Outer")->rpe_get_class("Root")->rpe_get_base(), root);
  EXPECT_STREQ(reader.rap_get_class("Outer")->rpe_get_class("Root")->rpe_get_entry("b", 1000)->value.Get(), "1");
  EXPECT_EQ(reader.rap_get_class("Cut")->rpe_get_class("Sub"), nullptr);
  EXPECT_EQ(reader.rap_get_class("Cut")->rpe_get_entry("Sub", 1000), nullptr);
  EXPECT_EQ(leaf->rpe_get_class("Sub")->rpe_where(), "lib.txt:3:32");
  EXPECT_EQ(reader.rap_get_class("x"), nullptr) << "a property is no class";
  EXPECT_EQ(reader.rap_get_class("Dropped"), nullptr);
  EXPECT_EQ(TreeText(reader.rap_get_class("Kept")->rpe_get_base()), "y=1") << "a deleted base stays readable";
}

TEST(ConfigLookup, LookupsIgnoreCaseAndHonourTheLimit) {
  Tovisk reader;
  std::string text = "class Big {\n";
  for (int i = 0; i < 1500; ++i) text += "  class C" + std::to_string(i) + " { n = " + std::to_string(i) + "; };\n";
  text += "  last = 1;\n};\n";
  ASSERT_EQ(ParseText(reader, text), 0) << reader.ErrorString(1);
  rap_entry* big = reader.rap_get_class("big");
  ASSERT_NE(big, nullptr);
  EXPECT_STREQ(big->rpe_get_class("c1234")->rpe_get_entry("N", 1000)->value.Get(), "1234");
  EXPECT_NE(big->rpe_get_entry("C999", 1000), nullptr);
  EXPECT_EQ(big->rpe_get_entry("C1000", 1000), nullptr) << "the 1001st child is past the limit";
  EXPECT_NE(big->rpe_get_entry("C1000", 1001), nullptr);
  EXPECT_NE(big->rpe_get_entry("last", 0), nullptr) << "no limit below 1";
  EXPECT_EQ(big->rpe_get_entry("C1", 1), nullptr) << "a limit of 1 looks at one child";
  TreeText(big);  // finds each of the 1501 again, through the index
}

TEST(ConfigLookup, AFailedReadLeavesNoTreeAndANewReadReplacesTheOld) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader, "class A {};"), 0);
  EXPECT_EQ(ParseText(reader, "class A {"), status::kConfigSyntax);
  EXPECT_EQ(reader.rap_get_root(), nullptr);
  EXPECT_EQ(reader.WarningCount(), 0u);
  EXPECT_STREQ(reader.ErrorString(status::kConfigInclude), "an #include of the config text cannot be resolved");
  EXPECT_STREQ(reader.ErrorString(99), "config reader error 99");
  ASSERT_EQ(ParseText(reader, "class B {};"), 0);
  EXPECT_EQ(TreeText(reader), "B{}");
  EXPECT_STREQ(reader.ErrorString(0), "no error");
}
