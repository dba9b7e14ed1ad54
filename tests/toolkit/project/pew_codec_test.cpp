// Round trips through the project codec, checked against files made by the
// independent fixture builder.
#include <gtest/gtest.h>
#include <unistd.h>

#include "fixture_builder.h"
#include "message_capture.h"
#include "status.h"
#include "temp_dir.h"
#include "project/vorlan.h"

namespace {

ProjectFixture richFixture() {
  ProjectFixture f;
  f.grid(5, 4, 12.5f);
  for (std::size_t i = 0; i < f.heights.size(); ++i) f.heights[i] = static_cast<float>(i) * 1.25f - 3;
  f.extra = {0.5f};  // 20 cells give one extra value: kept, whatever it holds
  f.afterExtra = 77;
  auto& house = f.addTemplate(1, "data\\house.p3d", "house");
  house.outlineColour = 0x0000FF;
  house.markerType = 1;
  auto& road = f.addTemplate(4, "data\\road.p3d", "road 1");
  road.road = true;
  road.objectType = 3;
  road.roadFrame = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  road.xroadFrame = {-1, -2, -3, -4, -5, -6, -7, -8, -9, -10, -11, -12};
  auto& gate = f.addTemplate(2, "data\\gate.p3d", "gate");
  gate.artificial.push_back({"Gate", 7, {{1, 0, 2}, {3, 0, 4}}});
  gate.artificial.push_back({"", 0, {}});
  gate.randomScaleFlag = 1;
  f.addObject(1).at(10, 20, 5).heading(90, 2).named("front door");
  f.addDeleted(2);
  f.addObject(4).at(-3.5f, 7, 1).relative(0.25f);
  f.addObject(2).at(1, 2, 3).heading(33.3);
  f.addDeleted();
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
