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

TEST(PewCodec, FixtureOpensWithTheContentItDescribes) {
  std::vector<unsigned char> bytes = richFixture().bytes();
  Vorlan project;
  MessageCapture::reset();
  ASSERT_EQ(project.pew_Open("map.pew", 0, MessageCapture::sink, bytes.data(), bytes.size()), status::kOk);
  EXPECT_EQ(MessageCapture::calls, 0);
  ElevationGrid* grid = project.pew_get_elevations();
  EXPECT_EQ(std::vector<unsigned>({grid->columns, grid->rows}), std::vector<unsigned>({5, 4}));
  EXPECT_EQ(grid->heights[7], 7 * 1.25f - 3);
  EXPECT_EQ(project.pew_get_gridsize(), 12.5f);

  unsigned count = 0;
  PewObjectTemplate* house = project.pew_get_template(&count);
  PewObjectTemplate *road = project.pew_get_template(4), *gate = project.pew_get_template(2);
  ASSERT_EQ(count, 3u);
  ASSERT_TRUE(road && gate && house->next == road && road->next == gate);
  EXPECT_STREQ(house->strModelFilename.Get(), "data\\house.p3d");
  EXPECT_EQ(std::vector<unsigned>({house->ulOutlineColour, house->ulObjectColour, house->ulMarkerType}),
            std::vector<unsigned>({0x0000FF, kDefaultColour, 1}));
  EXPECT_NE(road->LodNamedSelections, 0);
  EXPECT_EQ(road->RoadFrame.m[3][2], 12.0f);
  EXPECT_EQ(road->XRoadFrame.m[0][0], -1.0f);
  ASSERT_EQ(gate->ArtificialObjects.count, 2u);
  auto* a = static_cast<PewArtificialObject*>(gate->ArtificialObjects.first);
  EXPECT_STREQ(a->strName.Get(), "Gate");
  EXPECT_EQ(a->lbUnknown, 7u);
  ASSERT_EQ(a->StartEndPos.get_count(), 2u);
  EXPECT_EQ(a->StartEndPos.points()[1].x, 3.0f);
  EXPECT_EQ(gate->dblxyRandomScale.flag, 1);

  PewObjects* objects = project.pew_get_objects();
  EXPECT_EQ(objects->slotCount(), 6u);
  PewObject* o = objects->pewobject_GetFirstValid();
  EXPECT_EQ(o->objectId(), 1);
  EXPECT_EQ(o->instanceName(), "front door");
  EXPECT_EQ(std::vector<double>({o->transform().X(), o->transform().Y(), o->transform().Height()}),
            std::vector<double>({10, 20, 5}));
  EXPECT_DOUBLE_EQ(o->transform().GetDirectionInDegrees(), 90);
  o = objects->pewobject_GetNextValid(o);
  EXPECT_EQ(o->templateId(), 4u);
  EXPECT_EQ(o->relativeHeight(), 0.25f);
  EXPECT_EQ(o->unnamedA(), -1);
  EXPECT_EQ(objects->pewobject_GetNextValid(objects->pewobject_GetNextValid(o)), nullptr);
}

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
