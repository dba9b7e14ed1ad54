// ExportFile: the file an export writes (a text, a picture), replaced only
// when the export succeeds.
//
// An existing regular file is not truncated up front: the output goes to a
// temporary file beside it (created with FileStringA::fs_CreateTextFile),
// which is synced to disk and renamed onto it at the end, so an export that
// fails half-way (a full disk, a write error, an interrupt) or a crash leaves
// the old file as it was and frees the space it took. A name that leads
// through symbolic links is written at the file it leads to. Names that are
// not regular files (a pipe, /dev/null, /dev/full, a terminal) are written
// directly, as are new files in folders we cannot add a temporary file to.
#pragma once

#include <cstdio>
#include <string>

class ExportFile {
 public:
  ExportFile() = default;
  ~ExportFile();
  ExportFile(const ExportFile&) = delete;
  ExportFile& operator=(const ExportFile&) = delete;

  enum class OpenResult { Opened, CannotCreate, IsProject };

  // Prepares the stream for `name`. `projectFile` names the open project: a
  // name that leads to that very file (by any path or link) is refused, so
  // that an export never overwrites the project it was made from. An
  // existing file that this user could not open for writing is refused too.
  OpenResult open(const char* name, const char* projectFile);
  // open(), and when it fails prints `cannotCreate` (a format whose one %s
  // is the name as the console shows it) on standard error, then, for the
  // project's own name, the reason. True when the file is open.
  bool openOrSay(const char* name, const char* projectFile, const char* cannotCreate);
  FILE* stream() const { return stream_; }
  // The file the stream writes now (the temporary file, when there is one).
  const char* writingName() const { return temporary_.empty() ? target_.c_str() : temporary_.c_str(); }

  // Closes the stream. With `keep` the written output becomes the file;
  // without, a file that existed keeps its old content and a new one is
  // removed. Returns 0, or the errno of a failed close, sync or rename (the
  // file then stays as it was, as without `keep`). A kept file also clears
  // the temporary files that killed exports left beside it.
  int finish(bool keep);

 private:
  FILE* stream_ = nullptr;
  std::string target_;     // the file that receives the text
  std::string temporary_;  // empty when writing to target_ directly
  bool created_ = false;   // target_ did not exist before
};
