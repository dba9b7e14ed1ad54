// Inputs that once broke a reader, kept under regressions/<reader>/ (most were
// found by the fuzz targets in fuzz/). Every kept input must fail cleanly: a
// reader status, exactly one message, nothing left loaded; the named cases
// below also check what the message says.
#include <filesystem>
#include <gtest/gtest.h>

#include "config/config_test_helpers.h"
#include "reader_outcome.h"
#include "temp_dir.h"

namespace fs = std::filesystem;

TEST(ReaderRegressions, EveryKeptProjectFailsCleanlyFromMemoryAndFromDisk) {
  int kept = 0;
  for (const auto& entry : fs::directory_iterator(fs::path(VORLAN_REGRESSIONS) / "pew")) {
    const fs::path& file = entry.path();
    ++kept;
    SCOPED_TRACE(file.filename().string());
    Outcome memory = openProject(readFileBytes(file.string()));
    EXPECT_TRUE(memory.status == status::kNotProject || memory.status == status::kUnsupported ||
                memory.status == status::kDamaged)
        << memory.status << ": " << memory.message;
    EXPECT_EQ(memory.calls, 1);
    EXPECT_FALSE(memory.kept);
    Vorlan project;
    MessageCapture::reset();
    EXPECT_EQ(project.pew_Open(file.c_str(), 0, MessageCapture::sink, nullptr, 0), memory.status);
    EXPECT_EQ(MessageCapture::calls, 1);
    EXPECT_FALSE(project.IsLoaded());
  }
  EXPECT_GT(kept, 0);
}

// Columns x rows x 4.25 bytes once wrapped past 2^64 to 24 bytes, which fit in
// what the file had left, and the reader then tried to make a grid of 4.3e18
// cells.
TEST(ReaderRegressions, GridWhoseSizeWrapsPast64BitsIsDamaged) {
  Outcome r = openProject(readFileBytes(std::string(VORLAN_REGRESSIONS) + "/pew/grid-size-wraps.pew"));
  EXPECT_EQ(r.status, status::kDamaged);
  EXPECT_HAS(r.message, "at byte 72, in the elevation grid: a grid of 1717908277 x 2526567005 needs "
                        "18446744073709551640 bytes, only 32 left");
}

// "big[] += {}" in a class whose base has big[] copies the base's elements.
// Two thousand such classes over an array of twenty thousand elements (a
// text of 107 KB) once made forty million entries and took gigabytes; the
// entries of a tree are now bounded, copies included.
TEST(ReaderRegressions, CopiesOfInheritedArraysCountAgainstTheEntryBound) {
  auto text = [](int elements, int classes) {
    std::string t = "class B { big[] = {";
    for (int i = 0; i < elements; ++i) t += "1,";
    t += "}; };\n";
    for (int i = 0; i < classes; ++i) t += "class D" + std::to_string(i) + " : B { big[] += {}; };\n";
    return t;
  };
  ConfigLimits limits;
  limits.maxEntries = 100000;
  Tovisk reader;
  reader.SetLimits(limits);
  ASSERT_EQ(ParseText(reader, text(20000, 2000)), status::kConfigSyntax);
  EXPECT_STREQ(reader.ErrorString(status::kConfigSyntax),
               "lib.txt:5:16: the text makes more than 100000 entries (classes, properties, arrays and elements, "
               "copies of inherited arrays included)");
  EXPECT_EQ(reader.rap_get_root(), nullptr);
  ASSERT_EQ(ParseText(reader, text(100, 50)), status::kOk) << "under the bound the copies are made";
  EXPECT_EQ(reader.rap_get_class("D49")->rpe_get_entry("big", 0)->get_count(), 100);
}

// Deleting the classes of a large class from the last to the first once
// walked the siblings for every "delete": minutes for a few megabytes.
TEST(ReaderRegressions, DeletingClassesTakesConstantTimeEach) {
  const int n = 100000;
  std::string text = "class C {\n";
  for (int i = 0; i < n; ++i) text += "class a" + std::to_string(i) + " {};\n";
  for (int i = n - 1; i >= 1; --i) text += "delete a" + std::to_string(i) + ";\n";
  text += "};\n";
  Tovisk reader;
  ASSERT_EQ(ParseText(reader, text), status::kOk);  // minutes, when each delete walks the siblings
  EXPECT_EQ(TreeText(reader), "C{a0{}}");
}

// Unlinking keeps the list whole from either end and in the middle, in small
// classes and in large (indexed) ones, and a deleted name can come back.
TEST(ReaderRegressions, DeletedClassesLeaveTheRestInOrder) {
  for (int size : {3, 40}) {
    std::string text = "class C {\n", expected = "C{";
    for (int i = 0; i < size; ++i) text += "class k" + std::to_string(i) + " {};\n";
    text += "delete k0; delete k" + std::to_string(size - 1) + "; delete k1;\nclass k0 { again = 1; };\n};\n";
    for (int i = 2; i < size - 1; ++i) expected += "k" + std::to_string(i) + "{} ";
    Tovisk reader;
    ASSERT_EQ(ParseText(reader, text), status::kOk) << size;
    EXPECT_EQ(TreeText(reader), expected + "k0{again=1}}") << size;
    EXPECT_EQ(reader.rap_get_class("C")->rpe_get_class("k1"), nullptr);
  }
}
