#include "driver/run_loop.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "driver/console.h"
#include "driver/run_state.h"
#include "driver/save_project.h"
#include "fixture_builder.h"
#include "run_test_support.h"
#include "status.h"
#include "stream_capture.h"
#include "temp_dir.h"
#include "tool_process.h"

namespace {

// Saves that fail for a cause outside the program. A successful save is
// shown by the end-to-end cases.
// In a forked child: both streams to /dev/null, files limited to `bytes`
// (a write beyond fails instead of ending the process).
void quietChild(rlim_t bytes) {
  alarm(60);  // a child that hangs ends instead of outliving the test run
  std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit limit = {bytes, bytes};
  setrlimit(RLIMIT_FSIZE, &limit);
  int devnull = open("/dev/null", O_WRONLY);
  dup2(devnull, 1);
  dup2(devnull, 2);
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
  // Confirms, lets `interfere` act, deletes the objects and saves. The save
  // must fail with a message naming the project and leave the old project
  // byte for byte at `where`. Gives the messages.
  std::string failedSave(const std::function<void()>& interfere, const std::string& where) {
    std::string old = readFileText(path);
    StreamCapture out(stdout);
    StreamCapture err(stderr);
    EXPECT_NE(confirmAction(nullptr), 0);
    interfere();
    project->pew_delete_objects();
    int status = saveProject("Objects Deleted\n");
    std::string messages = err.finish() + out.finish();
    EXPECT_EQ(status, status::kCannotWrite);
    EXPECT_NE(messages.find("map.pew was not saved and is unchanged"), std::string::npos) << messages;
    EXPECT_EQ(messages.find("Objects Deleted"), std::string::npos);
    EXPECT_TRUE(readFileText(where) == old) << "the project changed";
    return messages;
  }
  TempDir dir;
  std::string path;
};

// The disk fills up in the middle of the write. A file size limit does that
// for any user, the super-user included, so it runs in a child process.
TEST_F(SaveProjectTest, DiskFullDuringTheWriteLeavesTheProjectByteIdentical) {
  path = writeProject(dir.file("map.pew"), 300);
  std::string old = readFileText(path);
  ASSERT_GT(old.size(), 16384u);
  runOptions.backup = 1;
  pid_t child = fork();
  if (child == 0) {
    quietChild(8192);
    // The project is rewritten as it is: far larger than the limit.
    if (project->pew_Open(path.c_str(), 0, printMessage, nullptr, 0) != 0 || !confirmAction(nullptr)) _exit(100);
    _exit(saveProject("Saved\n"));
  }
  int result = 0;
  ASSERT_EQ(waitpid(child, &result, 0), child);
  ASSERT_TRUE(WIFEXITED(result));
  EXPECT_EQ(WEXITSTATUS(result), status::kCannotWrite);
  EXPECT_TRUE(readFileText(path) == old) << "the project changed";
  EXPECT_EQ(dir.names(), std::vector<std::string>{"map.pew"});
}

// Between the confirmation and the write, something takes the temporary
// name: creating the file fails for any user, the super-user included.
TEST_F(SaveProjectTest, TemporaryNameTakenAfterTheConfirmationFailsCleanly) {
  std::string temp;
  std::string messages = failedSave([&] { ASSERT_EQ(mkdir((temp = outputs.rnp_GetFileName(3)).c_str(), 0755), 0); }, path);
  EXPECT_NE(messages.find(".map.pew.tmp-" + std::to_string(getpid()) + ": cannot write"), std::string::npos) << messages;
  EXPECT_TRUE(std::filesystem::is_directory(temp)) << "the failed save removed what it did not create";
  ASSERT_EQ(rmdir(temp.c_str()), 0);
  EXPECT_EQ(dir.names(), std::vector<std::string>{"map.pew"});
}

// The project's folder is moved away between the confirmation and the write
// (binds the super-user as well): nothing may appear where it was, and the
// moved project is untouched.
TEST_F(SaveProjectTest, FolderMovedAwayAfterTheConfirmationFailsCleanly) {
  std::filesystem::create_directory(dir.file("maps"));
  path = writeProject(dir.file("maps/map.pew"), 4);
  projectPath.Set(path.c_str());
  {
    StreamCapture out(stdout);
    ASSERT_EQ(project->pew_Open(path.c_str(), 0, printMessage, nullptr, 0), 0);
  }
  failedSave([&] { std::filesystem::rename(dir.file("maps"), dir.file("moved")); }, dir.file("moved/map.pew"));
  EXPECT_EQ(dir.names(), (std::vector<std::string>{"map.pew", "moved"}));
  EXPECT_EQ(dir.names("moved"), std::vector<std::string>{"map.pew"});
}

// A project of some 5 MB (a 1024 x 1024 grid and 20000 objects): large
// enough that a kill can land while it is written.
std::string writeLargeProject(const std::string& name) {
  ProjectFixture f;
  f.grid(1024, 1024, 10.0f);
  f.addTemplate(1, "ca\\house.p3d", "house");
  for (int i = 0; i < 20000; ++i) f.addObject(1).at(static_cast<float>(i % 2000), static_cast<float>(i / 2000), 0);
  return f.writeTo(name);
}

void sleepMicroseconds(long us) {
  struct timespec pause = {us / 1000000, (us % 1000000) * 1000};
  nanosleep(&pause, nullptr);
}

// The process is killed while it saves: at fixed delays after the save
// starts, and once as soon as the temporary file holds data. The project
// name must always hold either the old project or the complete new one,
// and the only thing a kill may leave is the killed run's temporary file,
// which the next successful save removes.
TEST_F(SaveProjectTest, KilledDuringTheSaveLeavesTheOldOrTheNewProject) {
  path = writeLargeProject(dir.file("map.pew"));
  std::string old = readFileText(path);
  const long kMidWrite = -1;
  const long delays[] = {0, 1000, 2000, 5000, 10000, 20000, 40000, kMidWrite};
  bool caughtMidWrite = false;
  std::vector<std::string> killedTemps;  // what the killed runs may have left
  for (long delay : delays) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t child = fork();
    if (child == 0) {
      close(ready[0]);
      quietChild(256u << 20);
      if (project->pew_Open(path.c_str(), 0, printMessage, nullptr, 0) != 0 || !confirmAction(nullptr)) _exit(100);
      project->pew_delete_objects();  // a completed save is told apart from the old project
      if (write(ready[1], "r", 1) != 1) _exit(101);
      _exit(saveProject(nullptr));
    }
    close(ready[1]);
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1) << "the child could not prepare the save";
    close(ready[0]);
    std::string temp = dir.file(".map.pew.tmp-" + std::to_string(child));
    int result = 0;
    bool ended = false;
    if (delay == kMidWrite) {
      for (;;) {
        struct stat info;
        if (stat(temp.c_str(), &info) == 0 && info.st_size > 0) break;
        if (waitpid(child, &result, WNOHANG) == child) {
          ended = true;
          break;
        }
        sleepMicroseconds(50);
      }
    } else {
      sleepMicroseconds(delay);
    }
    if (!ended) {
      kill(child, SIGKILL);
      ASSERT_EQ(waitpid(child, &result, 0), child);
    }
    std::string now = readFileText(path);
    if (WIFSIGNALED(result)) {
      if (now != old) {
        // Killed after the rename: the new project is complete.
        StreamCapture out(stdout);
        ASSERT_EQ(project->pew_Open(path.c_str(), 0, printMessage, nullptr, 0), 0) << "delay " << delay;
        out.finish();
        EXPECT_EQ(project->pew_get_objects()->slotCount(), 0u);
        writeFileText(path, old);
      }
      killedTemps.push_back(".map.pew.tmp-" + std::to_string(child));
      std::vector<std::string> names = dir.names();
      std::erase_if(names, [&](const std::string& name) {
        return std::find(killedTemps.begin(), killedTemps.end(), name) != killedTemps.end();
      });
      EXPECT_EQ(names, std::vector<std::string>{"map.pew"}) << "delay " << delay;
      if (delay == kMidWrite && now == old) caughtMidWrite = true;
    } else {
      ASSERT_TRUE(WIFEXITED(result));
      ASSERT_EQ(WEXITSTATUS(result), 0) << "delay " << delay;
      writeFileText(path, old);
    }
  }
  EXPECT_TRUE(caughtMidWrite) << "no kill landed while the temporary file was being written";

  // A later save of the same project works and clears the leftovers.
  StreamCapture out(stdout);
  StreamCapture err(stderr);
  ASSERT_EQ(project->pew_Open(path.c_str(), 0, printMessage, nullptr, 0), 0);
  ASSERT_NE(confirmAction(nullptr), 0);
  project->pew_delete_objects();
  EXPECT_EQ(saveProject(nullptr), 0);
  err.finish();
  out.finish();
  EXPECT_NE(readFileText(path), old);
  EXPECT_EQ(dir.names(), std::vector<std::string>{"map.pew"});
}


// Starts the built tool in `dir` with both streams into one file, as
// "vorlan ... > log 2>&1" does.
pid_t startLogged(const TempDir& dir, std::vector<std::string> words) {
  return startTool(VORLAN_BINARY, dir.path().string(), words, "", "log.txt", "log.txt");
}

TEST(BuiltTool, CombinedLogKeepsTheTerminalsOrder) {
  TempDir dir;
  writeProject(dir.file("map.pew"), 2);
  pid_t child = startLogged(dir, {"-DOY", "map"});
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_EQ(status, 0);
  std::string log = readFileText(dir.file("log.txt"));
  std::vector<std::string> order = {"vorlan Version", "=======*", "Opening map.pew", "Project ", "Deleting Objects",
                                    "Creating .map.pew.tmp-", "Objects Deleted"};
  for (std::size_t i = 1; i < order.size(); ++i)
    EXPECT_LT(log.find(order[i - 1]), log.find(order[i])) << order[i - 1] << " / " << order[i] << "\n" << log;
}

// An interrupt takes the temporary file with it: during an export whose
// header padding runs without end, and during the save of a large project.
TEST(BuiltTool, InterruptedExportOrSaveLeavesNoTemporaryFile) {
  struct Case {
    std::vector<std::string> words;
    std::string temporary;
  };
  for (const Case& c : {Case{{"-E", "map", "out.txt"}, ".out.txt.tmp-"}, Case{{"-DOY", "map"}, ".map.pew.tmp-"}}) {
    bool saving = c.words[0] == "-DOY";
    int interrupted = 0;
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
      TempDir dir;
      if (saving) writeLargeProject(dir.file("map.pew"));
      else writeProject(dir.file("map.pew"), 0);
      pid_t child = startLogged(dir, c.words);
      std::string temp = dir.file(c.temporary + std::to_string(child));
      int status = 0;
      bool ended = false;
      struct stat info;
      while (!ended && (stat(temp.c_str(), &info) != 0 || info.st_size == 0)) {
        ended = waitpid(child, &status, WNOHANG) == child;
        sleepMicroseconds(200);
      }
      if (!ended) {
        kill(child, signal);
        waitpid(child, &status, 0);
      }
      EXPECT_FALSE(std::filesystem::exists(temp)) << signal;
      EXPECT_EQ(readFileText(dir.file("log.txt")).find("cut short"), std::string::npos) << "only a bus error says so";
      if (WIFSIGNALED(status)) {
        EXPECT_EQ(WTERMSIG(status), signal);
        ++interrupted;
      }
      if (!saving) {
        EXPECT_FALSE(std::filesystem::exists(dir.file("out.txt"))) << signal;
      }
    }
    EXPECT_GT(interrupted, 0) << c.words[0] << ": no signal landed while the temporary file was written";
  }
}

// A run that changes a project holds it for its whole cycle; another such
// run waits a while, then gives up without touching it. Reading is never
// held up.
TEST(RunLoop, ChangingRunsOnOneProjectExcludeEachOther) {
  TempDir dir;
  std::string path = writeProject(dir.file("map.pew"), 2);
  std::string before = readFileText(path);
  int held = open(path.c_str(), O_RDONLY);
  ASSERT_EQ(flock(held, LOCK_EX), 0);
  RunResult changing = runWith({"-DOY", path});
  EXPECT_EQ(changing.status, 1);
  // It says once that it waits, then that it gave up.
  EXPECT_EQ(changing.err.substr(changing.err.find(path + " is being")), path + " is being changed by another run; waiting for it...\n" + path +
                              " is being changed by another run: nothing was done, try again when it has finished\n");
  EXPECT_EQ(readFileText(path), before);
  EXPECT_EQ(runWith({"-LT", path}).status, 0);
  close(held);
  EXPECT_EQ(runWith({"-DOY", path}).status, 0);
}

// Only regular files are projects; pipes and devices are refused at once,
// and an import text that is a pipe nobody writes to reads as empty.
TEST(RunLoop, ProjectsAreRegularFilesAndPipesNeverHang) {
  TempDir dir;
  std::string path = writeProject(dir.file("map.pew"), 2);
  std::string fifo = dir.file("fifo.pew");
  std::string device = dir.file("device.pew");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0644), 0);
  ASSERT_EQ(symlink("/dev/null", device.c_str()), 0);
  for (auto [word, kind] : {std::pair<std::string, std::string>{fifo, "a pipe"}, {device, "a character device"}}) {
    RunResult r = runWith({"-LT", word});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find(word + " is " + kind + ", not a project file\n"), std::string::npos) << r.err;
  }
  RunResult r = runWith({"-IOY", path, fifo});
  EXPECT_EQ(r.status, 0) << r.err;
}

}  // namespace
