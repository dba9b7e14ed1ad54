#include "system/rename_package.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "status.h"
#include "temp_dir.h"

namespace {

class RenamePackageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    project = dir.file("map.pew");
    writeFileText(project, "old project");
  }
  // Prepares the outputs and writes `content` where the project is written.
  void write(RenamePackageA& outputs, int backup, const std::string& content) {
    ASSERT_NE(outputs.rnp_BuildOutputs(backup, project.c_str(), "pew", nullptr, nullptr), 0);
    writeFileText(outputs.rnp_GetFileName(3), content);
  }
  TempDir dir;
  std::string project;
};

TEST_F(RenamePackageTest, NamesTheProjectAndAHiddenTemporaryBesideIt) {
  RenamePackageA outputs;
  ASSERT_NE(outputs.rnp_BuildOutputs(0, project.c_str(), "pew", nullptr, nullptr), 0);
  std::string temp = outputs.rnp_GetFileName(3);
  EXPECT_EQ((std::vector<std::string>{outputs.rnp_GetFileName(1), outputs.rnp_GetFileName(2), temp}),
            (std::vector<std::string>{project, "", dir.file(".map.pew.tmp-" + std::to_string(getpid()))}));
  // Nothing is created before the project is written.
  EXPECT_EQ(dir.names(), std::vector<std::string>{"map.pew"});
  // A stale file of that name, left by someone else, is neither reused nor removed.
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kFailed), status::kFailed);
  writeFileText(temp, "stale");
  RenamePackageA other;
  ASSERT_NE(other.rnp_BuildOutputs(0, project.c_str(), "pew", nullptr, nullptr), 0);
  EXPECT_NE(std::string(other.rnp_GetFileName(3)), temp);
  EXPECT_EQ(other.rnp_CloseOutputs(status::kFailed), status::kFailed);
  EXPECT_EQ(readFileText(temp), "stale");
  // Names that are not regular files, or lead nowhere, are refused.
  std::filesystem::create_directory(dir.file("maps.v2"));
  const std::string folder = dir.file("maps.v2"), nowhere = dir.file("none/map.pew");
  for (const char* name : {folder.c_str(), nowhere.c_str(), "", static_cast<const char*>(nullptr)})
    EXPECT_EQ(outputs.rnp_BuildOutputs(1, name, "pew", nullptr, nullptr), 0) << (name ? name : "null");
  EXPECT_STREQ(outputs.rnp_GetFileName(1), "");
  EXPECT_TRUE(std::filesystem::is_directory(dir.file("maps.v2")));
}

// Preparing again drops the first temporary, and so does an abandoned package.
TEST_F(RenamePackageTest, SuccessfulCloseReplacesTheProjectAndKeepsItsPermissions) {
  chmod(project.c_str(), 0640);
  {
    RenamePackageA abandoned;
    write(abandoned, 0, "abandoned");
  }
  RenamePackageA outputs;
  write(outputs, 0, "first attempt");
  write(outputs, 0, "new project");
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  EXPECT_EQ(readFileText(project), "new project");
  EXPECT_EQ(dir.names(), std::vector<std::string>{"map.pew"});
  EXPECT_EQ(std::string(outputs.rnp_GetFileName(1)), project);  // still known for verifying
  EXPECT_EQ(std::filesystem::status(project).permissions(), std::filesystem::perms(0640));
}

// A failed write, a missing temporary file, a second close or one without
// preparing never report success and leave the old project alone.
TEST_F(RenamePackageTest, FailedCloseLeavesTheOldProjectAndNoTemporaryFile) {
  RenamePackageA outputs;
  write(outputs, 1, "half writ");
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kDamaged), status::kDamaged);
  ASSERT_NE(outputs.rnp_BuildOutputs(0, project.c_str(), "pew", nullptr, nullptr), 0);
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kCannotWrite);
  EXPECT_STREQ(outputs.rnp_GetError(), "the new project is missing: No such file or directory");
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kCannotWrite);
  // Something else took the temporary name: a folder is no project.
  ASSERT_NE(outputs.rnp_BuildOutputs(0, project.c_str(), "pew", nullptr, nullptr), 0);
  const std::string taken = outputs.rnp_GetFileName(3);
  ASSERT_EQ(mkdir(taken.c_str(), 0755), 0);
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kCannotWrite);
  EXPECT_STREQ(outputs.rnp_GetError(), "the new project is missing: Invalid argument");
  EXPECT_EQ(rmdir(taken.c_str()), 0) << "the failed close removed what it did not make";
  EXPECT_EQ(RenamePackageA().rnp_CloseOutputs(status::kNotProject), status::kNotProject);
  EXPECT_EQ(readFileText(project), "old project");
  EXPECT_EQ(dir.names(), std::vector<std::string>{"map.pew"});
}

// One run that saves twice (-ROTB) still keeps the project as it was before the run.
TEST_F(RenamePackageTest, BackupKeepsTheProjectOfBeforeTheRunAndReplacesAnOlderBackup) {
  writeFileText(project + ".bak", "older backup");
  RenamePackageA outputs;
  write(outputs, 1, "second");
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  EXPECT_EQ(readFileText(project), "second");
  EXPECT_EQ(readFileText(project + ".bak"), "old project");
  write(outputs, 1, "third");
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  EXPECT_EQ(readFileText(project), "third");
  EXPECT_EQ(readFileText(project + ".bak"), "old project");
  // A project not yet on disk has nothing to keep.
  std::string fresh = dir.file("fresh");
  ASSERT_NE(outputs.rnp_BuildOutputs(1, fresh.c_str(), "pew", nullptr, nullptr), 0);
  writeFileText(outputs.rnp_GetFileName(3), "made");
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  EXPECT_EQ(readFileText(fresh + ".pew"), "made");
  EXPECT_EQ(dir.names(), (std::vector<std::string>{"fresh.pew", "map.pew", "map.pew.bak"}));
}

// Saving through a link writes the file it leads to; the new file keeps the
// old one's owner, group, permissions and extended attributes.
TEST_F(RenamePackageTest, SaveThroughALinkKeepsTheLinkAndWhatTheFileCarries) {
  std::filesystem::create_directory(dir.file("real"));
  std::string target = dir.file("real/map.pew");
  std::filesystem::rename(project, target);
  ASSERT_EQ(symlink("real/map.pew", project.c_str()), 0);
  chmod(target.c_str(), 0640);
  bool owned = geteuid() == 0 && chown(target.c_str(), 4321, 4322) == 0;
  // Three, one of them empty.
  const std::vector<std::pair<std::string, std::string>> attributes = {
      {"user.vorlan", "kept"}, {"user.empty", ""}, {"user.third", "too"}};
  bool tagged = true;
  for (const auto& [name, value] : attributes)
    tagged = tagged && setxattr(target.c_str(), name.c_str(), value.data(), value.size(), 0) == 0;
  RenamePackageA outputs;
  write(outputs, 0, "new");
  EXPECT_EQ(std::filesystem::path(outputs.rnp_GetFileName(3)).parent_path(), dir.file("real"));
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  EXPECT_TRUE(std::filesystem::is_symlink(project));
  EXPECT_EQ(readFileText(target), "new");
  struct stat info;
  ASSERT_EQ(stat(target.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640u);
  EXPECT_TRUE(!owned || (info.st_uid == 4321u && info.st_gid == 4322u)) << info.st_uid << ":" << info.st_gid;
  for (const auto& [name, value] : attributes) {
    char kept[8] = {};
    EXPECT_EQ(getxattr(target.c_str(), name.c_str(), kept, sizeof kept), tagged ? static_cast<ssize_t>(value.size()) : -1)
        << name;
    EXPECT_EQ(kept, tagged ? value : "") << name;
  }
  EXPECT_EQ(dir.names(), (std::vector<std::string>{"map.pew", "real"}));
}

TEST_F(RenamePackageTest, BackupThatCannotBeMadeFailsCleanly) {
  // A folder holds the backup's name, so the old project cannot move there.
  std::filesystem::create_directory(project + ".bak");
  writeFileText(project + ".bak/keep", "");
  RenamePackageA outputs;
  write(outputs, 1, "new");
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kCannotWrite);
  EXPECT_EQ(readFileText(project), "old project");
  EXPECT_EQ(dir.names(), (std::vector<std::string>{"map.pew", "map.pew.bak"}));
}

TEST_F(RenamePackageTest, UnwritableFolderFailsWithTheOldProjectIntact) {
  if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind the super-user";
  chmod(dir.path().c_str(), 0555);
  RenamePackageA outputs;
  EXPECT_EQ(outputs.rnp_BuildOutputs(1, project.c_str(), "pew", nullptr, nullptr), 0);
  chmod(dir.path().c_str(), 0755);
  EXPECT_EQ(readFileText(project), "old project");
  EXPECT_EQ(dir.names(), std::vector<std::string>{"map.pew"});
}

// The id of a process that has ended and been reaped.
pid_t endedProcess() {
  pid_t child = fork();
  if (child == 0) _exit(0);
  waitpid(child, nullptr, 0);
  return child;
}

// A killed run leaves its temporary file behind; the next successful save of
// the same project removes it, and nothing that is not provably such a file.
TEST_F(RenamePackageTest, SuccessfulCloseRemovesTemporariesOfEndedRunsOnly) {
  std::string dead = std::to_string(endedProcess());
  std::string alive = std::to_string(getppid());
  const std::vector<std::string> stale = {".map.pew.tmp-" + dead, ".map.pew.tmp-" + dead + "-2",
                                          ".map.pew.tmp-" + dead + "-9", ".map.pew.tmp-" + dead + "-10",
                                          ".map.pew.bak.tmp-" + dead,
                                          // above any pid the system gives: never running
                                          ".map.pew.tmp-19999999", ".map.pew.tmp-99999999-1"};
  const std::vector<std::string> kept = {
      ".map.pew.tmp-" + alive,      // its process still runs
      ".other.pew.tmp-" + dead,     // another project's
      ".map.pew.tmp-" + dead + "x", // not a name this code makes
      ".map.pew.tmp-0" + dead,
      ".map.pew.tmp-" + dead + "-0",
      ".map.pew.tmp-",
      "map.pew.tmp-" + dead,
  };
  for (const auto& name : stale) writeFileText(dir.file(name), "partial");
  for (const auto& name : kept) writeFileText(dir.file(name), "keep");
  std::string folderName = ".map.pew.tmp-" + std::to_string(endedProcess());
  ASSERT_EQ(mkdir(dir.file(folderName).c_str(), 0755), 0);  // only regular files go

  RenamePackageA failing;
  write(failing, 0, "failed");
  ASSERT_EQ(failing.rnp_CloseOutputs(status::kCannotWrite), status::kCannotWrite);
  for (const auto& name : stale) EXPECT_TRUE(std::filesystem::exists(dir.file(name))) << name;

  RenamePackageA outputs;
  write(outputs, 0, "new project");
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  std::vector<std::string> expected = kept;
  expected.push_back(folderName);
  expected.push_back("map.pew");
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(dir.names(), expected);
  EXPECT_EQ(readFileText(project), "new project");
}

}  // namespace
