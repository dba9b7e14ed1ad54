#include "system/console_keys.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iterator>

#include "system/file_calls.h"

namespace {

constexpr int kRestoreSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr int kSignalCount = static_cast<int>(std::size(kRestoreSignals));

// State the signal handler needs; set only while a RawTerminal is alive.
struct termios savedSettings;
volatile sig_atomic_t settingsChanged = 0;
struct sigaction previousActions[kSignalCount];
bool handlerInstalled[kSignalCount];

void restoreAndResend(int signal) {
  if (settingsChanged) {
    tcsetattr(STDIN_FILENO, TCSANOW, &savedSettings);
    settingsChanged = 0;
  }
  for (int i = 0; i < kSignalCount; ++i) {
    if (kRestoreSignals[i] == signal && handlerInstalled[i]) {
      sigaction(signal, &previousActions[i], nullptr);
      handlerInstalled[i] = false;
    }
  }
  // The signal is blocked while this handler runs; it is delivered again,
  // to its previous disposition, as soon as the handler returns.
  raise(signal);
}

// Non-canonical input without echo for the lifetime of the object, with the
// terminal put back by the destructor or by a terminating signal.
class RawTerminal {
 public:
  explicit RawTerminal(const termios& saved) {
    savedSettings = saved;
    struct sigaction action {};
    action.sa_handler = restoreAndResend;
    sigemptyset(&action.sa_mask);
    for (int i = 0; i < kSignalCount; ++i) {
      handlerInstalled[i] = false;
      struct sigaction previous {};
      if (sigaction(kRestoreSignals[i], nullptr, &previous) != 0) continue;
      if (previous.sa_handler == SIG_IGN) continue;  // nothing will interrupt
      if (sigaction(kRestoreSignals[i], &action, &previousActions[i]) == 0) handlerInstalled[i] = true;
    }
    termios raw = saved;
    raw.c_lflag &= static_cast<tcflag_t>(~(ICANON | ECHO));
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    settingsChanged = 1;
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
  }
  ~RawTerminal() {
    if (settingsChanged) {
      tcsetattr(STDIN_FILENO, TCSANOW, &savedSettings);
      settingsChanged = 0;
    }
    for (int i = 0; i < kSignalCount; ++i) {
      if (handlerInstalled[i]) sigaction(kRestoreSignals[i], &previousActions[i], nullptr);
      handlerInstalled[i] = false;
    }
  }
  RawTerminal(const RawTerminal&) = delete;
  RawTerminal& operator=(const RawTerminal&) = delete;
};

int readOneByte() {
  unsigned char key;
  std::size_t got;
  return readSome(STDIN_FILENO, &key, 1, got) == 0 && got == 1 ? key : EOF;
}

}  // namespace

int _getch() {
  termios saved;
  if (!isatty(STDIN_FILENO) || tcgetattr(STDIN_FILENO, &saved) != 0) return readOneByte();
  // After a handled signal the terminal is switched again before reading on:
  // a stop and continue (Ctrl-Z, fg) may have had the shell reset it.
  for (;;) {
    unsigned char key;
    ssize_t n;
    int error;
    {
      RawTerminal raw(saved);
      n = read(STDIN_FILENO, &key, 1);
      error = n < 0 ? errno : 0;
    }
    if (n == 1) return key;
    if (error != EINTR) return EOF;  // the end, or the terminal has gone
  }
}

int _kbhit() {
  termios saved;
  if (!isatty(STDIN_FILENO) || tcgetattr(STDIN_FILENO, &saved) != 0) return 0;
  // A key typed in canonical mode waits for Enter; without canonical mode it
  // is readable at once, so look while the terminal is switched.
  RawTerminal raw(saved);
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, 0) > 0 && (input.revents & POLLIN) ? 1 : 0;
}
