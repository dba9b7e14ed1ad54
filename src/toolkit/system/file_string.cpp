#include "system/file_string.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

#include "system/buffered_file.h"
#include "system/input_file.h"
#include "text/ascii_case.h"
#include "text/utf_convertors.h"

namespace {

struct NameParts {
  std::string_view folder, name, extension;  // extension keeps its dot
};

NameParts split(std::string_view path) {
  std::size_t slash = path.find_last_of("/\\");
  std::size_t start = slash == std::string_view::npos ? 0 : slash + 1;
  NameParts parts;
  parts.folder = path.substr(0, start);
  std::string_view last = path.substr(start);
  std::size_t dot = last.rfind('.');
  if (dot == std::string_view::npos) {
    parts.name = last;
  } else {
    parts.name = last.substr(0, dot);
    parts.extension = last.substr(dot);
  }
  return parts;
}

std::string_view withoutDot(const char* ext) {
  std::string_view e = ext ? ext : "";
  if (!e.empty() && e.front() == '.') e.remove_prefix(1);
  return e;
}

bool sameIgnoringAsciiCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (foldAscii(a[i]) != foldAscii(b[i])) return false;
  }
  return true;
}

}  // namespace

const char* FileStringA::fs_Extract(int parts, const char* path) {
  std::string source(path ? path : Get());
  NameParts p = split(source);
  std::string result;
  if (parts & kFolder) result += p.folder;
  if (parts & kName) result += p.name;
  if (parts & kExtension) result += p.extension;
  Set(result);
  return Get();
}

void FileStringA::fs_AddExt(const char* ext, int force) {
  std::string_view e = withoutDot(ext);
  std::string text(Get());
  NameParts p = split(text);
  if (!p.extension.empty() && !force) return;
  std::string result = std::string(p.folder) + std::string(p.name);
  if (!e.empty()) result += "." + std::string(e);
  Set(result);
}

void FileStringA::fs_RemoveExt(const char* ext) {
  std::string text(Get());
  NameParts p = split(text);
  if (p.extension.empty()) return;
  std::string_view only = withoutDot(ext);
  if (!only.empty() && !sameIgnoringAsciiCase(p.extension.substr(1), only)) return;
  Set(std::string(p.folder) + std::string(p.name));
}

void FileStringA::fs_ReplaceExt(const char* ext) { fs_AddExt(ext, 1); }

int FileStringA::fs_FolderExists(int) const {
  struct stat info;
  return stat(Get(), &info) == 0 && S_ISDIR(info.st_mode) ? 1 : 0;
}

int FileStringA::fs_FileExists(const char* name) const {
  struct stat info;
  return stat(name ? name : Get(), &info) == 0 && !S_ISDIR(info.st_mode) ? 1 : 0;
}

int FileStringA::fs_unlink(const char* name) const { return unlink(name ? name : Get()); }

FILE* FileStringA::fs_CreateTextFile(const char* name, int) {
  return name ? openBufferedWriter(name) : nullptr;
}

FILE* FileStringA::fs_open_file(const char* name, std::string* problem) {
  int fd = openInputFile(name, problem);
  if (fd < 0) return nullptr;
  FILE* file = fdopen(fd, "rb");
  if (!file) {
    if (problem) *problem = std::strerror(errno);
    close(fd);
  }
  return file;
}

long FileStringA::fs_GetFileDate(const char* name) const {
  struct stat info;
  if (stat(name ? name : Get(), &info) != 0) return 0;
  return static_cast<long>(info.st_mtime);
}

int FileStringA::fs_CompareFilenameExtOnly(const char* other) const {
  std::string mine(Get());
  std::string theirs(other ? other : "");
  for (std::string* name : {&mine, &theirs})
    for (char& c : *name)
      if (c == '/') c = '\\';
  return sameIgnoringAsciiCase(mine, theirs) ? 1 : 0;
}

const char* FileStringA::fs_convert_to_utf8(const char* text) {
  std::string source(text ? text : Get());
  if (!utfConvertors::is_valid_utf8(source.data(), source.size())) {
    source = utfConvertors::sbcs_to_utf8(source.data(), source.size());
  }
  Set(source);
  return Get();
}
