// Inputs that once broke a reader, kept under regressions/<reader>/ (most were
// found by the fuzz targets in fuzz/). Every kept input must fail cleanly: a
// reader status, exactly one message, nothing left loaded; the named cases
// below also check what the message says.
#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

#include "message_capture.h"
#include "morvik.h"
#include "status.h"
#include "temp_dir.h"
#include "vorlan.h"

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
