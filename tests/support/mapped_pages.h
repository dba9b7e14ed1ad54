// A mapped file of whole pages of one byte, for the tests of what happens to
// a mapping's pages.
#pragma once

#include <unistd.h>

#include <string>

#include "system/mapped_file.h"
#include "temp_dir.h"

inline const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));

// Maps a file of `pages` pages of `fill`.
inline bool mapPages(MappedFile& file, const TempDir& dir, std::size_t pages, char fill) {
  writeFileText(dir.file("pages"), std::string(pages * page, fill));
  return file.open(dir.file("pages").c_str()) == 0 && file.size() == pages * page;
}
