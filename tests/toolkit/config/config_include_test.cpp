// Texts read from files: #include paths relative to the including file,
// every way an include or a file can fail, and the bounds on what is read.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

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

// Each folder of include_cases/ holds the files of one case as they are and
// `expected`: the file to read and the status on its first line, then the
// tree or the error with the case's folder written "@".
TEST(ConfigInclude, IncludesAndFilesGiveTheirTreeOrAnErrorNamingThePlace) {
  const std::filesystem::path cases = VORLAN_TOOLKIT_TESTS "/config/include_cases";
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(cases)) {
    const std::string folder = entry.path().string(), name = entry.path().filename().string();
    std::istringstream expected(readFileText(folder + "/expected"));
    std::string main, text;
    int status = -1;
    expected >> main >> status;
    expected.ignore(1 << 10, '\n');
    std::getline(expected, text);
    Tovisk reader;
    int s = reader.rap_Create((folder + "/" + main).c_str(), 0, nullptr, nullptr, 0, nullptr);
    std::string got = s ? reader.ErrorString(s) : TreeText(reader);
    for (std::size_t at; (at = got.find(folder)) != std::string::npos;) got.replace(at, folder.size(), "@");
    EXPECT_EQ(got, text) << name;
    EXPECT_EQ(s, status) << name;
    ++count;
  }
  EXPECT_EQ(count, 12) << cases << " is missing or incomplete";
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
