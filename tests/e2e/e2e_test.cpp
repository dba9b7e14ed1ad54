// End-to-end cases: each folder of cases/ runs the built tool once, in a
// fresh folder, and compares standard output, standard error, the exit
// status and any files named under expected/ with what the run produced.
// See README.md beside this file for the layout of a case.
//
// VORLAN_UPDATE_EXPECTED=1 writes what a run produced into its expected/
// files instead of comparing: for making a new case, to be read by eye.
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>

#include "project_description.h"
#include "temp_dir.h"
#include "tool_process.h"

namespace fs = std::filesystem;

namespace {

const fs::path kCases = VORLAN_E2E_CASES;
const char* const kTool = VORLAN_TOOL;
const char* const kMapTool = VORLAN_MAP_TOOL;

std::vector<std::string> caseNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(kCases))
    if (entry.is_directory()) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

// Writes what a run produced into its expected/ file when updating, or
// compares the two.
void compareOrUpdate(const fs::path& expectedFile, const std::string& actual, const std::string& what) {
  const char* update = std::getenv("VORLAN_UPDATE_EXPECTED");
  if (update && *update && std::string(update) != "0") {
    fs::create_directories(expectedFile.parent_path());
    writeFileText(expectedFile.string(), actual);
    return;
  }
  ASSERT_TRUE(fs::exists(expectedFile)) << "missing " << expectedFile;
  EXPECT_EQ(actual, readFileText(expectedFile.string())) << what << " differs from " << expectedFile;
}

// Two things differ from run to run: text files carry the time of their
// making in their banners ("2024-05-06 07:08:09"), and a project is saved
// through a temporary file named after the process ("Creating
// .map.pew.tmp-4711..."). They are compared as placeholders.
std::string maskRunDetails(const std::string& text) {
  static const std::regex stamp(R"([0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2})");
  static const std::regex temporary(R"(\.tmp-[0-9]+(-[0-9]+)?)");
  return std::regex_replace(std::regex_replace(text, stamp, "YYYY-MM-DD hh:mm:ss"), temporary, ".tmp-PID");
}

class Case : public testing::TestWithParam<std::string> {};

TEST_P(Case, Runs) {
  const fs::path source = kCases / GetParam();
  TempDir run;
  const std::string pew = run.file("map.pew");
  // The first line of a file of the case, or `otherwise` when there is none.
  auto firstLine = [&](const char* name, const std::string& otherwise) {
    std::string text = fs::exists(source / name) ? readFileText((source / name).string()) : otherwise;
    return text.substr(0, text.find('\n'));
  };
  std::vector<unsigned char> before;
  if (fs::exists(source / "project.txt"))
    before = readFileBytes(describedProject((source / "project.txt").string()).writeTo(pew));
  // projects/<path>.txt becomes <path>.pew in the run folder.
  if (fs::exists(source / "projects")) {
    for (const auto& entry : fs::recursive_directory_iterator(source / "projects")) {
      if (!entry.is_regular_file() || entry.path().extension() != ".txt") continue;
      fs::path target = run.path() / fs::relative(entry.path(), source / "projects");
      target.replace_extension(".pew");
      fs::create_directories(target.parent_path());
      describedProject(entry.path().string()).writeTo(target.string());
    }
  }
  if (fs::exists(source / "input"))
    fs::copy(source / "input", run.path(), fs::copy_options::recursive);
  ASSERT_TRUE(fs::exists(source / "args")) << "a case needs an args file";
  std::string input = fs::exists(source / "stdin") ? (source / "stdin").string() : "";
  std::string program = firstLine("program", "vorlan");
  ASSERT_TRUE(program == "vorlan" || program == "vorlan-map") << "unknown program " << program;
  int status = waitForTool(startTool(program == "vorlan" ? kTool : kMapTool, run.path().string(),
                                     descriptionWords(firstLine("args", ""), false), input, ".stdout", ".stderr"));
  ASSERT_NE(status, 128 + SIGALRM) << "the run did not end within 60 s";

  const fs::path expected = source / "expected";
  compareOrUpdate(expected / "status", std::to_string(status) + "\n", "the exit status");
  compareOrUpdate(expected / "stdout", maskRunDetails(readFileText(run.file(".stdout"))), "standard output");
  compareOrUpdate(expected / "stderr", maskRunDetails(readFileText(run.file(".stderr"))), "standard error");
  if (fs::exists(expected / "files")) {
    for (const auto& entry : fs::directory_iterator(expected / "files")) {
      std::string name = entry.path().filename().string();
      ASSERT_TRUE(fs::exists(run.path() / name)) << "the run made no " << name;
      compareOrUpdate(entry.path(), maskRunDetails(readFileText(run.file(name))), name);
    }
  }
  if (fs::exists(expected / "absent")) {
    std::string names = readFileText((expected / "absent").string());
    for (const std::string& name : descriptionWords(names, false))
      EXPECT_FALSE(fs::exists(run.path() / name)) << "the run left " << name;
  }
  if (fs::exists(expected / "unchanged")) {
    EXPECT_EQ(readFileBytes(pew), before) << "map.pew changed";
  }
  if (fs::exists(expected / "project.txt")) {
    ProjectFixture want = describedProject((expected / "project.txt").string());
    EXPECT_EQ(readFileBytes(pew), want.bytes()) << "map.pew is not the project of expected/project.txt";
  }
  // Nothing but what the case expects may be left beside the project.
  for (const auto& entry : fs::directory_iterator(run.path())) {
    std::string name = entry.path().filename().string();
    if (name.rfind(".tmp", 0) == 0 || name.find(".tmp-") != std::string::npos)
      ADD_FAILURE() << "a temporary file was left behind: " << name;
  }
}

std::string caseTestName(const testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}

INSTANTIATE_TEST_SUITE_P(E2E, Case, testing::ValuesIn(caseNames()), caseTestName);

}  // namespace
