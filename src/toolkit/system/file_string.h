// The system folder: file names and file operations (FileStringA), whole
// files in and out (KelFileIO, ByteSource, ByteSink, buffered files), folder
// listings (FileTreeEx), output renaming with backups (RenamePackageA) and the
// console's single keys. It may use the text folder, nothing above it.
//
// FileStringA: a CString8 that holds a file name, with the file-name and file
// operations the program needs.
//
// Name parts: folders end at the last '/' or '\' (model file names in
// projects are Windows paths, file names on this system use '/'); the
// extension is what follows the last '.' of the last part, and a name "has"
// an extension as soon as that part holds a '.'.
#pragma once

#include <cstdio>
#include <string>

#include "text/cstring8.h"

class FileStringA : public CString8 {
 public:
  using CString8::CString8;
  FileStringA() = default;

  // Flags for fs_Extract; combine them (12 = name with extension).
  static constexpr int kFolder = 2;     // folders, with the trailing separator
  static constexpr int kName = 4;       // file name without extension
  static constexpr int kExtension = 8;  // extension with its dot

  // The string becomes the selected parts of `path` (of its own text when
  // `path` is null); returns the result.
  const char* fs_Extract(int parts, const char* path);
  // Adds `ext` (".pew" or "pew"). With `force` 0 a name that already has an
  // extension keeps it; otherwise the extension is replaced.
  void fs_AddExt(const char* ext, int force);
  // Removes the extension. With a non-empty `ext` only that extension is
  // removed (ASCII case ignored, dot optional).
  void fs_RemoveExt(const char* ext);
  // Replaces the extension with `ext` (given without dot), adding it when
  // the name has none.
  void fs_ReplaceExt(const char* ext);

  // Non-zero when the string names an existing folder (flags unused, 0).
  int fs_FolderExists(int flags) const;
  // Non-zero when `name` (the string itself when null) names an existing
  // file that is not a folder.
  int fs_FileExists(const char* name) const;
  // Deletes `name` (the string itself when null); 0 on success.
  int fs_unlink(const char* name) const;
  // Creates (or truncates) `name` for binary writing with a large write
  // buffer; null when it cannot be created. Close it with fclose. The
  // second argument is unused (1).
  static FILE* fs_CreateTextFile(const char* name, int mode);
  // Opens `name` for binary reading; null when it cannot be opened or is
  // not a regular file or pipe (input_file.h), with the reason in `problem`
  // when given.
  static FILE* fs_open_file(const char* name, std::string* problem = nullptr);
  // Modification time of `name` (the string itself when null) in seconds
  // since the epoch; 0 when the file cannot be examined.
  long fs_GetFileDate(const char* name) const;
  // Non-zero when the string and `other` name the same model file: the whole
  // names, folders and extension included, are equal with ASCII case ignored
  // and '/' taken as '\'. Folders count because a model's path in the game
  // data is what tells two models apart (the statistics report counts
  // duplicated templates by the whole name too), so models that merely share
  // a file name in different folders stay distinct.
  int fs_CompareFilenameExtOnly(const char* other) const;
  // The string becomes `text` (its own text when null) in UTF-8: valid UTF-8
  // stays as it is, anything else is read as Windows-1252. Returns it.
  const char* fs_convert_to_utf8(const char* text);
};
