// Round trips through the project codec, checked against files made by the
// independent fixture builder.
#include <gtest/gtest.h>
#include <unistd.h>

#include "fixture_builder.h"
#include "message_capture.h"
#include "project_description.h"
#include "status.h"
#include "temp_dir.h"
#include "project/vorlan.h"

namespace {

// The project of projects/rich.txt with what its language cannot say.
ProjectFixture richFixture() {
  ProjectFixture f = describedProject(VORLAN_TOOLKIT_TESTS "/projects/rich.txt");
  f.extra = {0.5f};  // 20 cells give one extra value: kept, whatever it holds
  f.afterExtra = 77;
  f.templates[1].roadFrame = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  f.templates[1].xroadFrame = {-1, -2, -3, -4, -5, -6, -7, -8, -9, -10, -11, -12};
  f.tail = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0xFF, 0};
  return f;
}

}  // namespace

TEST(PewCodec, UnchangedProjectWritesBackByteIdentical) {
  ProjectFixture v59 = richFixture().version59();
  // An empty text may be stored as a bare zero length instead of a lone NUL
  // (here the object path, after the signature, two u32 and the data path).
  ProjectFixture shortPath = richFixture();
  shortPath.dataPath = "d\\";
  std::vector<unsigned char> bare = shortPath.bytes();
  const std::size_t at = 7 + 4 + 4 + 4 + 3;
  ASSERT_EQ(bare[at] + bare[at + 4], 1);
  bare.erase(bare.begin() + static_cast<long>(at) + 4);
  bare[at] = 0;
  TempDir dir;
  for (const auto& bytes : {richFixture().bytes(), v59.bytes(), bare}) {
    Vorlan project;
    ASSERT_EQ(project.pew_Open("map.pew", 0, MessageCapture::sink, bytes.data(), bytes.size()), status::kOk);
    ASSERT_EQ(project.pew_Create(dir.file("out.pew").c_str(), 0), status::kOk);
    EXPECT_EQ(readFileBytes(dir.file("out.pew")), bytes);
  }
}

// A save has the system copy what still holds the old file's bytes and
// writes what was changed in place since: records changed in the middle of
// a long run of untouched ones come out changed, and so does one renamed.
// The first save let go of the old file's first 8 MB (the grid and the
// first 45,000 records) behind it: the second reads them from the file.
TEST(PewCodec, SaveOfAnOpenedFileKeepsEveryChangeMadeInPlace) {
  TempDir dir;
  ProjectFixture f;
  std::vector<float> heights(1024 * 1024);
  for (std::size_t i = 0; i < heights.size(); ++i) heights[i] = static_cast<float>(i) * 0.25f;
  f.grid(1024, 1024, 1.0f, heights).addTemplate(1, "a.p3d");
  for (int i = 0; i < 120000; ++i) f.addObject(1).at(static_cast<float>(i), 2, 0);
  f.writeTo(dir.file("map.pew"));
  Vorlan project;
  ASSERT_EQ(project.pew_Open(dir.file("map.pew").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk);
  ASSERT_EQ(project.pew_Create(dir.file("same.pew").c_str(), 0), status::kOk);
  EXPECT_EQ(readFileBytes(dir.file("same.pew")), f.bytes());
  PewObjects* objects = project.pew_get_objects();
  int i = 0;
  for (PewObject* o = objects->pewobject_GetFirstValid(); o; o = objects->pewobject_GetNextValid(o), ++i) {
    if (i == 10000) o->setRelativeHeight(7.5f);
    if (i == 119999) o->setUnnamedA(3);
    if (i == 5000) objects->setInstanceName(o, "moved");  // a longer record, kept elsewhere
  }
  f.objects[10000].relative(7.5f);
  f.objects[119999].unnamedA = 3;
  f.objects[5000].named("moved");
  ASSERT_EQ(project.pew_Create(dir.file("changed.pew").c_str(), 0), status::kOk);
  EXPECT_EQ(readFileBytes(dir.file("changed.pew")), f.bytes());
}

TEST(PewCodec, OpeningAMissingNameAddsTheExtension) {
  TempDir dir;
  ProjectFixture f;
  f.grid(2, 2, 1).writeTo(dir.file("map.pew"));
  Vorlan project;
  EXPECT_EQ(project.pew_Open(dir.file("map").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk);
  EXPECT_EQ(projectFileName("a.b/c"), "a.b/c.pew");
  EXPECT_EQ(projectFileName("c.pew"), "c.pew");
  EXPECT_EQ(projectFileName("x\\y.z"), "x\\y.z");
}

TEST(PewCodec, FailedWriteLeavesNothingAndSaysSo) {
  TempDir dir;
  Vorlan project;
  project.pew_New(2, 2, 1);
  MessageCapture::reset();
  project.setMessageSink(MessageCapture::sink);
  EXPECT_EQ(project.pew_Create(dir.file("missing-folder/out.pew").c_str(), 0), status::kCannotWrite);
  EXPECT_NE(MessageCapture::text.find("out.pew"), std::string::npos);
  // A full disk: /dev/full accepts the open and fails the write.
  std::string full = dir.file("full.pew");
  if (access("/dev/full", W_OK) == 0 && symlink("/dev/full", full.c_str()) == 0) {
    MessageCapture::reset();
    EXPECT_EQ(project.pew_Create(full.c_str(), 0), status::kCannotWrite);
    EXPECT_NE(MessageCapture::text.find("No space left"), std::string::npos) << MessageCapture::text;
    EXPECT_EQ(access("/dev/full", F_OK), 0);
  }
  Vorlan none;
  EXPECT_EQ(none.pew_Create(dir.file("x.pew").c_str(), 0), status::kNoProject);
}
