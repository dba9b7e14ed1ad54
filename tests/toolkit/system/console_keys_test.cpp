#include "system/console_keys.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "input_feed.h"
#include "terminal_input.h"

namespace {

TEST(ConsoleKeys, PipedInputGivesOneByteAtATimeThenEof) {
  InputFeed in("a\xff\n");
  EXPECT_FALSE(_kbhit());  // not a terminal: never a key
  // A high byte is a key, not the end; the end stays.
  EXPECT_EQ(std::vector<int>({_getch(), _getch(), _getch(), _getch(), _getch()}),
            std::vector<int>({'a', 0xff, '\n', EOF, EOF}));
}

bool canonicalWithEcho(const termios& t) { return (t.c_lflag & ICANON) && (t.c_lflag & ECHO); }

TEST(ConsoleKeys, TerminalKeyNeedsNoEnterAndSettingsComeBack) {
  TerminalInput terminal;
  if (!terminal.ok()) GTEST_SKIP() << "no pseudo-terminal here";
  ASSERT_TRUE(canonicalWithEcho(terminal.settings()));
  EXPECT_EQ(_kbhit(), 0);
  terminal.type("k");  // no Enter
  EXPECT_EQ(_kbhit(), 1);
  EXPECT_EQ(_getch(), 'k');
  EXPECT_EQ(_kbhit(), 0);
  EXPECT_TRUE(canonicalWithEcho(terminal.settings()));
}

// Waits (up to five seconds) until the terminal is switched for a key.
bool switched(const TerminalInput& terminal) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (canonicalWithEcho(terminal.settings()) && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return !canonicalWithEcho(terminal.settings());
}

// A handled signal does not end the wait for a key; a terminal that goes
// away does, as the end of the input.
TEST(ConsoleKeys, TerminalWaitOutlastsSignalsAndEndsWhenTheTerminalGoes) {
  for (bool hangUp : {false, true}) {
    TerminalInput terminal;
    if (!terminal.ok()) GTEST_SKIP() << "no pseudo-terminal here";
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      terminal.hangUp();  // the child holds only its own side
      struct sigaction action {};
      action.sa_handler = [](int) {};  // handled, and reads are not restarted
      sigaction(SIGUSR1, &action, nullptr);
      alarm(10);
      _exit(_getch() & 0xff);
    }
    ASSERT_TRUE(switched(terminal)) << "the child never switched the terminal";
    if (hangUp) {
      terminal.hangUp();
    } else {
      kill(child, SIGUSR1);
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      ASSERT_TRUE(switched(terminal));
      terminal.type("k");
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status)) << "the child was still waiting";
    EXPECT_EQ(WEXITSTATUS(status), hangUp ? (EOF & 0xff) : 'k');
  }
}

TEST(ConsoleKeys, TerminalSettingsComeBackWhenTheWaitIsKilled) {
  TerminalInput terminal;
  if (!terminal.ok()) GTEST_SKIP() << "no pseudo-terminal here";
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    _getch();
    _exit(0);
  }
  // Wait until the child has switched the terminal, then interrupt it.
  ASSERT_TRUE(switched(terminal)) << "the child never switched the terminal";
  kill(child, SIGTERM);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
  EXPECT_TRUE(canonicalWithEcho(terminal.settings()));
}

}  // namespace
