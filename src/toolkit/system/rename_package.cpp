#include "system/rename_package.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "system/file_calls.h"
#include "system/file_string.h"
#include "status.h"
#include "system/temporary_files.h"

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

// Gives the new file `fd` the old file's owner and group (where this user
// may: root any, others a group they belong to), its permissions, and its
// extended attributes (those this user may set).
void keepOwnership(int fd, const std::string& old, const struct stat& info) {
  // Where the owner is not ours to give away, the file becomes this user's,
  // in the old group if this user belongs to it.
  if (fchown(fd, info.st_uid, info.st_gid) != 0) (void)fchown(fd, static_cast<uid_t>(-1), info.st_gid);
  fchmod(fd, info.st_mode & 07777);  // after chown, which may clear set-id bits
  ssize_t size = listxattr(old.c_str(), nullptr, 0);
  if (size <= 0) return;
  std::vector<char> names(static_cast<std::size_t>(size));
  size = listxattr(old.c_str(), names.data(), names.size());
  for (ssize_t at = 0; at < size; at += static_cast<ssize_t>(std::strlen(names.data() + at)) + 1) {
    const char* name = names.data() + at;
    ssize_t length = getxattr(old.c_str(), name, nullptr, 0);
    if (length < 0) continue;
    std::vector<char> value(static_cast<std::size_t>(length));
    length = getxattr(old.c_str(), name, value.data(), value.size());
    if (length >= 0) fsetxattr(fd, name, value.data(), static_cast<std::size_t>(length), 0);
  }
}

// Copies `from` to the new file `to` and syncs it, for file systems that
// cannot make hard links; the copy keeps the old file's owner, permissions
// and extended attributes.
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
  for (std::size_t got; ok;) {
    ok = readSome(in, block.data(), block.size(), got) == 0;
    if (got == 0) break;
    ok = ok && writeWhole(out, block.data(), got) == 0;
  }
  struct stat info;
  if (ok && fstat(in, &info) == 0) keepOwnership(out, from, info);
  if (ok) ok = syncWhole(out) == 0;
  if (close(out) != 0) ok = false;
  close(in);
  if (!ok) unlink(to.c_str());
  return ok;
}

}  // namespace

RenamePackageA::~RenamePackageA() { discard(); }

void RenamePackageA::discard() {
  if (pending_) {
    unlink(temp_.c_str());
    releaseTemporary(temp_);
  }
  pending_ = false;
}

bool RenamePackageA::fail(const std::string& what, int error) {
  error_ = what + ": " + std::strerror(error);
  return false;
}

int RenamePackageA::rnp_BuildOutputs(int backup, const char* path, const char* ext, void*, void*) {
  discard();
  named_ = false;
  error_.clear();
  if (!path || !*path) return fail("no project name", EINVAL);
  FileStringA name(path);
  name.fs_AddExt(ext, 0);
  final_ = name.Get();
  if (final_.substr(folderOf(final_).size()).empty()) return fail(final_, EISDIR);

  // A link is followed to the file it leads to, which the rename replaces.
  target_ = final_;
  struct stat info;
  if (lstat(final_.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
    char resolved[PATH_MAX];
    if (!realpath(final_.c_str(), resolved)) return fail(final_ + " is a link that leads nowhere", errno);
    target_ = resolved;
  }
  if (stat(target_.c_str(), &info) == 0 && !S_ISREG(info.st_mode))
    return fail(final_ + " exists and is not a regular file", S_ISDIR(info.st_mode) ? EISDIR : EINVAL);
  folder_ = folderOf(target_);
  if (access(folder_.empty() ? "." : folder_.c_str(), W_OK | X_OK) != 0)
    return fail("cannot add a file to " + (folder_.empty() ? std::string(".") : folder_), errno);

  temp_ = freeName(folder_, "." + target_.substr(folder_.size()) + ".tmp");
  holdTemporary(temp_);
  backupName_ = final_ + ".bak";
  backup_ = backup != 0;
  named_ = pending_ = true;
  return named_;
}

const char* RenamePackageA::rnp_GetFileName(int index) const {
  if (!named_) return "";
  if (index == 3) return temp_.c_str();
  if (index == 1) return final_.c_str();
  return "";
}

bool RenamePackageA::makeBackup() {
  // Stage the old file under a name of our own first, by a hard link (or a
  // copy where links are not possible), then move it onto the backup name:
  // the project's name never stops holding the old file, and an older
  // backup is replaced in one step.
  std::string backupFolder = folderOf(backupName_);
  std::string staging = freeName(backupFolder, "." + backupName_.substr(backupFolder.size()) + ".tmp");
  holdTemporary(staging);
  bool ok = link(target_.c_str(), staging.c_str()) == 0 || copyFile(target_, staging);
  if (!ok) fail("cannot keep the old project as " + backupName_, errno);
  if (ok && rename(staging.c_str(), backupName_.c_str()) != 0) {
    fail("cannot keep the old project as " + backupName_, errno);
    unlink(staging.c_str());
    ok = false;
  }
  releaseTemporary(staging);
  return ok;
}

int RenamePackageA::rnp_CloseOutputs(int status) {
  error_.clear();
  if (!pending_) {
    if (status != status::kOk) return status;
    fail("nothing was prepared", EINVAL);
    return status::kCannotWrite;
  }
  if (status != status::kOk) {
    discard();
    return status;
  }

  int fd = open(temp_.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat written;
  bool ok = fd != -1 && fstat(fd, &written) == 0 && S_ISREG(written.st_mode);
  if (!ok) fail("the new project is missing", fd == -1 ? errno : EINVAL);
  struct stat old;
  bool oldExists = stat(target_.c_str(), &old) == 0;
  if (ok && oldExists) keepOwnership(fd, target_, old);
  if (int error = ok ? syncWhole(fd) : 0; error != 0) ok = fail("cannot write the new project to disk", error);
  if (fd >= 0) close(fd);

  // The backup keeps the project as it was before this package first
  // replaced it: later saves of the same run leave it alone.
  bool firstSave = backedUp_.insert(backupName_).second;
  if (ok && backup_ && oldExists && firstSave) ok = makeBackup();
  if (ok && rename(temp_.c_str(), target_.c_str()) != 0) ok = fail("cannot replace " + final_, errno);
  if (!ok) {
    if (firstSave) backedUp_.erase(backupName_);  // the project is unchanged: the next save backs up
    discard();
    return status::kCannotWrite;
  }
  releaseTemporary(temp_);
  pending_ = false;
  std::string fileName = target_.substr(folder_.size());
  removeStaleTemporaries(folder_, "." + fileName + ".tmp-");
  std::string backupFolder = folderOf(backupName_);
  removeStaleTemporaries(backupFolder, "." + backupName_.substr(backupFolder.size()) + ".tmp-");
  syncFolderOf(target_);
  return status::kOk;
}
