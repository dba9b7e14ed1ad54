#include "system/temporary_files.h"

#include <dirent.h>
#include <limits.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {

// A fixed table, so that the signal handler only reads memory that is never
// freed or moved. A slot is filled before it is marked used and marked free
// before it is reused.
constexpr int kSlots = 8;
struct Slot {
  std::atomic<bool> used{false};
  char path[PATH_MAX];
};
Slot slots[kSlots];

// SIGBUS: a project is read through a mapping of its file, and a file cut
// short by another program while it is mapped faults on the missing pages.
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGBUS};

void removeAndResend(int signal) {
  int saved = errno;
  for (Slot& slot : slots)
    if (slot.used.load()) unlink(slot.path);
  errno = saved;
  if (signal == SIGBUS) {
    static const char kWhy[] = "\nerror: a file being read was cut short by another program; nothing was written\n";
    ssize_t ignored = write(STDERR_FILENO, kWhy, sizeof kWhy - 1);
    (void)ignored;
  }
  // End the way the signal would have ended us without the handler.
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
  raise(signal);
}

// Installs the handlers, once: the first temporary file of the run calls it.
void installHandlers() {
  struct sigaction action {};
  action.sa_handler = removeAndResend;
  sigemptyset(&action.sa_mask);
  for (int s : kSignals) sigaddset(&action.sa_mask, s);  // one cleanup at a time
  for (int s : kSignals) {
    struct sigaction previous {};
    if (sigaction(s, nullptr, &previous) != 0 || previous.sa_handler == SIG_IGN) continue;
    sigaction(s, &action, nullptr);
  }
}

// True for "<pid>" or "<pid>-<counter>" as this code writes them (no
// leading zeros), with the pid in `pid`.
bool parseOwner(const std::string& text, long* pid) {
  const char* start = text.c_str();
  char* end = nullptr;
  if (*start < '1' || *start > '9') return false;
  errno = 0;
  *pid = std::strtol(start, &end, 10);
  if (errno != 0) return false;
  if (*end == '-') {
    const char* counter = end + 1;
    if (*counter < '1' || *counter > '9') return false;
    std::strtol(counter, &end, 10);
  }
  return *end == '\0';
}

}  // namespace

void holdTemporary(const std::string& path) {
  if (path.size() >= PATH_MAX) return;
  static std::once_flag installed;
  std::call_once(installed, installHandlers);
  for (Slot& slot : slots) {
    if (slot.used.load()) continue;
    std::memcpy(slot.path, path.c_str(), path.size() + 1);
    slot.used.store(true);
    return;
  }
}

void releaseTemporary(const std::string& path) {
  for (Slot& slot : slots)
    if (slot.used.load() && path == slot.path) slot.used.store(false);
}

void removeStaleTemporaries(const std::string& folder, const std::string& prefix, const std::string& suffix) {
  DIR* dir = opendir(folder.empty() ? "." : folder.c_str());
  if (!dir) return;
  while (const dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name.size() <= prefix.size() + suffix.size() || name.compare(0, prefix.size(), prefix) != 0 ||
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0)
      continue;
    long pid = 0;
    if (!parseOwner(name.substr(prefix.size(), name.size() - prefix.size() - suffix.size()), &pid)) continue;
    if (pid == getpid() || kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH) continue;
    std::string path = folder + name;
    struct stat info;
    if (lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) unlink(path.c_str());
  }
  closedir(dir);
}
