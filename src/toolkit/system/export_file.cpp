#include "system/export_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "system/file_calls.h"
#include "system/file_string.h"
#include "system/temporary_files.h"
#include "text/utf_convertors.h"

namespace {

bool sameFile(const struct stat& info, const char* other) {
  struct stat otherInfo;
  return other && *other && stat(other, &otherInfo) == 0 && otherInfo.st_dev == info.st_dev &&
         otherInfo.st_ino == info.st_ino;
}

// The file a name leads to once symbolic links are followed; the name
// itself when that cannot be worked out.
std::string resolved(const char* name) {
  char buffer[PATH_MAX];
  return realpath(name, buffer) ? std::string(buffer) : std::string(name);
}

std::string temporaryPrefix(const std::string& target) {
  std::string folder = folderOf(target);
  return "." + target.substr(folder.size()) + ".tmp-";
}

// A name beside `target` that nothing holds yet.
std::string temporaryNameFor(const std::string& target) {
  std::string base = folderOf(target) + temporaryPrefix(target) + std::to_string(getpid());
  std::string name = base;
  struct stat info;
  for (int counter = 2; lstat(name.c_str(), &info) == 0; ++counter) name = base + "-" + std::to_string(counter);
  return name;
}

// Has the system put the file's data on disk before the rename makes it the
// target; returns 0 or the errno of the failure.
int syncFile(const std::string& name) {
  int fd = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno;
  int error = syncWhole(fd);
  ::close(fd);
  return error;
}

// Replacing a file by renaming over it needs only the folder's permission;
// writing it in place would need the file's. Ask for the latter, so that a
// file this user may not write is refused as it would be without the
// temporary file.
bool writable(const char* name) {
  int fd = ::open(name, O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return false;
  ::close(fd);
  return true;
}

}  // namespace

ExportFile::~ExportFile() {
  if (stream_) finish(false);
}

ExportFile::OpenResult ExportFile::open(const char* name, const char* projectFile) {
  if (stream_) finish(false);
  if (!name || !*name) return OpenResult::CannotCreate;
  struct stat info;
  bool exists = stat(name, &info) == 0;
  if (exists && sameFile(info, projectFile)) return OpenResult::IsProject;

  if (!exists || S_ISREG(info.st_mode)) {
    if (exists && !writable(name)) return OpenResult::CannotCreate;
    target_ = exists ? resolved(name) : std::string(name);
    if (exists) dropCachedPages(target_.c_str());
    std::string temporary = temporaryNameFor(target_);
    holdTemporary(temporary);
    stream_ = FileStringA::fs_CreateTextFile(temporary.c_str(), 1);
    if (stream_) {
      temporary_ = temporary;
      if (exists) {
        // The file keeps its permissions and, where this user may set them,
        // its owner and group.
        if (chown(temporary_.c_str(), info.st_uid, info.st_gid) != 0 &&
            chown(temporary_.c_str(), static_cast<uid_t>(-1), info.st_gid) != 0) {
          // not ours to give away: the file becomes this user's
        }
        chmod(temporary_.c_str(), info.st_mode & 07777);
      }
      return OpenResult::Opened;
    }
    releaseTemporary(temporary);
  }

  // A device or pipe, or a folder that takes no temporary file: write the
  // name itself.
  stream_ = FileStringA::fs_CreateTextFile(name, 1);
  if (!stream_) return OpenResult::CannotCreate;
  target_ = name;
  created_ = !exists;
  return OpenResult::Opened;
}

bool ExportFile::openOrSay(const char* name, const char* projectFile, const char* cannotCreate) {
  OpenResult result = open(name, projectFile);
  if (result == OpenResult::Opened) return true;
  std::string shown = utfConvertors::convert_if_local_codepage(name ? name : "");
  std::fprintf(stderr, cannotCreate, shown.c_str());
  if (result == OpenResult::IsProject)
    std::fprintf(stderr, "%s is the open project: an export never writes over it\n", shown.c_str());
  return false;
}

int ExportFile::finish(bool keep) {
  int error = 0;
  if (stream_) {
    errno = 0;
    if (std::fclose(stream_) != 0) error = errno ? errno : EIO;
    stream_ = nullptr;
  }
  if (keep && error == 0 && !temporary_.empty()) {
    error = syncFile(temporary_);
    if (error == 0 && std::rename(temporary_.c_str(), target_.c_str()) != 0) error = errno;
    if (error == 0) syncFolderOf(target_);
  }
  bool replaced = keep && error == 0 && !temporary_.empty();
  if (!keep || error != 0) {
    if (!temporary_.empty()) unlink(temporary_.c_str());
    else if (created_) unlink(target_.c_str());
  }
  if (!temporary_.empty()) releaseTemporary(temporary_);
  if (replaced) removeStaleTemporaries(folderOf(target_), temporaryPrefix(target_));
  temporary_.clear();
  created_ = false;
  return error;
}
