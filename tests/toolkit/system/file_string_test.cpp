#include "system/file_string.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "case_lines.h"
#include "closed_input.h"
#include "text/cstring8.h"
#include "temp_dir.h"

namespace {

TEST(CString8, FormatGrowsToFitAndNullFormatGivesEmpty) {
  CString8 s;
  std::string big(3000, 'z');
  EXPECT_STREQ(s.Format("%s/%d/%.2f", big.c_str(), -4, 1.5), (big + "/-4/1.50").c_str());
  EXPECT_EQ(s.Length(), big.size() + 8);
  EXPECT_STREQ(s.Format("%c", 'x'), "x");
  EXPECT_STREQ(s.Format("%s", ""), "");
  EXPECT_STREQ(s.Format(nullptr), "");
}

// Each line of file_name_cases.txt is a start text, a step and the text it
// gives, tab-separated. A step of digits is fs_Extract with those parts; "+"
// adds an extension ("!" even over another), "=" replaces it, "-" removes it
// when it is that one ("-" alone: any); "~" compares whole names.
TEST(FileStringA, ExtractExtensionEditingAndComparison) {
  for (const std::string& line : caseLines(VORLAN_TOOLKIT_TESTS "/system/file_name_cases.txt", 30)) {
    std::size_t tab1 = line.find('\t'), tab2 = line.find('\t', tab1 + 1);
    ASSERT_NE(tab2, std::string::npos) << line;
    std::string start = line.substr(0, tab1), step = line.substr(tab1 + 1, tab2 - tab1 - 1);
    const bool extract = std::isdigit(static_cast<unsigned char>(step[0]));
    FileStringA s = extract ? FileStringA() : FileStringA(start.c_str());
    const char *ext = step.c_str() + 1, *got = extract ? s.fs_Extract(std::stoi(step), start.c_str()) : nullptr;
    if (step[0] == '+' || step[0] == '!') s.fs_AddExt(ext, step[0] == '!');
    if (step[0] == '=') s.fs_ReplaceExt(ext);
    if (step[0] == '-') s.fs_RemoveExt(ext);
    if (step[0] == '~') got = s.fs_CompareFilenameExtOnly(ext) ? "same" : "different";
    EXPECT_STREQ(extract || step[0] == '~' ? got : s.Get(), line.substr(tab2 + 1).c_str()) << line;
  }
  FileStringA own("a\\b\\c.d");
  EXPECT_STREQ(own.fs_Extract(4, nullptr), "c");
  EXPECT_STREQ(own.Get(), "c");
  EXPECT_FALSE(own.fs_CompareFilenameExtOnly(nullptr));
  EXPECT_TRUE(FileStringA().fs_CompareFilenameExtOnly(nullptr));
}

TEST(FileStringA, FileSystemQueries) {
  TempDir dir;
  std::string file = dir.file("map.pew");
  writeFileText(file, "x");
  FileStringA folder(dir.path().string().c_str());
  FileStringA name(file.c_str());
  EXPECT_EQ(std::vector<int>({folder.fs_FolderExists(0), name.fs_FolderExists(0), name.fs_FileExists(nullptr),
                               folder.fs_FileExists(nullptr), folder.fs_FileExists(dir.file("none").c_str())}),
            std::vector<int>({1, 0, 1, 0, 0}));

  struct timespec times[2] = {{1600000000, 0}, {1600000000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  EXPECT_EQ(name.fs_GetFileDate(nullptr), 1600000000L);
  EXPECT_EQ(folder.fs_GetFileDate(dir.file("none").c_str()), 0L);

  ClosedInput closed;  // the file may get descriptor 0
  FILE* in = FileStringA::fs_open_file(file.c_str());
  EXPECT_EQ(in ? std::fgetc(in) : EOF, 'x');
  if (in) std::fclose(in);
  EXPECT_EQ(FileStringA::fs_open_file(dir.file("none").c_str()), nullptr);

  EXPECT_EQ(name.fs_unlink(nullptr), 0);
  EXPECT_FALSE(name.fs_FileExists(nullptr));
  EXPECT_NE(name.fs_unlink(nullptr), 0);
}

TEST(FileStringA, CreateTextFileWritesEverythingThroughItsBuffer) {
  TempDir dir;
  std::string name = dir.file("out.txt");
  writeFileText(name, "previous content that must go away");
  FILE* out = FileStringA::fs_CreateTextFile(name.c_str(), 1);
  ASSERT_NE(out, nullptr);
  std::string expected;
  for (int i = 0; i < 200000; ++i) {  // several buffers' worth
    std::fprintf(out, "%d,line\r\n", i);
    expected += std::to_string(i) + ",line\r\n";
  }
  std::string block(3 << 20, 'b');  // one write larger than the buffer
  std::fwrite(block.data(), 1, block.size(), out);
  expected += block;
  EXPECT_EQ(std::fclose(out), 0);
  EXPECT_EQ(readFileText(name), expected);
  EXPECT_EQ(FileStringA::fs_CreateTextFile(dir.file("none/out.txt").c_str(), 1), nullptr);
  // A failed write is reported when the file is closed.
  if (FILE* full = FileStringA::fs_CreateTextFile("/dev/full", 1)) {
    std::fputs("data", full);
    EXPECT_EQ(std::fclose(full), EOF);
  }
}

TEST(FileStringA, ConvertToUtf8ReadsNonUtf8AsWindows1252) {
  FileStringA s;
  EXPECT_STREQ(s.fs_convert_to_utf8("caf\xc3\xa9"), "caf\xc3\xa9");
  EXPECT_STREQ(s.fs_convert_to_utf8("caf\xe9 \x80"), "caf\xc3\xa9 \xe2\x82\xac");
  s.Set("plain");
  EXPECT_STREQ(s.fs_convert_to_utf8(nullptr), "plain");
}

}  // namespace
