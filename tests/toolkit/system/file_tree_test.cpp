#include "system/file_tree.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "temp_dir.h"

namespace {

std::vector<std::string> list(const std::string& folder, int& opened) {
  std::vector<std::string> seen;
  FileTreeEx tree;
  opened = tree.ft_OpenDirNew(folder.c_str(), "*.pew", 0);
  if (opened != 1) return seen;
  do {
    seen.push_back(std::string(tree.ft_IsDir() ? "dir " : "file ") + tree.ft_GetEntry(1));
  } while (tree.ft_Next());
  EXPECT_EQ(tree.ft_Next(), 0);
  return seen;
}

TEST(FileTreeEx, ListsFoldersAndMatchingFilesInByteOrder) {
  TempDir dir;
  for (const char* name : {"b.pew", "a.pew", "B.pew", "MAP.PEW", "notes.txt", "map.pew.bak", "x.pewx"})
    writeFileText(dir.file(name), "");
  for (const char* name : {"sub", "Zed", "folder.pew"}) mkdir(dir.file(name).c_str(), 0755);
  symlink(dir.file("a.pew").c_str(), dir.file("link.pew").c_str());
  symlink(dir.file("sub").c_str(), dir.file("loop.pew").c_str());
  int opened;
  std::string base = dir.path().string() + "/";
  EXPECT_EQ(list(dir.path().string(), opened),
            (std::vector<std::string>{"file " + base + "B.pew", "file " + base + "MAP.PEW",
                                      "dir " + base + "Zed", "file " + base + "a.pew",
                                      "file " + base + "b.pew", "dir " + base + "folder.pew",
                                      "file " + base + "link.pew", "dir " + base + "sub"}));
  EXPECT_EQ(opened, 1);
  // The same listing through a folder name that ends in '/'.
  EXPECT_EQ(list(base, opened).front(), "file " + base + "B.pew");
}

TEST(FileTreeEx, EmptyAndUnreadableFolders) {
  TempDir dir;
  writeFileText(dir.file("readme.txt"), "");
  int opened[3];
  EXPECT_TRUE(list(dir.path().string(), opened[0]).empty());
  list(dir.file("missing"), opened[1]);
  list(dir.file("readme.txt"), opened[2]);
  EXPECT_EQ(std::vector<int>(opened, opened + 3), (std::vector<int>{0, -1, -1}));
  // A folder that can be listed but whose entries cannot be looked at (read
  // permission without search permission) is a failure, not an empty folder.
  std::string locked = dir.file("locked");
  mkdir(locked.c_str(), 0755);
  writeFileText(locked + "/a.pew", "");
  chmod(locked.c_str(), 0444);
  chmod(dir.path().c_str(), 0755);  // mkdtemp's 0700 would keep the other user out of everything
  if (geteuid() == 0 && chown(locked.c_str(), 65534, 65534) != 0) GTEST_SKIP();
  pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && setuid(65534) != 0) _exit(2);
    FileTreeEx tree;
    _exit(tree.ft_OpenDirNew(locked.c_str(), "*.pew", 0) == -1 &&
                  std::string(tree.ft_GetError()) == locked + "/a.pew: Permission denied"
              ? 0
              : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  chmod(locked.c_str(), 0755);
}

TEST(FileTreeEx, PatternMatching) {
  struct Case {
    const char* pattern;
    const char* name;
    bool match;
  } cases[] = {
      {"*.pew", "map.pew", true},   {"*.pew", "MAP.Pew", true},   {"*.pew", ".pew", true},
      {"*.pew", "map.pe", false},   {"*.pew", "map.pewx", false}, {"*.pew", "a.pew.pew", true},
      {"m?p.*", "map.txt", true},   {"m?p.*", "mp.txt", false},   {"*a*b*", "xxaxxbxx", true},
      {"*a*b", "ab_a", false},      {"*", "", true},              {"", "x", false},
  };
  for (const auto& c : cases) EXPECT_EQ(FileTreeEx::ft_Matches(c.pattern, c.name), c.match) << c.pattern << " " << c.name;
}

}  // namespace
