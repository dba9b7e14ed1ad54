// #include: paths relative to the including file, and every way an include
// can fail.
#include <gtest/gtest.h>

#include <filesystem>

#include "config/config_test_helpers.h"
#include "status.h"
#include "temp_dir.h"

namespace {

int ReadFile(Tovisk& reader, const std::string& path) {
  return reader.rap_Create(path.c_str(), 0, nullptr, nullptr, 0, nullptr);
}

}  // namespace

TEST(ConfigInclude, PathsAreRelativeToTheIncludingFile) {
  TempDir dir;
  std::filesystem::create_directories(dir.path() / "sub" / "deeper");
  writeFileText(dir.file("main.txt"),
                "#include \"sub/defs.h\"\n"
                "class Lib {\n"
                "  colour = RGB_RED;\n"
                "#include \"sub\\\\deeper\\\\body.h\"\n"
                "};\n");
  writeFileText(dir.file("sub/defs.h"), "#include \"more.h\"\n#define RGB_RED 0x0000FF\n");
  writeFileText(dir.file("sub/more.h"), "fromMore = 1;\n");
  writeFileText(dir.file("sub/deeper/body.h"), "  inner = FROM_MAIN;\r\n");
  Tovisk reader;
  ASSERT_EQ(ReadFile(reader, dir.file("main.txt")), 0) << reader.ErrorString(1);
  EXPECT_EQ(ValueAt(reader, "", "fromMore"), "1");
  EXPECT_EQ(ValueAt(reader, "Lib", "colour"), "255") << "macros of an include hold after it";
  EXPECT_EQ(ValueAt(reader, "Lib", "inner"), "FROM_MAIN") << "a '\\\\' path is tried with '/'";
}

TEST(ConfigInclude, TextFromMemoryIncludesRelativeToItsName) {
  TempDir dir;
  writeFileText(dir.file("defs.h"), "#define ANSWER 42\n");
  std::string text = "#include \"defs.h\"\nv = ANSWER;\n";
  Tovisk reader;
  ASSERT_EQ(ParseText(reader, text, dir.file("virtual.txt").c_str()), 0) << reader.ErrorString(1);
  EXPECT_EQ(ValueAt(reader, "", "v"), "42");
  std::string absolute = "#include \"" + dir.file("defs.h") + "\"\nv = ANSWER;\n";
  ASSERT_EQ(ParseText(reader, absolute, "elsewhere/x.txt"), 0) << reader.ErrorString(1);
  EXPECT_EQ(ValueAt(reader, "", "v"), "42");
}

TEST(ConfigInclude, TheSameFileMayBeIncludedAgainOneAfterTheOther) {
  TempDir dir;
  writeFileText(dir.file("main.txt"), "#include \"guarded.h\"\n#include \"guarded.h\"\n#include \"count.h\"\n");
  writeFileText(dir.file("guarded.h"), "#ifndef GUARD\n#define GUARD\nclass Once {};\n#endif\n");
  writeFileText(dir.file("count.h"), "n = 1;\n");
  Tovisk reader;
  ASSERT_EQ(ReadFile(reader, dir.file("main.txt")), 0) << reader.ErrorString(1);
  EXPECT_NE(reader.rap_get_class("Once"), nullptr);
}

TEST(ConfigInclude, MissingFilesAndFoldersAreIncludeErrors) {
  TempDir dir;
  std::filesystem::create_directories(dir.path() / "folder");
  Tovisk reader;
  writeFileText(dir.file("main.txt"), "v = 1;\n#include   \"nope.h\"\n");
  EXPECT_EQ(ReadFile(reader, dir.file("main.txt")), status::kConfigInclude);
  EXPECT_EQ(std::string(reader.ErrorString(status::kConfigInclude)),
            dir.file("main.txt") + ":2:12: cannot open include file \"nope.h\": no such file (looked for " +
                dir.file("nope.h") + ")");
  writeFileText(dir.file("main.txt"), "#include \"folder\"\n");
  EXPECT_EQ(ReadFile(reader, dir.file("main.txt")), status::kConfigInclude);
  EXPECT_EQ(std::string(reader.ErrorString(status::kConfigInclude)),
            dir.file("main.txt") + ":1:10: cannot read include file \"folder\" (" + dir.file("folder") +
                "): is a folder, not a file or pipe");
  writeFileText(dir.file("main.txt"), "#include \"\"\n");
  EXPECT_EQ(ReadFile(reader, dir.file("main.txt")), status::kConfigInclude);
}

TEST(ConfigInclude, SelfIncludesAndCyclesAreRefused) {
  TempDir dir;
  Tovisk reader;
  writeFileText(dir.file("self.txt"), "a = 1;\n#include \"self.txt\"\n");
  EXPECT_EQ(ReadFile(reader, dir.file("self.txt")), status::kConfigInclude);
  EXPECT_EQ(std::string(reader.ErrorString(status::kConfigInclude)),
            dir.file("self.txt") + ":2:10: \"self.txt\" includes itself");

  std::filesystem::create_directories(dir.path() / "sub");
  writeFileText(dir.file("a.txt"), "#include \"sub/b.txt\"\n");
  writeFileText(dir.file("sub/b.txt"), "\n#include \"../a.txt\"\n");
  EXPECT_EQ(ReadFile(reader, dir.file("a.txt")), status::kConfigInclude);
  EXPECT_EQ(std::string(reader.ErrorString(status::kConfigInclude)),
            dir.file("sub/b.txt") + ":2:10: including \"../a.txt\" here makes a cycle: " + dir.file("a.txt") +
                " -> " + dir.file("sub/b.txt") + " -> " + dir.file("sub/../a.txt"));
}

TEST(ConfigInclude, IncludeChainsAreBoundedInDepth) {
  TempDir dir;
  auto name = [](int i) { return std::string("f").append(std::to_string(i)).append(".h"); };
  for (int i = 0; i < 40; ++i) {
    writeFileText(dir.file(name(i)), std::string("#include \"").append(name(i + 1)).append("\"\n"));
  }
  writeFileText(dir.file("f40.h"), "v = 1;\n");
  Tovisk reader;
  EXPECT_EQ(ReadFile(reader, dir.file("f0.h")), status::kConfigInclude);
  EXPECT_EQ(std::string(reader.ErrorString(status::kConfigInclude)),
            dir.file("f31.h") + ":1:1: includes nested more than 32 deep");
  EXPECT_EQ(ReadFile(reader, dir.file("f9.h")), 0) << "31 levels are fine";
}

TEST(ConfigInclude, ErrorsInsideAnIncludeNameThatFile) {
  TempDir dir;
  Tovisk reader;
  writeFileText(dir.file("main.txt"), "#include \"bad.h\"\n");
  writeFileText(dir.file("bad.h"), "a = 1;\nb = \"open;\n");
  EXPECT_EQ(ReadFile(reader, dir.file("main.txt")), status::kConfigSyntax);
  EXPECT_EQ(std::string(reader.ErrorString(status::kConfigSyntax)),
            dir.file("bad.h") + ":2:5: unterminated string: no closing '\"' before the end of the line");

  writeFileText(dir.file("bad.h"), "#ifdef X\n");
  writeFileText(dir.file("main.txt"), "#include \"bad.h\"\n#endif\n");
  EXPECT_EQ(ReadFile(reader, dir.file("main.txt")), status::kConfigSyntax);
  EXPECT_EQ(std::string(reader.ErrorString(status::kConfigSyntax)),
            dir.file("bad.h") + ":1:1: #ifdef X is not closed: expected #endif before the end of the file")
      << "conditionals close in the file that opens them";

  writeFileText(dir.file("bad.h"), "class A {\n");
  writeFileText(dir.file("main.txt"), "#include \"bad.h\"\n  x = 1;\n");
  EXPECT_EQ(ReadFile(reader, dir.file("main.txt")), status::kConfigSyntax);
  EXPECT_EQ(std::string(reader.ErrorString(status::kConfigSyntax)),
            dir.file("main.txt") + ":3:1: expected '}' to close class 'A' (opened at " + dir.file("bad.h") +
                ":1:9), found end of file");
}

TEST(ConfigInclude, TotalBytesReadAreBounded) {
  TempDir dir;
  writeFileText(dir.file("part.h"), std::string(600, ' '));
  std::string main;
  for (int i = 0; i < 4; ++i) main += "#include \"part.h\"\n";
  writeFileText(dir.file("main.txt"), main);
  ConfigLimits limits;
  limits.maxTotalBytes = 2000;
  Tovisk reader;
  reader.SetLimits(limits);
  EXPECT_EQ(ReadFile(reader, dir.file("main.txt")), status::kConfigInclude);
  EXPECT_EQ(std::string(reader.ErrorString(status::kConfigInclude)),
            dir.file("main.txt") + ":4:10: including \"part.h\" goes over the limit of 2000 bytes read in all");
}
