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
  gate.objectType = 2;
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

std::vector<unsigned char> writeBack(Vorlan& project, const TempDir& dir) {
  std::string out = dir.file("out.pew");
  EXPECT_EQ(project.pew_Create(out.c_str(), 0), status::kOk);
  return readFileBytes(out);
}

}  // namespace

TEST(PewCodec, FixtureOpensWithTheContentItDescribes) {
  TempDir dir;
  ProjectFixture f = richFixture();
  std::string file = f.writeTo(dir.file("map.pew"));
  Vorlan project;
  MessageCapture::reset();
  ASSERT_EQ(project.pew_Open(file.c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk) << MessageCapture::text;
  EXPECT_EQ(MessageCapture::calls, 0);

  ElevationGrid* grid = project.pew_get_elevations();
  EXPECT_EQ(grid->columns, 5u);
  EXPECT_EQ(grid->rows, 4u);
  EXPECT_EQ(grid->heights[7], 7 * 1.25f - 3);
  EXPECT_EQ(project.pew_get_gridsize(), 12.5f);

  unsigned count = 0;
  PewObjectTemplate* t = project.pew_get_template(&count);
  ASSERT_EQ(count, 3u);
  EXPECT_STREQ(t->strModelFilename.Get(), "data\\house.p3d");
  EXPECT_EQ(t->ulOutlineColour, 0x0000FFu);
  EXPECT_EQ(t->ulObjectColour, kDefaultColour);
  EXPECT_EQ(t->ulMarkerType, 1u);
  PewObjectTemplate* road = project.pew_get_template(4);
  ASSERT_NE(road, nullptr);
  EXPECT_EQ(t->next, road);
  EXPECT_NE(road->LodNamedSelections, 0);
  EXPECT_EQ(road->RoadFrame.m[3][2], 12.0f);
  EXPECT_EQ(road->XRoadFrame.m[0][0], -1.0f);
  PewObjectTemplate* gate = project.pew_get_template(2);
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
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(o->objectId, 1);
  EXPECT_STREQ(o->instanceName.Get(), "front door");
  EXPECT_EQ(o->transform.X(), 10);
  EXPECT_EQ(o->transform.Y(), 20);
  EXPECT_EQ(o->transform.Height(), 5);
  EXPECT_DOUBLE_EQ(o->transform.GetDirectionInDegrees(), 90);
  o = objects->pewobject_GetNextValid(o);
  EXPECT_EQ(o->templateId, 4u);
  EXPECT_EQ(o->relativeHeight, 0.25f);
  EXPECT_EQ(o->unnamedA, -1);
  o = objects->pewobject_GetNextValid(o);
  EXPECT_EQ(objects->pewobject_GetNextValid(o), nullptr);
}

TEST(PewCodec, UnchangedProjectWritesBackByteIdenticalInBothVersions) {
  for (bool v59 : {false, true}) {
    TempDir dir;
    ProjectFixture f = richFixture();
    if (v59) f.version59();
    std::string file = f.writeTo(dir.file("map.pew"));
    Vorlan project;
    ASSERT_EQ(project.pew_Open(file.c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk);
    EXPECT_EQ(writeBack(project, dir), f.bytes()) << (v59 ? "POSEW59" : "POSEW60");
  }
}

TEST(PewCodec, EmptyTextStoredAsBareZeroLengthSurvives) {
  ProjectFixture f = richFixture();
  f.dataPath = "d\\";
  std::vector<unsigned char> bytes = f.bytes();
  // The object path follows signature (7), two u32 and the data path text
  // (4 + 3). Store it as a bare zero length instead of a lone NUL.
  std::size_t at = 7 + 4 + 4 + 4 + 3;
  ASSERT_EQ(bytes[at], 1);
  ASSERT_EQ(bytes[at + 4], 0);
  bytes.erase(bytes.begin() + static_cast<long>(at) + 4);
  bytes[at] = 0;
  TempDir dir;
  writeFileBytes(dir.file("bare.pew"), bytes);
  Vorlan project;
  ASSERT_EQ(project.pew_Open(dir.file("bare.pew").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk)
      << MessageCapture::text;
  EXPECT_EQ(writeBack(project, dir), bytes);
}

TEST(PewCodec, RecordSizesMatchTheLayout) {
  // One template with two empty names: 2 texts of 5 bytes, type and colours
  // (12), the fixed part (118), no artificial objects (4), marker (4).
  ProjectFixture base;
  base.grid(2, 2, 1);
  ProjectFixture one = base;
  one.addTemplate(1, "", "");
  ProjectFixture road = base;
  road.addTemplate(1, "", "").road = true;
  EXPECT_EQ(one.bytes().size() - base.bytes().size(), 10 + 12 + 118 + 4 + 4);
  EXPECT_EQ(road.bytes().size() - base.bytes().size(), 10 + 12 + 214 + 4 + 4);

  // The toolkit's writer agrees, and a valid object slot is 84 bytes plus
  // its instance name while a deleted one is 2.
  TempDir dir;
  Vorlan project;
  project.pew_New(2, 2, 1);
  auto sizeNow = [&] { return writeBack(project, dir).size(); };
  std::size_t empty = sizeNow();
  PewObjectTemplate* t = project.pew_add_template(1);
  t->strModelName.Set("");
  std::size_t withTemplate = sizeNow();
  EXPECT_EQ(withTemplate - empty, 10 + 12 + 118 + 4 + 4u);
  t->LodNamedSelections = 1;
  EXPECT_EQ(sizeNow() - empty, 10 + 12 + 214 + 4 + 4u);
  t->LodNamedSelections = 0;
  PewObject* o = project.pew_get_objects()->AddPewObject();
  o->templateId = 1;
  EXPECT_EQ(sizeNow() - withTemplate, 85u);  // 84 + the lone NUL of an empty name
  o->instanceName.Set("abc");
  EXPECT_EQ(sizeNow() - withTemplate, 88u);
  o->validFlag = 0;
  EXPECT_EQ(sizeNow() - withTemplate, 2u);
}

TEST(PewCodec, ProjectMadeInCodeReopensWithTheSameContent) {
  TempDir dir;
  std::string file = dir.file("made.pew");
  {
    Vorlan project;
    project.pew_New(3, 2, 25.0f);
    ElevationGrid* g = project.pew_get_elevations();
    for (int i = 0; i < 6; ++i) g->heights[i] = 100.0f + static_cast<float>(i);
    PewObjectTemplate* t = project.pew_add_template(project.pew_get_max_template_id() + 1, "a\\tree.p3d", 1, -1);
    t->strModelName.Set("tree");
    auto* art = new PewArtificialObject();
    art->strName.Set("Rail");
    art->StartEndPos.ar_init(12);
    auto* pts = static_cast<float*>(art->StartEndPos.AllocArray(1));
    pts[0] = 1, pts[1] = 2, pts[2] = 3;
    t->ArtificialObjects.AddChain(art);
    for (int i = 0; i < 3; ++i) {
      PewObject* o = project.pew_get_objects()->AddPewObject();
      o->templateId = t->templateId;
      o->transform.mtx4_SetPosition(i, 0, 2 * i);
      o->transform.SetDirectionInDegrees(45.0 * i, 1.0f);
    }
    project.pew_get_objects()->pewobject_GetFirstValid()->validFlag = 0;
    ASSERT_EQ(project.pew_Create(file.c_str(), 0), status::kOk);
  }
  Vorlan again;
  ASSERT_EQ(again.pew_Open(file.c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk) << MessageCapture::text;
  EXPECT_EQ(again.pew_get_elevations()->heights[5], 105.0f);
  EXPECT_EQ(again.pew_get_gridsize(), 25.0f);
  PewObjectTemplate* t = again.pew_get_template(1);
  ASSERT_NE(t, nullptr);
  EXPECT_STREQ(t->strModelName.Get(), "tree");
  EXPECT_EQ(t->ulObjectType, kObjectTypeNatural);
  EXPECT_EQ(t->ulObjectColour, kDefaultColour);
  ASSERT_EQ(t->ArtificialObjects.count, 1u);
  EXPECT_EQ(static_cast<PewArtificialObject*>(t->ArtificialObjects.first)->StartEndPos.points()[0].z, 3.0f);
  PewObjects* objects = again.pew_get_objects();
  EXPECT_EQ(objects->slotCount(), 3u);
  PewObject* o = objects->pewobject_GetFirstValid();
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(o->objectId, 2);
  EXPECT_NEAR(o->transform.GetDirectionInDegrees(), 45.0, 1e-5);
  EXPECT_EQ(o->transform.Y(), 2.0);
  EXPECT_NE(objects->pewobject_GetFirstInvalid(), nullptr);
}

TEST(PewCodec, OpeningAMissingNameAddsTheExtension) {
  TempDir dir;
  ProjectFixture f;
  f.grid(2, 2, 1);
  f.writeTo(dir.file("map.pew"));
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
  std::string target = dir.file("missing-folder/out.pew");
  EXPECT_EQ(project.pew_Create(target.c_str(), 0), status::kCannotWrite);
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
