#include "driver/console.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "case_lines.h"
#include "system/console_keys.h"
#include "driver/run_state.h"
#include "input_feed.h"
#include "stream_capture.h"

namespace {

// The answer and the prompts it left on standard error.
Captured ask(const std::string& keys) {
  InputFeed in(keys);
  return captureRun([] { return askYesNo("Delete %d objects?", 3); });
}

TEST(PrintMessage, DropsCarriageReturnsOnlyAndNeverCuts) {
  std::string long_text(5000, 'x');
  StreamCapture out(stdout);
  EXPECT_TRUE(printMessage("line %d\r\n\rnext\r%s\n", 1, "tail\r"));
  printMessage("%s!", long_text.c_str());
  EXPECT_EQ(out.finish(), "line 1\nnexttail\n" + long_text + "!");
}

// The keys of yes_no_keys.txt: Y and N in either case answer; any other key
// repeats the whole prompt. No clears the pause after the run, yes leaves it.
TEST(AskYesNo, KeysAndThePromptsTheyLeave) {
  runOptions.yes = 0;
  for (const std::string& line : caseLines(TEST_DATA_DIR "/yes_no_keys.txt", 6)) {
    const std::size_t tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos) << line;
    const int result = line.at(tab + 1) - '0';
    runOptions.pause = 1;
    Captured a = ask(line.substr(0, tab));
    EXPECT_EQ(a.status, result) << line;
    EXPECT_EQ(a.err, line.substr(tab + 3)) << line;
    EXPECT_EQ(runOptions.pause, static_cast<unsigned>(result)) << line;
  }
  runOptions.pause = 0;
}

TEST(AskYesNo, YesFlagAnswersWithoutAskingOrReading) {
  runOptions.yes = 1;
  InputFeed in("n");
  StreamCapture err(stderr);
  EXPECT_EQ(askYesNo("anything?"), 1);
  EXPECT_EQ(err.finish(), "");
  EXPECT_EQ(_getch(), 'n');  // the key is still there
  runOptions.yes = 0;
}

TEST(AskYesNo, EndOfInputWaitsQuietlyWithoutSpinning) {
  runOptions.yes = 0;
  int errPipe[2];
  ASSERT_EQ(pipe(errPipe), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    InputFeed in("q");  // one wrong key, then the end of input
    dup2(errPipe[1], STDERR_FILENO);
    close(errPipe[0]);
    askYesNo("go?");
    _exit(0);  // must never get here
  }
  close(errPipe[1]);
  std::this_thread::sleep_for(std::chrono::milliseconds(400));
  int statusValue = 0;
  EXPECT_EQ(waitpid(child, &statusValue, WNOHANG), 0) << "askYesNo returned at the end of input";
  kill(child, SIGKILL);
  rusage usage{};
  wait4(child, &statusValue, 0, &usage);
  double cpuSeconds = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                      static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  EXPECT_LT(cpuSeconds, 0.2);
  std::string prompts;
  char block[256];
  ssize_t n;
  while ((n = read(errPipe[0], block, sizeof block)) > 0) prompts.append(block, static_cast<std::size_t>(n));
  close(errPipe[0]);
  EXPECT_EQ(prompts, "go? Y/N? q\ngo? Y/N? ");
}

// Saying yes and no to the confirmation is shown by the end-to-end cases.
TEST(ConfirmAction, FolderThatCannotTakeFilesGivesZeroAndSaysWhy) {
  projectPath.Set("/nonexistent-folder/map.pew");
  runOptions.yes = 1;
  Captured run = captureRun([] { return confirmAction("Reducing"); });
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "cannot save the project: cannot add a file to /nonexistent-folder/: No such file or "
                     "directory; the project is unchanged\n");
  runOptions.yes = 0;
}

TEST(FormatText, FormatsAndCutsAtFormatLengthPlus1023) {
  std::string out;
  formatText(out, "%d-%s", 7, "x");
  EXPECT_EQ(out, "7-x");
  std::string big(5000, 'a');
  formatText(out, "%s12345678", big.c_str());  // a format of ten characters
  EXPECT_EQ(out.size(), 1033u);
  EXPECT_EQ(out, big.substr(0, 1033));
  formatText(out, nullptr);
  EXPECT_EQ(out, "");
}

}  // namespace
