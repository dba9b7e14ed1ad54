// The world writer: what a project becomes, byte by byte, and the projects
// and output names it refuses, leaving nothing behind.
#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>
#include <sys/resource.h>

#include "fixture_builder.h"
#include "message_capture.h"
#include "world/morvik.h"
#include "status.h"
#include "temp_dir.h"
#include "project/vorlan.h"
#include "world/world_bytes.h"

namespace {

// Builds the world of `f` (after `change` to the loaded project) and returns
// the writer's status; its messages are in MessageCapture. The project is
// gone before the world is written, which the world must outlive.
int build(Morvik& world, const ProjectFixture& f, int version = 8, void (*change)(Vorlan&) = nullptr) {
  std::vector<unsigned char> bytes = f.bytes();
  Vorlan project;
  EXPECT_EQ(project.pew_Open("map.pew", 0, MessageCapture::sink, bytes.data(), bytes.size()), status::kOk);
  if (change) change(project);
  MessageCapture::reset();
  return world.wrp_CreateFromPew(version, &project, MessageCapture::sink);
}

}  // namespace

TEST(WorldWriter, ProjectsThatCannotBeAWorldStopTheBuild) {
  struct Case {
    const char* what;
    void (*setUp)(ProjectFixture&);
    int status;
    std::vector<std::string> mentions;
  };
  const Case cases[] = {
      {"missing template", [](ProjectFixture& f) { f.addObject(9).id = 42; }, status::kWorldBadObject,
       {"map.pew: object 42 refers to template 9"}},
      {"empty model name", [](ProjectFixture& f) { f.addTemplate(3, ""), f.addObject(3).id = 43; },
       status::kWorldBadObject, {"map.pew: object 43 uses template 3, whose model file name is empty"}},
      {"repeated ID", [](ProjectFixture& f) { f.addObject(1).id = 1; }, status::kWorldBadObject, {"map.pew: object ID 1 is used by two objects"}},
      {"infinite transform", [](ProjectFixture& f) { f.addObject(1).transform[10] = INFINITY; },
       status::kWorldBadObject, {"map.pew: object 2 (template 1) has transform value 11 of 12 = inf"}},
      {"height not a number", [](ProjectFixture& f) { f.heights[3] = NAN; }, status::kWorldUnsupported, {"map.pew: "}},
      {"flat cells", [](ProjectFixture& f) { f.spacing = 0; }, status::kWorldUnsupported, {"map.pew: ", "spacing"}},
      {"version 4", nullptr, status::kWorldUnsupported, {"map.pew: ", "version 4"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ProjectFixture f;
    f.grid(2, 2, 1).addTemplate(1, "a.p3d");
    f.addObject(1).id = 1;
    if (c.setUp) c.setUp(f);
    Morvik world;
    EXPECT_EQ(build(world, f, c.setUp ? 8 : 4), c.status);
    for (const std::string& m : c.mentions) EXPECT_NE(MessageCapture::text.find(m), std::string::npos) << MessageCapture::text;
    EXPECT_FALSE(world.IsBuilt());
    TempDir dir;
    EXPECT_EQ(world.wrp_Create(dir.file("w.wrp").c_str(), 8), status::kNoProject);
    EXPECT_TRUE(dir.names().empty());
  }
}

TEST(WorldWriter, UnwritableNamesAndVersionsLeaveNothingBehind) {
  ProjectFixture f;
  f.grid(2, 2, 1);
  Morvik world;
  ASSERT_EQ(build(world, f), status::kOk);
  TempDir dir;
  std::filesystem::create_directory(dir.file("folder"));
  MessageCapture::reset();
  EXPECT_EQ(world.wrp_Create(dir.file("w.wrp").c_str(), 9), status::kWorldUnsupported);
  EXPECT_NE(MessageCapture::text.find("version 9"), std::string::npos);
  EXPECT_EQ(world.wrp_Create(dir.file("missing/w.wrp").c_str(), 8), status::kCannotWrite);
  EXPECT_NE(MessageCapture::text.find("missing/w.wrp: cannot write"), std::string::npos) << MessageCapture::text;
  MessageCapture::reset();
  EXPECT_EQ(world.wrp_Create(dir.file("folder").c_str(), 8), status::kCannotWrite);
  EXPECT_EQ(MessageCapture::calls, 1);
  EXPECT_EQ(dir.names(), std::vector<std::string>{"folder"});
  EXPECT_TRUE(dir.names("folder").empty());
  // Leftover temporary names of this process, all but the first: the first is free.
  const std::string stem = dir.file("w.wrp") + "." + std::to_string(getpid()) + "-";
  for (int k = 1; k < 100; ++k) writeFileText(stem + std::to_string(k) + ".tmp", "");
  EXPECT_EQ(world.wrp_Create(dir.file("w.wrp").c_str(), 8), status::kOk);
  for (int k = 1; k < 100; ++k) std::filesystem::remove(stem + std::to_string(k) + ".tmp");
  std::filesystem::remove(dir.file("w.wrp"));
  world.Close();
  EXPECT_FALSE(world.IsBuilt());
  EXPECT_EQ(world.wrp_Create(dir.file("w.wrp").c_str(), 8), status::kNoProject);
  EXPECT_EQ(dir.names(), std::vector<std::string>{"folder"});
}

TEST(WorldWriter, ObjectsChangedAfterTheBuildAreRefusedLeavingNothing) {
  ProjectFixture f;
  f.grid(2, 2, 1).addTemplate(1, "a.p3d");
  f.addObject(1);
  std::vector<unsigned char> bytes = f.bytes();
  void (*const changes[])(PewObjects&) = {
      [](PewObjects& l) { l.AddPewObject()->setTemplateId(1); },
      [](PewObjects& l) { l.pewobject_GetFirstValid()->setTemplateId(2); },
  };
  for (auto change : changes) {
    Vorlan project;
    ASSERT_EQ(project.pew_Open("map.pew", 0, MessageCapture::sink, bytes.data(), bytes.size()), status::kOk);
    Morvik world;
    ASSERT_EQ(world.wrp_CreateFromPew(8, &project, MessageCapture::sink), status::kOk);
    change(*project.pew_get_objects());
    TempDir dir;
    MessageCapture::reset();
    EXPECT_EQ(world.wrp_Create(dir.file("w.wrp").c_str(), 8), status::kNoProject);
    EXPECT_NE(MessageCapture::text.find("changed after the world was built"), std::string::npos) << MessageCapture::text;
    EXPECT_TRUE(dir.names().empty());
  }
}

TEST(WorldWriter, FailureWhileWritingKeepsTheEarlierFileAndRemovesTheTemporary) {
  // A project read from its file, with heights of two pieces (2 MB): the
  // writer hands the mapped heights' memory back as it goes, and must read
  // the same heights again for the second write.
  const std::uint32_t columns = 1024, rows = 512;
  std::vector<float> heights(std::size_t{columns} * rows);
  for (std::size_t i = 0; i < heights.size(); ++i) heights[i] = static_cast<float>(i % 1009) * 0.5f;
  ProjectFixture f;
  f.grid(columns, rows, 1, heights);
  TempDir dir;
  Vorlan project;
  ASSERT_EQ(project.pew_Open(f.writeTo(dir.file("map.pew")).c_str(), 0, MessageCapture::sink, nullptr, 0),
            status::kOk);
  Morvik world;
  ASSERT_EQ(world.wrp_CreateFromPew(8, &project, MessageCapture::sink), status::kOk);
  std::string target = dir.file("w.wrp");
  writeFileText(target, "earlier");

  // A file size limit makes the write fail part way through.
  struct rlimit saved;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
  auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit small = saved;
  small.rlim_cur = 4096;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  MessageCapture::reset();
  int s = world.wrp_Create(target.c_str(), 8);
  setrlimit(RLIMIT_FSIZE, &saved);
  std::signal(SIGXFSZ, oldHandler);
  EXPECT_EQ(s, status::kCannotWrite);
  EXPECT_NE(MessageCapture::text.find("w.wrp: cannot write the world file"), std::string::npos);
  EXPECT_EQ(readFileText(target), "earlier");
  EXPECT_EQ(dir.names().size(), 2u);  // the project and w.wrp

  // The same world goes through once the limit is gone, replacing the file,
  // and its checker (which also gives memory back as it reads) finds it sound.
  ASSERT_EQ(world.wrp_Create(target.c_str(), 8), status::kOk);
  std::vector<unsigned char> written = readFileBytes(target);
  ASSERT_EQ(written.size(), 24u + heights.size() * 6 + 8 + 56);
  EXPECT_EQ(std::memcmp(written.data() + 24, heights.data(), heights.size() * 4), 0);
  EXPECT_EQ(dir.names().size(), 2u);
  EXPECT_EQ(world.wrp_Open(target.c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk);
}
