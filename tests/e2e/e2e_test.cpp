// End-to-end cases: each folder of cases/ runs the built tool once, in a
// fresh folder, and compares standard output, standard error, the exit
// status and any files named under expected/ with what the run produced.
// See README.md beside this file for the layout of a case.
//
// VORLAN_UPDATE_EXPECTED=1 writes what a run produced into its expected/
// files instead of comparing: for making a new case, to be read by eye.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <thread>

#include "project_description.h"
#include "temp_dir.h"

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

struct RunResult {
  int status = -1;
  bool timedOut = false;
};

// Runs `tool` in `dir` with `args`, standard input from `input` (or
// nothing), output into two files of `dir`.
RunResult runTool(const std::string& tool, const fs::path& dir, const std::vector<std::string>& args,
                  const fs::path& input) {
  pid_t pid = fork();
  if (pid == 0) {
    if (chdir(dir.c_str()) != 0) _exit(126);
    int in = open(input.empty() ? "/dev/null" : input.c_str(), O_RDONLY);
    int out = open(".stdout", O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int err = open(".stderr", O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0) _exit(126);
    // Cases write small files. A runaway write (the object export pads a
    // header label wider than every name until the output refuses) fails
    // at 256 MB instead of filling the disk.
    struct rlimit limit;
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0) {
      limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, rlim_t{256} << 20);
      setrlimit(RLIMIT_FSIZE, &limit);
    }
    signal(SIGXFSZ, SIG_IGN);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    std::vector<char*> argv;
    std::string name = fs::path(tool).filename().string();
    argv.push_back(name.data());
    for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    // A plain, repeatable environment: no locale, no terminal.
    char* env[] = {const_cast<char*>("LC_ALL=C"), const_cast<char*>("PATH=/usr/bin:/bin"), nullptr};
    execve(tool.c_str(), argv.data(), env);
    _exit(127);
  }
  RunResult result;
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  int status = 0;
  while (waitpid(pid, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      result.timedOut = true;
      return result;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

bool updating() {
  const char* v = std::getenv("VORLAN_UPDATE_EXPECTED");
  return v && *v && std::string(v) != "0";
}

// A project is saved through a temporary file named after the process
// ("Creating .map.pew.tmp-4711..."): the number differs from run to run.
std::string withoutProcessIds(const std::string& text) {
  static const std::regex temporary(R"(\.tmp-[0-9]+(-[0-9]+)?)");
  return std::regex_replace(text, temporary, ".tmp-PID");
}

void compareOrUpdate(const fs::path& expectedFile, const std::string& actual, const std::string& what) {
  if (updating()) {
    fs::create_directories(expectedFile.parent_path());
    writeFileText(expectedFile.string(), actual);
    return;
  }
  ASSERT_TRUE(fs::exists(expectedFile)) << "missing " << expectedFile;
  EXPECT_EQ(actual, readFileText(expectedFile.string())) << what << " differs from " << expectedFile;
}

// Text files carry the time of their making in their banners: such times
// ("2024-05-06 07:08:09") are compared as "YYYY-MM-DD hh:mm:ss", and process
// ids as withoutProcessIds leaves them.
std::string maskRunDetails(const std::string& text) {
  static const std::regex stamp(R"([0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2})");
  return withoutProcessIds(std::regex_replace(text, stamp, "YYYY-MM-DD hh:mm:ss"));
}

class Case : public testing::TestWithParam<std::string> {};

TEST_P(Case, Runs) {
  const fs::path source = kCases / GetParam();
  TempDir run;
  const std::string pew = run.file("map.pew");
  std::vector<unsigned char> before;
  if (fs::exists(source / "project.txt")) {
    ProjectFixture f = parseProjectDescription(readFileText((source / "project.txt").string()));
    f.writeTo(pew);
    before = readFileBytes(pew);
  }
  // projects/<path>.txt becomes <path>.pew in the run folder.
  if (fs::exists(source / "projects")) {
    for (const auto& entry : fs::recursive_directory_iterator(source / "projects")) {
      if (!entry.is_regular_file() || entry.path().extension() != ".txt") continue;
      fs::path target = run.path() / fs::relative(entry.path(), source / "projects");
      target.replace_extension(".pew");
      fs::create_directories(target.parent_path());
      parseProjectDescription(readFileText(entry.path().string())).writeTo(target.string());
    }
  }
  if (fs::exists(source / "input"))
    fs::copy(source / "input", run.path(), fs::copy_options::recursive);
  ASSERT_TRUE(fs::exists(source / "args")) << "a case needs an args file";
  std::string argsLine = readFileText((source / "args").string());
  argsLine = argsLine.substr(0, argsLine.find('\n'));
  fs::path input = fs::exists(source / "stdin") ? source / "stdin" : fs::path();

  std::string program = fs::exists(source / "program") ? readFileText((source / "program").string()) : "vorlan";
  program = program.substr(0, program.find('\n'));
  ASSERT_TRUE(program == "vorlan" || program == "vorlan-map") << "unknown program " << program;
  RunResult r = runTool(program == "vorlan" ? kTool : kMapTool, run.path(), descriptionWords(argsLine, false), input);
  ASSERT_FALSE(r.timedOut) << "the run did not end within 60 s";

  const fs::path expected = source / "expected";
  compareOrUpdate(expected / "status", std::to_string(r.status) + "\n", "the exit status");
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
    ProjectFixture want = parseProjectDescription(readFileText((expected / "project.txt").string()));
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
