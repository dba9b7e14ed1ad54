#include "system/file_tree.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "text/ascii_case.h"

namespace {

unsigned char fold(char c) {
  return static_cast<unsigned char>(foldAscii(c));
}

bool matchFrom(const char* pattern, const char* name) {
  // Iterative wildcard match with one backtracking point for the last '*'.
  const char* starPattern = nullptr;
  const char* starName = nullptr;
  while (*name) {
    if (*pattern == '*') {
      starPattern = ++pattern;
      starName = name;
    } else if (*pattern && (*pattern == '?' || fold(*pattern) == fold(*name))) {
      ++pattern;
      ++name;
    } else if (starPattern) {
      pattern = starPattern;
      name = ++starName;
    } else {
      return false;
    }
  }
  while (*pattern == '*') ++pattern;
  return *pattern == '\0';
}

}  // namespace

bool FileTreeEx::ft_Matches(const char* pattern, const char* name) {
  return matchFrom(pattern ? pattern : "*", name ? name : "");
}

int FileTreeEx::ft_OpenDirNew(const char* folder, const char* pattern, int) {
  entries_.clear();
  current_ = 0;
  std::string base = folder ? folder : "";
  error_.clear();
  DIR* dir = opendir(base.empty() ? "." : base.c_str());
  if (!dir) {
    error_ = (base.empty() ? std::string(".") : base) + ": " + std::strerror(errno);
    return -1;
  }
  std::string prefix = base;
  if (!prefix.empty() && prefix.back() != '/') prefix += '/';
  for (;;) {
    errno = 0;
    dirent* item = readdir(dir);
    if (!item) {
      // A listing cut short must not pass for the whole folder.
      if (errno != 0) error_ = (base.empty() ? std::string(".") : base) + ": " + std::strerror(errno);
      break;
    }
    const char* name = item->d_name;
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
    std::string path = prefix + name;
    struct stat info;
    if (lstat(path.c_str(), &info) != 0) {
      // An entry that cannot be examined (a folder without search
      // permission, a path too long): the walk would miss a project.
      error_ = path + ": " + std::strerror(errno);
      break;
    }
    if (S_ISDIR(info.st_mode)) {
      entries_.push_back({name, path, true});
      continue;
    }
    if (!ft_Matches(pattern, name)) continue;
    if (S_ISLNK(info.st_mode) && stat(path.c_str(), &info) != 0) continue;
    if (S_ISREG(info.st_mode)) entries_.push_back({name, path, false});
  }
  closedir(dir);
  if (!error_.empty()) {
    entries_.clear();
    return -1;
  }
  std::sort(entries_.begin(), entries_.end(),
            [](const Entry& a, const Entry& b) { return a.name < b.name; });
  return entries_.empty() ? 0 : 1;
}

int FileTreeEx::ft_IsDir() const { return current_ < entries_.size() && entries_[current_].folder ? 1 : 0; }

const char* FileTreeEx::ft_GetEntry(int) const {
  return current_ < entries_.size() ? entries_[current_].path.c_str() : "";
}

int FileTreeEx::ft_Next() {
  if (current_ < entries_.size()) ++current_;
  return current_ < entries_.size() ? 1 : 0;
}
