// Texts read from files: #include paths relative to the including file,
// every way an include or a file can fail, and the bounds on what is read.
#include <gtest/gtest.h>

#include <filesystem>

#include "config/config_test_helpers.h"
#include "status.h"
#include "temp_dir.h"

namespace {

using Files = std::vector<std::pair<std::string, std::string>>;

// Writes the files into the folder (a name ending in '/' is a folder) and
// reads `main`: the tree it made, or its error with the folder written "@".
std::string ReadFiles(const TempDir& dir, const std::string& main, const Files& files, int& status,
                      const ConfigLimits& limits = ConfigLimits()) {
  for (const auto& [name, text] : files) {
    std::filesystem::create_directories(std::filesystem::path(dir.file(name)).parent_path());
    if (name.back() != '/') writeFileText(dir.file(name), text);
  }
  Tovisk reader;
  reader.SetLimits(limits);
  status = reader.rap_Create(dir.file(main).c_str(), 0, nullptr, nullptr, 0, nullptr);
  std::string got = status ? reader.ErrorString(status) : TreeText(reader);
  for (std::size_t at; (at = got.find(dir.path().string())) != std::string::npos;)
    got.replace(at, dir.path().string().size(), "@");
  return got;
}

}  // namespace

TEST(ConfigInclude, IncludesAndFilesGiveTheirTreeOrAnErrorNamingThePlace) {
  const std::string bad = "#include \"bad.h\"\n";
  const struct {
    const char* main;
    Files files;
    int status;
    std::string expected;
  } rows[] = {
      // Macros of an include hold after it; a '\\' path is tried with '/'.
      {"main.txt",
       {{"main.txt", "#include \"sub/defs.h\"\nclass Lib {\n  colour = RGB_RED;\n#include \"sub\\\\deeper\\\\body.h\"\n};\n"},
        {"sub/defs.h", "#include \"more.h\"\n#define RGB_RED 0x0000FF\n"},
        {"sub/more.h", "fromMore = 1;\n"},
        {"sub/deeper/body.h", "  inner = FROM_MAIN;\r\n"}},
       status::kOk, "fromMore=1 Lib{colour=255 inner=FROM_MAIN}"},
      {"main.txt",
       {{"main.txt", "#include \"guarded.h\"\n#include \"guarded.h\"\n#include \"count.h\"\n"},
        {"guarded.h", "#ifndef GUARD\n#define GUARD\nclass Once {};\n#endif\n"},
        {"count.h", "n = 1;\n"}},
       status::kOk, "Once{} n=1"},
      {"main.txt", {{"main.txt", "v = 1;\n#include   \"nope.h\"\n"}}, status::kConfigInclude,
       "@/main.txt:2:12: cannot open include file \"nope.h\": no such file (looked for @/nope.h)"},
      {"main.txt", {{"main.txt", "#include \"folder\"\n"}, {"folder/", ""}}, status::kConfigInclude,
       "@/main.txt:1:10: cannot read include file \"folder\" (@/folder): is a folder, not a file or pipe"},
      {"main.txt", {{"main.txt", "#include \"\"\n"}}, status::kConfigInclude, "@/main.txt:1:10: #include names no file"},
      {"self.txt", {{"self.txt", "a = 1;\n#include \"self.txt\"\n"}}, status::kConfigInclude,
       "@/self.txt:2:10: \"self.txt\" includes itself"},
      {"a.txt", {{"a.txt", "#include \"sub/b.txt\"\n"}, {"sub/b.txt", "\n#include \"../a.txt\"\n"}}, status::kConfigInclude,
       "@/sub/b.txt:2:10: including \"../a.txt\" here makes a cycle: @/a.txt -> @/sub/b.txt -> @/sub/../a.txt"},
      {"main.txt", {{"main.txt", bad}, {"bad.h", "a = 1;\nb = \"open;\n"}}, status::kConfigSyntax,
       "@/bad.h:2:5: unterminated string: no closing '\"' before the end of the line"},
      // Conditionals close in the file that opens them; classes need not.
      {"main.txt", {{"main.txt", bad + "#endif\n"}, {"bad.h", "#ifdef X\n"}}, status::kConfigSyntax,
       "@/bad.h:1:1: #ifdef X is not closed: expected #endif before the end of the file"},
      {"main.txt", {{"main.txt", bad + "  x = 1;\n"}, {"bad.h", "class A {\n"}}, status::kConfigSyntax,
       "@/main.txt:3:1: expected '}' to close class 'A' (opened at @/bad.h:1:9), found end of file"},
      {"missing.txt", {}, status::kCannotOpen, "@/missing.txt: cannot read the file: No such file or directory"},
      {"folder", {{"folder/", ""}}, status::kCannotOpen, "@/folder: cannot read the file: is a folder, not a file or pipe"},
  };
  for (const auto& row : rows) {
    TempDir dir;
    int s;
    EXPECT_EQ(ReadFiles(dir, row.main, row.files, s), row.expected);
    EXPECT_EQ(s, row.status) << row.expected;
  }
  Tovisk reader;
  EXPECT_EQ(reader.rap_Create(nullptr, 0, nullptr, nullptr, 0, nullptr), status::kCannotOpen);

  // A text from memory includes relative to the name it is given.
  TempDir dir;
  writeFileText(dir.file("defs.h"), "#define ANSWER 42\n");
  ASSERT_EQ(ParseText(reader, "#include \"defs.h\"\nv = ANSWER;\n", dir.file("virtual.txt").c_str()), 0);
  EXPECT_EQ(TreeText(reader), "v=42");
  ASSERT_EQ(ParseText(reader, "#include \"" + dir.file("defs.h") + "\"\nv = ANSWER;\n", "elsewhere/x.txt"), 0);
  EXPECT_EQ(TreeText(reader), "v=42");
}

TEST(ConfigInclude, IncludeDepthAndBytesReadAreBounded) {
  TempDir dir;
  Files chain;
  for (int i = 0; i < 40; ++i)
    chain.push_back({"f" + std::to_string(i) + ".h", "#include \"f" + std::to_string(i + 1) + ".h\"\n"});
  chain.push_back({"f40.h", "v = 1;\n"});
  int s;
  EXPECT_EQ(ReadFiles(dir, "f0.h", chain, s), "@/f31.h:1:1: includes nested more than 32 deep");
  EXPECT_EQ(ReadFiles(dir, "f9.h", {}, s), "v=1") << "31 levels are fine";

  ConfigLimits limits;
  limits.maxTotalBytes = 2000;
  EXPECT_EQ(ReadFiles(dir, "main.txt", {{"part.h", std::string(600, ' ')},
                                        {"main.txt", "#include \"part.h\"\n#include \"part.h\"\n#include \"part.h\"\n#include \"part.h\"\n"}},
                      s, limits),
            "@/main.txt:4:10: including \"part.h\" goes over the limit of 2000 bytes read in all");

  // One file over the bound; a sparse one over the default is refused
  // before anything is read.
  limits.maxFileBytes = 100;
  EXPECT_EQ(ReadFiles(dir, "big.txt", {{"big.txt", std::string(101, ' ')}}, s, limits),
            "@/big.txt: cannot read the file: file is too large (more than 100 bytes)");
  EXPECT_EQ(ReadFiles(dir, "big.txt", {{"big.txt", std::string(100, ' ')}}, s, limits), "");
  writeFileText(dir.file("huge.txt"), "a = 1;");
  std::filesystem::resize_file(dir.file("huge.txt"), (std::uintmax_t{256} << 20) + 1);
  EXPECT_EQ(ReadFiles(dir, "huge.txt", {}, s),
            "@/huge.txt: cannot read the file: file is too large (more than 268435456 bytes)");
}
