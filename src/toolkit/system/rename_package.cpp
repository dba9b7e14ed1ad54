#include "system/rename_package.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "system/file_string.h"
#include "status.h"

namespace {

bool exists(const std::string& name) {
  struct stat info;
  return lstat(name.c_str(), &info) == 0;
}

// A name in `folder` for a file of our own: `stem` plus the process id, with
// a counter when a stale file from an earlier run holds that name.
std::string freeName(const std::string& folder, const std::string& stem) {
  std::string base = folder + stem + "-" + std::to_string(getpid());
  std::string name = base;
  for (int counter = 2; exists(name); ++counter) name = base + "-" + std::to_string(counter);
  return name;
}

bool syncFile(int fd) {
  while (fsync(fd) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

void syncFolder(const std::string& folder) {
  int fd = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  syncFile(fd);  // best effort: the rename itself has already happened
  close(fd);
}

// Copies `from` to the new file `to` and syncs it; for file systems that
// cannot make hard links.
bool copyFile(const std::string& from, const std::string& to) {
  int in = open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return false;
  int out = open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (out < 0) {
    close(in);
    return false;
  }
  std::vector<char> block(std::size_t{1} << 20);
  bool ok = true;
  for (;;) {
    ssize_t n = read(in, block.data(), block.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ok = n == 0;
      break;
    }
    for (ssize_t done = 0; done < n;) {
      ssize_t w = write(out, block.data() + done, static_cast<std::size_t>(n - done));
      if (w < 0 && errno == EINTR) continue;
      if (w <= 0) {
        ok = false;
        break;
      }
      done += w;
    }
    if (!ok) break;
  }
  struct stat info;
  if (ok && fstat(in, &info) == 0) fchmod(out, info.st_mode & 07777);
  if (ok) ok = syncFile(out);
  if (close(out) != 0) ok = false;
  close(in);
  if (!ok) unlink(to.c_str());
  return ok;
}

// True for "<pid>" or "<pid>-<counter>" (the endings freeName gives), with the
// pid in `pid`.
bool parseOwner(const char* text, long* pid) {
  char* end = nullptr;
  if (*text < '1' || *text > '9') return false;
  errno = 0;
  *pid = std::strtol(text, &end, 10);
  if (errno != 0 || *pid <= 0) return false;
  if (*end == '-') {
    const char* counter = end + 1;
    if (*counter < '1' || *counter > '9') return false;
    std::strtol(counter, &end, 10);
  }
  return *end == '\0';
}

// Removes what killed runs left of their own in `folder` for `fileName`: the
// temporary project ".<name>.tmp-<pid>" and the backup staging name
// ".<name>.bak.tmp-<pid>" (either with a counter), but only regular files
// whose process no longer exists. A process of another user counts as
// existing, and this process's own names are left to it.
void removeStaleTemporaries(const std::string& folder, const std::string& fileName) {
  DIR* dir = opendir(folder.empty() ? "." : folder.c_str());
  if (!dir) return;
  const std::string patterns[] = {"." + fileName + ".tmp-", "." + fileName + ".bak.tmp-"};
  while (const dirent* entry = readdir(dir)) {
    const char* name = entry->d_name;
    for (const std::string& pattern : patterns) {
      long pid = 0;
      if (std::strncmp(name, pattern.c_str(), pattern.size()) != 0 || !parseOwner(name + pattern.size(), &pid)) continue;
      if (pid == getpid() || kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH) continue;
      std::string path = folder + name;
      struct stat info;
      if (lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) unlink(path.c_str());
    }
  }
  closedir(dir);
}

}  // namespace

RenamePackageA::~RenamePackageA() { discard(); }

void RenamePackageA::discard() {
  if (pending_) unlink(temp_.c_str());
  pending_ = false;
}

int RenamePackageA::rnp_BuildOutputs(int backup, const char* path, const char* ext, void*, void*) {
  discard();
  named_ = false;
  if (!path || !*path) return 0;
  FileStringA name(path);
  name.fs_AddExt(ext, 0);
  final_ = name.Get();
  std::size_t slash = final_.rfind('/');
  folder_ = slash == std::string::npos ? "" : final_.substr(0, slash + 1);
  std::string fileName = final_.substr(folder_.size());
  if (fileName.empty()) return 0;

  struct stat info;
  if (stat(final_.c_str(), &info) == 0 && !S_ISREG(info.st_mode)) return 0;
  if (access(folder_.empty() ? "." : folder_.c_str(), W_OK | X_OK) != 0) return 0;

  temp_ = freeName(folder_, "." + fileName + ".tmp");
  backupName_ = final_ + ".bak";
  backup_ = backup != 0;
  named_ = pending_ = true;
  return 1;
}

const char* RenamePackageA::rnp_GetFileName(int index) const {
  if (!named_) return "";
  if (index == 3) return temp_.c_str();
  if (index == 1) return final_.c_str();
  return "";
}

bool RenamePackageA::makeBackup() const {
  // Stage the old file under a name of our own first, by a hard link (or a
  // copy where links are not possible), then move it onto the backup name:
  // the project's name never stops holding the old file, and an older
  // backup is replaced in one step.
  std::string staging = freeName(folder_, "." + final_.substr(folder_.size()) + ".bak.tmp");
  if (link(final_.c_str(), staging.c_str()) != 0 && !copyFile(final_, staging)) return false;
  if (rename(staging.c_str(), backupName_.c_str()) != 0) {
    unlink(staging.c_str());
    return false;
  }
  return true;
}

int RenamePackageA::rnp_CloseOutputs(int status) {
  if (!pending_) return status != status::kOk ? status : status::kCannotWrite;
  if (status != status::kOk) {
    discard();
    return status;
  }

  int fd = open(temp_.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat written;
  bool ok = fd >= 0 && fstat(fd, &written) == 0 && S_ISREG(written.st_mode);
  struct stat old;
  bool oldExists = stat(final_.c_str(), &old) == 0;
  if (ok && oldExists) fchmod(fd, old.st_mode & 07777);  // keep the project's permissions
  if (ok) ok = syncFile(fd);
  if (fd >= 0) close(fd);

  if (ok && backup_ && oldExists) ok = makeBackup();
  if (ok) ok = rename(temp_.c_str(), final_.c_str()) == 0;
  if (!ok) {
    discard();
    return status::kCannotWrite;
  }
  pending_ = false;
  removeStaleTemporaries(folder_, final_.substr(folder_.size()));
  syncFolder(folder_);
  return status::kOk;
}
