// A pseudo-terminal as standard input for the length of a test.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

class TerminalInput {
 public:
  TerminalInput() {
    master_ = posix_openpt(O_RDWR | O_NOCTTY);
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) return;
    slave_ = open(ptsname(master_), O_RDWR | O_NOCTTY);
    if (slave_ < 0) return;
    saved_ = dup(STDIN_FILENO);
    dup2(slave_, STDIN_FILENO);
  }
  ~TerminalInput() {
    if (saved_ >= 0) dup2(saved_, STDIN_FILENO);
    for (int fd : {saved_, slave_, master_})
      if (fd >= 0) close(fd);
  }
  TerminalInput(const TerminalInput&) = delete;
  TerminalInput& operator=(const TerminalInput&) = delete;
  bool ok() const { return saved_ >= 0; }
  void hangUp() {  // as when the terminal's window is closed
    close(master_);
    master_ = -1;
  }
  void type(const char* keys) { ASSERT_GT(write(master_, keys, std::strlen(keys)), 0); }
  // Types `keys` without line editing and waits until they can be read: the
  // keys travel to the terminal side asynchronously.
  bool typeAhead(const char* keys) {
    termios t = settings();
    t.c_lflag &= static_cast<tcflag_t>(~ICANON);
    tcsetattr(slave_, TCSANOW, &t);
    if (write(master_, keys, std::strlen(keys)) <= 0) return false;
    pollfd arrived{slave_, POLLIN, 0};
    return poll(&arrived, 1, 5000) == 1;
  }
  bool keyWaiting() const {
    pollfd waiting{STDIN_FILENO, POLLIN, 0};
    return poll(&waiting, 1, 0) == 1;
  }
  termios settings() const {
    termios t{};
    tcgetattr(slave_, &t);
    return t;
  }

 private:
  int master_ = -1, slave_ = -1, saved_ = -1;
};
