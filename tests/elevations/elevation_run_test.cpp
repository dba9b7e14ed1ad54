// The elevation import on a terminal: a key press abandons it.
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "elevation_test_support.h"
#include "elevations/elevation_import.h"
#include "stream_capture.h"
#include "temp_dir.h"

namespace {

// Standard input is a terminal on which a key has been typed.
class TypedKey {
 public:
  explicit TypedKey(char key) {
    if (openpty(&controller_, &terminal_, nullptr, nullptr, nullptr) != 0) return;
    termios settings;
    tcgetattr(terminal_, &settings);
    settings.c_lflag &= static_cast<tcflag_t>(~ICANON);
    tcsetattr(terminal_, TCSANOW, &settings);
    if (write(controller_, &key, 1) != 1) return;
    // The key travels to the terminal side asynchronously: wait for it.
    pollfd arrived{terminal_, POLLIN, 0};
    if (poll(&arrived, 1, 5000) != 1) return;
    saved_ = dup(STDIN_FILENO);
    dup2(terminal_, STDIN_FILENO);
  }
  ~TypedKey() {
    if (saved_ >= 0) {
      dup2(saved_, STDIN_FILENO);
      close(saved_);
    }
    if (terminal_ >= 0) close(terminal_);
    if (controller_ >= 0) close(controller_);
  }
  TypedKey(const TypedKey&) = delete;
  TypedKey& operator=(const TypedKey&) = delete;
  bool ready() const { return saved_ >= 0; }
  bool keyLeft() const {
    pollfd waiting{STDIN_FILENO, POLLIN, 0};
    return poll(&waiting, 1, 0) == 1;
  }

 private:
  int controller_ = -1, terminal_ = -1, saved_ = -1;
};

}  // namespace

TEST(ElevationRun, AKeyPressedAtTheConsoleAbandonsAnAscImport) {
  Vorlan project;
  makeGrid(project, 2, 2, 10.0f, {1, 2, 3, 4});
  TempDir dir;
  writeFileText(dir.file("new.asc"), ascHeader(2, 2, "10.0") + "5 6 7 8");
  TypedKey key('q');
  if (!key.ready()) GTEST_SKIP() << "no pseudo-terminal here";
  StreamCapture out(stdout);
  int result = readElevationFile(project, dir.file("new.asc").c_str());
  std::string outText = out.finish();
  EXPECT_EQ(result, 1);
  EXPECT_EQ(outText.substr(outText.size() - 1), ".");  // stopped before the first row was read
  EXPECT_FALSE(key.keyLeft());                          // the key was taken
  EXPECT_EQ(heightsOf(project), (std::vector<float>{1, 2, 3, 4}));
  // With no key waiting, the same terminal lets the import run through.
  StreamCapture again(stdout);
  result = readElevationFile(project, dir.file("new.asc").c_str());
  again.finish();
  EXPECT_EQ(result, 0);
  EXPECT_EQ(heightsOf(project), (std::vector<float>{5, 6, 7, 8}));
}
