#include "rename_package.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "status.h"
#include "temp_dir.h"

namespace {

std::vector<std::string> namesIn(const TempDir& dir) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

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
  EXPECT_EQ(std::string(outputs.rnp_GetFileName(1)), project);
  EXPECT_EQ(temp, dir.file(".map.pew.tmp-" + std::to_string(getpid())));
  EXPECT_STREQ(outputs.rnp_GetFileName(2), "");
  // Nothing is created before the project is written.
  EXPECT_EQ(namesIn(dir), std::vector<std::string>{"map.pew"});
  // A stale file of that name, left by someone else, is neither reused nor removed.
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kFailed), status::kFailed);
  writeFileText(temp, "stale");
  RenamePackageA other;
  ASSERT_NE(other.rnp_BuildOutputs(0, project.c_str(), "pew", nullptr, nullptr), 0);
  EXPECT_NE(std::string(other.rnp_GetFileName(3)), temp);
  EXPECT_EQ(other.rnp_CloseOutputs(status::kFailed), status::kFailed);
  EXPECT_EQ(readFileText(temp), "stale");
}

TEST_F(RenamePackageTest, SuccessfulCloseReplacesTheProject) {
  RenamePackageA outputs;
  write(outputs, 0, "new project");
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  EXPECT_EQ(readFileText(project), "new project");
  EXPECT_EQ(namesIn(dir), std::vector<std::string>{"map.pew"});
  EXPECT_EQ(std::string(outputs.rnp_GetFileName(1)), project);  // still known for verifying
}

TEST_F(RenamePackageTest, KeepsTheProjectsPermissions) {
  chmod(project.c_str(), 0640);
  RenamePackageA outputs;
  write(outputs, 0, "new");
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  struct stat info;
  ASSERT_EQ(stat(project.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640u);
}

TEST_F(RenamePackageTest, BackupKeepsTheOldProjectAndReplacesAnOlderBackup) {
  writeFileText(project + ".bak", "older backup");
  RenamePackageA outputs;
  write(outputs, 1, "second");
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  EXPECT_EQ(readFileText(project), "second");
  EXPECT_EQ(readFileText(project + ".bak"), "old project");
  write(outputs, 1, "third");
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  EXPECT_EQ(readFileText(project), "third");
  EXPECT_EQ(readFileText(project + ".bak"), "second");
  EXPECT_EQ(namesIn(dir), (std::vector<std::string>{"map.pew", "map.pew.bak"}));
}

TEST_F(RenamePackageTest, BackupOfAProjectNotYetOnDiskIsSkipped) {
  RenamePackageA outputs;
  std::string fresh = dir.file("fresh");
  ASSERT_NE(outputs.rnp_BuildOutputs(1, fresh.c_str(), "pew", nullptr, nullptr), 0);
  writeFileText(outputs.rnp_GetFileName(3), "made");
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  EXPECT_EQ(readFileText(fresh + ".pew"), "made");
  EXPECT_EQ(namesIn(dir), (std::vector<std::string>{"fresh.pew", "map.pew"}));
}

TEST_F(RenamePackageTest, FailedWriteLeavesTheOldProjectAndNoTemporaryFile) {
  RenamePackageA outputs;
  write(outputs, 1, "half writ");
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kDamaged), status::kDamaged);
  EXPECT_EQ(readFileText(project), "old project");
  EXPECT_EQ(namesIn(dir), std::vector<std::string>{"map.pew"});
}

TEST_F(RenamePackageTest, MissingTemporaryFileFailsTheClose) {
  RenamePackageA outputs;
  ASSERT_NE(outputs.rnp_BuildOutputs(0, project.c_str(), "pew", nullptr, nullptr), 0);
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kCannotWrite);
  EXPECT_EQ(readFileText(project), "old project");
  // Closing twice, or without preparing, never reports success.
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kCannotWrite);
  EXPECT_EQ(RenamePackageA().rnp_CloseOutputs(status::kNotProject), status::kNotProject);
}

TEST_F(RenamePackageTest, BackupThatCannotBeMadeFailsCleanly) {
  // A folder holds the backup's name, so the old project cannot move there.
  std::filesystem::create_directory(project + ".bak");
  writeFileText(project + ".bak/keep", "");
  RenamePackageA outputs;
  write(outputs, 1, "new");
  EXPECT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kCannotWrite);
  EXPECT_EQ(readFileText(project), "old project");
  EXPECT_EQ(namesIn(dir), (std::vector<std::string>{"map.pew", "map.pew.bak"}));
}

TEST_F(RenamePackageTest, RefusesNamesThatAreNotRegularFiles) {
  RenamePackageA outputs;
  std::filesystem::create_directory(dir.file("maps.v2"));
  EXPECT_EQ(outputs.rnp_BuildOutputs(1, dir.file("maps.v2").c_str(), "pew", nullptr, nullptr), 0);
  EXPECT_EQ(outputs.rnp_BuildOutputs(0, dir.file("none/map.pew").c_str(), "pew", nullptr, nullptr), 0);
  EXPECT_EQ(outputs.rnp_BuildOutputs(0, "", "pew", nullptr, nullptr), 0);
  EXPECT_EQ(outputs.rnp_BuildOutputs(0, nullptr, "pew", nullptr, nullptr), 0);
  EXPECT_STREQ(outputs.rnp_GetFileName(1), "");
  EXPECT_TRUE(std::filesystem::is_directory(dir.file("maps.v2")));
}

TEST_F(RenamePackageTest, UnwritableFolderFailsWithTheOldProjectIntact) {
  if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind the super-user";
  chmod(dir.path().c_str(), 0555);
  RenamePackageA outputs;
  EXPECT_EQ(outputs.rnp_BuildOutputs(1, project.c_str(), "pew", nullptr, nullptr), 0);
  chmod(dir.path().c_str(), 0755);
  EXPECT_EQ(readFileText(project), "old project");
  EXPECT_EQ(namesIn(dir), std::vector<std::string>{"map.pew"});
}

TEST_F(RenamePackageTest, UnclosedOutputsAreCleanedUp) {
  {
    RenamePackageA outputs;
    write(outputs, 0, "abandoned");
  }
  EXPECT_EQ(namesIn(dir), std::vector<std::string>{"map.pew"});
  RenamePackageA outputs;
  write(outputs, 0, "first attempt");
  write(outputs, 0, "second attempt");  // preparing again drops the first
  ASSERT_EQ(outputs.rnp_CloseOutputs(status::kOk), status::kOk);
  EXPECT_EQ(readFileText(project), "second attempt");
  EXPECT_EQ(namesIn(dir), std::vector<std::string>{"map.pew"});
}

}  // namespace
