// RenamePackageA: the output names for rewriting a project file safely.
//
// The new project is written to a temporary file in the project's own folder
// and only then renamed onto the project's name, so the old file is replaced
// in one step and is never seen half-written. With a backup, the old file
// becomes "<name>.bak" (replacing an older backup of that name) while the
// project's name keeps pointing at a complete file throughout. One package
// makes the backup of a name once: a run that saves a project twice keeps
// the project as it was before the run, not the first save's result.
//
// A project reached through a symbolic link is written where the link leads
// (the link stays a link). The new file keeps the old one's permissions and,
// where this user may set them, its owner, group and extended attributes.
// Other hard links of the old file keep the old content.
#pragma once

#include <set>
#include <string>

class RenamePackageA {
 public:
  RenamePackageA() = default;
  ~RenamePackageA();
  RenamePackageA(const RenamePackageA&) = delete;
  RenamePackageA& operator=(const RenamePackageA&) = delete;

  // Prepares the names for rewriting `path`, given the extension `ext`
  // ("pew") the way FileStringA::fs_AddExt(ext, 0) adds it. The temporary
  // name is ".<file name>.tmp-<process id>" in the same folder (with a
  // counter when that is taken); nothing is created yet. Returns non-zero
  // when ready; 0 when the folder cannot take new files or the name is held
  // by something other than a regular file (rnp_GetError says why). The two
  // pointers are unused.
  int rnp_BuildOutputs(int backup, const char* path, const char* ext, void* reserved1, void* reserved2);

  // 3: the temporary file to write now; 1: the file that holds the new
  // project once the outputs are closed. The names stay readable after
  // closing, until the next rnp_BuildOutputs. "" for other indexes or when
  // nothing was prepared.
  const char* rnp_GetFileName(int index) const;

  // Finishes the rewrite. With `status` 0 the temporary file is synced to
  // disk, the backup (if asked for and an old file exists) is made, and the
  // temporary file is renamed onto the final name; any failure removes the
  // temporary file, leaves the old project as it was and returns
  // status::kCannotWrite. With a non-zero `status` the temporary file is
  // removed and `status` is returned unchanged. After a successful rename,
  // temporary files of this project left by killed runs (the patterns above,
  // of a process that no longer exists) are removed as well.
  int rnp_CloseOutputs(int status);

  // Why the last rnp_BuildOutputs or rnp_CloseOutputs failed, in words (the
  // system's reason); "" after success or when the caller's status failed.
  const char* rnp_GetError() const { return error_.c_str(); }

 private:
  bool makeBackup();
  bool fail(const std::string& what, int error);
  void discard();

  bool named_ = false;    // the names below are valid
  bool pending_ = false;  // prepared and not yet closed: the temp file is ours
  bool backup_ = false;
  std::string folder_;
  std::string final_;   // the name as given
  std::string target_;  // the file it leads to, written by the rename
  std::string temp_;
  std::string backupName_;
  std::string error_;
  std::set<std::string> backedUp_;  // backup names already made by this package
};
