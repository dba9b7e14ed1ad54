#include "driver/run_loop.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "driver/command_line.h"
#include "driver/console.h"
#include "driver/run_state.h"
#include "driver/save_project.h"
#include "run_test_support.h"
#include "status.h"
#include "stream_capture.h"
#include "temp_dir.h"

namespace {

// The projects whose statistics a run printed, in order.
std::vector<std::string> projectsShown(const std::string& out) {
  std::vector<std::string> shown;
  const std::string marker = "Project ";
  for (std::size_t at = out.find(marker); at != std::string::npos; at = out.find(marker, at + 1)) {
    std::size_t end = out.find(", format", at);
    shown.push_back(out.substr(at + marker.size(), end - at - marker.size()));
  }
  return shown;
}

TEST(FindProject, TakesTheFirstFolderOrFileAndMarksItsWord) {
  TempDir dir;
  writeProject(dir.file("map.pew"), 1);
  std::string missing = dir.file("none"), bare = dir.file("map"), out = "out.txt";
  std::string option = "-y";
  std::vector<char*> words{option.data(), missing.data(), out.data(), bare.data()};
  StreamCapture err(stderr);
  ASSERT_TRUE(findProject(4, words.data()));
  EXPECT_EQ(err.finish(), "");
  EXPECT_STREQ(projectPath.Get(), dir.file("map.pew").c_str());
  EXPECT_EQ(bare[0], '-');     // marked
  EXPECT_NE(missing[0], '-');  // a word that named nothing stays
  ASSERT_TRUE(findTextFile(4, words.data()));
  EXPECT_EQ(std::string(textFilePath.Get()), missing);  // the first unmarked word, before the project
}

TEST(FindProject, FoldersPlusWordsAndFailure) {
  TempDir dir;
  std::string folder = dir.path().string();
  std::string plus = "+" + folder;  // names nothing here, but is a candidate all the same
  std::string empty;
  std::vector<char*> words{plus.data(), empty.data(), folder.data()};
  ASSERT_TRUE(findProject(3, words.data()));
  EXPECT_EQ(std::string(projectPath.Get()), dir.path().string());
  ASSERT_TRUE(findTextFile(3, words.data()));
  EXPECT_EQ(std::string(textFilePath.Get()), plus);

  std::string dash = "-x";
  std::vector<char*> none{dash.data(), empty.data()};
  StreamCapture err(stderr);
  EXPECT_FALSE(findProject(2, none.data()));
  EXPECT_EQ(err.finish(), "No Pew File Found\n");
  findTextFile(1, none.data());
  EXPECT_STREQ(textFilePath.Get(), "");
}

TEST(RunLoop, OneProjectOpensPrintsStatisticsAndSucceeds) {
  TempDir dir;
  std::string project = writeProject(dir.file("map.pew"), 3);
  RunResult r = runWith({dir.file("map")});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "vorlan Version 1.96, Dll 7.70 \"map\"\n"
                   "Opening " + project + "...\n-----------------\n"
                   "--------------\n");
  EXPECT_EQ(r.out.rfind("=======*==========\n\n=========stats================\n", 0), 0u) << r.out;
  EXPECT_NE(r.out.find("There are 3 objects in the pew.\n"), std::string::npos);
  EXPECT_EQ(r.out.find('\r'), std::string::npos);
  EXPECT_EQ(runOptions.action, ActionCode::Analyse);
}

TEST(RunLoop, FolderTreeIsWalkedDepthFirstInByteOrder) {
  TempDir dir;
  std::filesystem::create_directories(dir.file("b/inner"));
  std::filesystem::create_directories(dir.file("empty"));
  for (const char* name : {"d.pew", "a.pew", "b/c.pew", "b/inner/x.pew", "B.pew"}) writeProject(dir.file(name), 1);
  writeFileText(dir.file("notes.txt"), "not a project");
  RunResult r = runWith({"-u", dir.path().string()});
  EXPECT_EQ(r.status, 0);
  std::string base = dir.path().string() + "/";
  EXPECT_EQ(projectsShown(r.out),
            (std::vector<std::string>{base + "B.pew", base + "a.pew", base + "b/c.pew", base + "b/inner/x.pew",
                                      base + "d.pew"}));
}

TEST(RunLoop, FirstFailureStopsTheWalkAndIsTheExitStatus) {
  TempDir dir;
  writeFileText(dir.file("a.pew"), "this is not a project file at all");
  writeProject(dir.file("b.pew"), 1);
  RunResult r = runWith({dir.path().string()});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.status, 1);  // the toolkit's own status, passed through
  EXPECT_TRUE(projectsShown(r.out).empty());
  EXPECT_EQ(occurrences(r.err, "\n--------------\n"), 1);  // b.pew was never opened
  EXPECT_EQ(walkFolder(dir.file("missing").c_str()), 1);
  EXPECT_EQ(walkFolder(dir.file("b.pew").c_str()), 1);
}

TEST(RunLoop, ListTemplatesAndActionsWithoutModules) {
  TempDir dir;
  writeProject(dir.file("map.pew"), 1);
  RunResult r = runWith({"-LT", dir.file("map.pew")});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("house"), std::string::npos);
  StreamCapture out(stdout);
  EXPECT_EQ(dispatchAction(static_cast<ActionCode>(19)), 0);
  EXPECT_EQ(dispatchAction(static_cast<ActionCode>(0xFFFFFFFF)), 0);
  EXPECT_EQ(out.finish(), "");
}

TEST(RunLoop, SelfTestWritesReadsAndRemovesTestPew) {
  TempDir dir;
  std::string project = writeProject(dir.file("map.pew"), 2);
  std::string before = std::filesystem::current_path().string();
  std::filesystem::current_path(dir.path());
  RunResult r = runWith({"-t", "map"});
  bool leftBehind = std::filesystem::exists("test.pew");
  std::filesystem::current_path(before);
  EXPECT_EQ(r.status, 0);
  EXPECT_FALSE(leftBehind);
  std::size_t created = r.out.find("\n==creating a test.pew===\n\n");
  ASSERT_NE(created, std::string::npos);
  EXPECT_NE(r.out.find("Clearing pew\n", created), std::string::npos);
  EXPECT_EQ(readFileText(project), readFileText(writeProject(dir.file("again.pew"), 2)));
}

class SaveProjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path = writeProject(dir.file("map.pew"), 4);
    project = toolkit.dll_GetVorlan();
    projectPath.Set(path.c_str());
    runOptions.yes = 1;
    runOptions.verify = 0;
    runOptions.backup = 0;
    StreamCapture out(stdout);
    ASSERT_EQ(project->pew_Open(path.c_str(), 0, printMessage, nullptr, 0), 0);
  }
  void TearDown() override { runOptions.yes = 0; }
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir.path())) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
  TempDir dir;
  std::string path;
};

TEST_F(SaveProjectTest, WritesThroughTheOutputsAndPrintsTheMessage) {
  std::string old = readFileText(path);
  StreamCapture out(stdout);
  StreamCapture err(stderr);
  ASSERT_NE(confirmAction("Deleting Objects"), 0);
  project->pew_delete_objects();
  EXPECT_EQ(saveProject("Objects Deleted\n"), 0);
  std::string errText = err.finish();
  EXPECT_EQ(out.finish(), "Deleting Objects\nObjects Deleted\n");
  EXPECT_EQ(errText, "\n-------------\nCreating .map.pew.tmp-" + std::to_string(getpid()) +
                         "...--------------\n");
  EXPECT_NE(readFileText(path), old);
  EXPECT_EQ(files(), std::vector<std::string>{"map.pew"});
  StreamCapture again(stdout);
  ASSERT_EQ(project->pew_Open(path.c_str(), 0, printMessage, nullptr, 0), 0);
  again.finish();
  EXPECT_EQ(project->pew_get_objects()->slotCount(), 0u);
}

TEST_F(SaveProjectTest, VerifyReopensAndBackupKeepsTheOldFile) {
  std::string old = readFileText(path);
  runOptions.verify = 1;
  runOptions.backup = 1;
  StreamCapture out(stdout);
  StreamCapture err(stderr);
  ASSERT_NE(confirmAction(nullptr), 0);
  project->pew_delete_objects();
  EXPECT_EQ(saveProject(nullptr), 0);
  err.finish();
  std::string text = out.finish();
  EXPECT_EQ(text.rfind("Verifying new map.pew.....\n=========stats================\n", 0), 0u) << text;
  EXPECT_NE(text.find("There are 0 objects in the pew.\n"), std::string::npos);
  EXPECT_EQ(readFileText(path + ".bak"), old);
  EXPECT_EQ(files(), (std::vector<std::string>{"map.pew", "map.pew.bak"}));
}

TEST_F(SaveProjectTest, FailedWriteLeavesTheProjectAndNoTemporaryFile) {
  std::string old = readFileText(path);
  runOptions.backup = 1;
  StreamCapture out(stdout);
  StreamCapture err(stderr);
  ASSERT_NE(confirmAction(nullptr), 0);
  project->Close();  // nothing to write: the write fails
  EXPECT_EQ(saveProject("Objects Deleted\n"), status::kNoProject);
  err.finish();
  EXPECT_EQ(out.finish().find("Objects Deleted"), std::string::npos);
  EXPECT_EQ(readFileText(path), old);
  EXPECT_EQ(files(), std::vector<std::string>{"map.pew"});
}

// The disk fills up in the middle of the write. A file size limit does that
// for any user, the super-user included, so it runs in a child process.
TEST_F(SaveProjectTest, DiskFullDuringTheWriteLeavesTheProjectByteIdentical) {
  path = writeProject(dir.file("map.pew"), 300);
  std::string old = readFileText(path);
  ASSERT_GT(old.size(), 16384u);
  runOptions.backup = 1;
  pid_t child = fork();
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit = {8192, 8192};
    setrlimit(RLIMIT_FSIZE, &limit);
    int devnull = open("/dev/null", O_WRONLY);
    dup2(devnull, 1);
    dup2(devnull, 2);
    // The project is rewritten as it is: far larger than the limit.
    if (project->pew_Open(path.c_str(), 0, printMessage, nullptr, 0) != 0 || !confirmAction(nullptr)) _exit(100);
    _exit(saveProject("Saved\n"));
  }
  int result = 0;
  ASSERT_EQ(waitpid(child, &result, 0), child);
  ASSERT_TRUE(WIFEXITED(result));
  EXPECT_EQ(WEXITSTATUS(result), status::kCannotWrite);
  EXPECT_TRUE(readFileText(path) == old) << "the project changed";
  EXPECT_EQ(files(), std::vector<std::string>{"map.pew"});
}

}  // namespace
