// FileTreeEx: one level of a folder listing, for walking a folder tree.
//
// The listing holds the sub-folders and the files whose names match the
// pattern, in byte order of their names, so that every run visits them in
// the same order. The pattern knows '*' and '?' and ignores ASCII case, so
// "*.pew" also finds MAP.PEW as saved by the editor's own platform. Only
// regular files (or links to them) are listed as files; links to folders are
// not listed as folders, so a link cannot lead a walk in circles. The caller
// descends into sub-folders with a listing of its own.
#pragma once

#include <string>
#include <vector>

class FileTreeEx {
 public:
  // Lists `folder`. Returns 1 when the first entry is ready, 0 when there is
  // none, -1 when the folder, or one of its entries, cannot be read
  // (ft_GetError says which and why). `flags` is unused (0).
  int ft_OpenDirNew(const char* folder, const char* pattern, int flags);
  // "<path>: <the system's reason>" after a failed listing, else "".
  const char* ft_GetError() const { return error_.c_str(); }
  // Non-zero when the current entry is a folder.
  int ft_IsDir() const;
  // The full path (folder, '/', name) of the current entry; "" when no
  // entry is current. `parts` is 1, the only form the listing gives.
  const char* ft_GetEntry(int parts) const;
  // Moves to the next entry; 0 when none is left.
  int ft_Next();

  // True when `name` matches `pattern` by the rules above.
  static bool ft_Matches(const char* pattern, const char* name);

 private:
  struct Entry {
    std::string name;
    std::string path;
    bool folder;
  };
  std::vector<Entry> entries_;
  std::size_t current_ = 0;
  std::string error_;
};
