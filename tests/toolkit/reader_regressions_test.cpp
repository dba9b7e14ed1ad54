// Inputs that once broke a reader, kept under regressions/<reader>/ (most were
// found by the fuzz targets in fuzz/). Every kept input must fail cleanly: a
// reader status, exactly one message, nothing left loaded; the named cases
// below also check what the message says.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>

#include "config/config_test_helpers.h"
#include "message_capture.h"
#include "world/morvik.h"
#include "status.h"
#include "temp_dir.h"
#include "project/vorlan.h"

namespace {

namespace fs = std::filesystem;

const fs::path kRegressions = VORLAN_REGRESSIONS;

std::vector<fs::path> keptInputs(const char* reader) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(kRegressions / reader)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

struct Outcome {
  int status;
  std::string message;
  int calls;
  bool loaded;
};

// Opens the bytes from a buffer of exactly their size, like the fuzz target.
Outcome openProject(const std::vector<unsigned char>& bytes) {
  static const unsigned char none = 0;
  Vorlan project;
  MessageCapture::reset();
  int s = project.pew_Open("kept.pew", 0, MessageCapture::sink, bytes.empty() ? &none : bytes.data(), bytes.size());
  return {s, MessageCapture::text, MessageCapture::calls, project.IsLoaded()};
}

Outcome openProjectFile(const std::string& name) {
  Vorlan project;
  MessageCapture::reset();
  int s = project.pew_Open(name.c_str(), 0, MessageCapture::sink, nullptr, 0);
  return {s, MessageCapture::text, MessageCapture::calls, project.IsLoaded()};
}

}  // namespace

TEST(ReaderRegressions, EveryKeptProjectFailsCleanlyFromMemoryAndFromDisk) {
  std::vector<fs::path> files = keptInputs("pew");
  ASSERT_FALSE(files.empty());
  for (const fs::path& file : files) {
    SCOPED_TRACE(file.filename().string());
    Outcome memory = openProject(readFileBytes(file.string()));
    EXPECT_TRUE(memory.status == status::kNotProject || memory.status == status::kUnsupported ||
                memory.status == status::kDamaged)
        << memory.status << ": " << memory.message;
    EXPECT_EQ(memory.calls, 1);
    EXPECT_FALSE(memory.loaded);

    Outcome disk = openProjectFile(file.string());
    EXPECT_EQ(disk.status, memory.status);
    EXPECT_EQ(disk.calls, 1);
    EXPECT_FALSE(disk.loaded);
  }
}

// Columns x rows x 4.25 bytes once wrapped past 2^64 to 24 bytes, which fit in
// what the file had left, and the reader then tried to make a grid of 4.3e18
// cells.
TEST(ReaderRegressions, GridWhoseSizeWrapsPast64BitsIsDamaged) {
  Outcome r = openProject(readFileBytes((kRegressions / "pew" / "grid-size-wraps.pew").string()));
  EXPECT_EQ(r.status, status::kDamaged);
  EXPECT_NE(r.message.find("at byte 72, in the elevation grid: a grid of 1717908277 x 2526567005 needs "
                           "18446744073709551640 bytes, only 32 left"),
            std::string::npos)
      << r.message;
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

  // Under the bound the copies are made as before.
  ASSERT_EQ(ParseText(reader, text(100, 50)), status::kOk);
  rap_entry* last = reader.rap_get_class("D49");
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(last->rpe_get_entry("big", 0)->get_count(), 100);
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
  auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(ParseText(reader, text), status::kOk);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_EQ(ChildNames(reader.rap_get_class("C")), (std::vector<std::string>{"a0"}));
}

// Unlinking keeps the list whole from either end and in the middle, in small
// classes and in large (indexed) ones, and a deleted name can come back.
TEST(ReaderRegressions, DeletedClassesLeaveTheRestInOrder) {
  for (int size : {3, 40}) {
    std::string text = "class C {\n";
    std::vector<std::string> expected;
    for (int i = 0; i < size; ++i) text += "class k" + std::to_string(i) + " {};\n";
    text += "delete k0; delete k" + std::to_string(size - 1) + "; delete k1;\nclass k0 { again = 1; };\n};\n";
    for (int i = 2; i < size - 1; ++i) expected.push_back("k" + std::to_string(i));
    expected.push_back("k0");
    Tovisk reader;
    ASSERT_EQ(ParseText(reader, text), status::kOk) << size;
    rap_entry* c = reader.rap_get_class("C");
    EXPECT_EQ(ChildNames(c), expected) << size;
    EXPECT_EQ(c->get_count(), static_cast<int>(expected.size()));
    EXPECT_EQ(ValueAt(reader, "C/k0", "again"), "1");
    EXPECT_EQ(c->rpe_get_class("k1"), nullptr);
  }
}
