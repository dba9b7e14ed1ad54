// Damaged and hostile project files: each gives a non-zero status and exactly
// one message naming the file, the block and the byte offset, and never a
// crash, a read past the end or an allocation larger than the file (the
// sanitizer build checks the last two).
#include <cstring>
#include <gtest/gtest.h>

#include "fixture_builder.h"
#include "message_capture.h"
#include "status.h"
#include "temp_dir.h"
#include "project/vorlan.h"

namespace {

ProjectFixture sample() {
  ProjectFixture f;
  f.grid(4, 4, 10);
  auto& road = f.addTemplate(1, "data\\road.p3d", "road");
  road.road = true;
  road.artificial.push_back({"Rail", 1, {{1, 2, 3}}});
  f.addTemplate(2, "data\\tree.p3d", "tree");
  f.addObject(1).at(1, 2, 3).named("n");
  f.addDeleted();
  f.addObject(2);
  return f;
}

struct Outcome {
  int status;
  std::string message;
  int calls;
};

Outcome openBytes(const std::vector<unsigned char>& bytes) {
  Vorlan project;
  MessageCapture::reset();
  int s = project.pew_Open("bad.pew", 0, MessageCapture::sink, bytes.empty() ? reinterpret_cast<const unsigned char*>("") : bytes.data(), bytes.size());
  if (s != status::kOk) {
    EXPECT_EQ(project.pew_get_max_template_id(), -1);
  }
  return {s, MessageCapture::text, MessageCapture::calls};
}

void put32(std::vector<unsigned char>& bytes, std::size_t at, std::uint32_t v) { std::memcpy(&bytes[at], &v, 4); }

// Byte offset of the first template's record: header plus two counts.
std::size_t templatesStart(const ProjectFixture& f) {
  return 7 + 4 + 4 + (4 + f.dataPath.size() + 1) + (4 + f.objectPath.size() + 1) + 4 + 4 +
         (4 + f.valueD.size() + 1) + 4 + 4 + 4;
}

}  // namespace

TEST(PewDamage, TruncatedAtEveryOffsetFailsCleanlyWithOneMessage) {
  ProjectFixture f = sample();
  std::vector<unsigned char> whole = f.bytes();
  std::size_t tailStart = whole.size() - 24;  // what follows the slots is free-form
  for (std::size_t n = 0; n < tailStart; ++n) {
    std::vector<unsigned char> cut(whole.begin(), whole.begin() + static_cast<long>(n));
    Outcome r = openBytes(cut);
    ASSERT_NE(r.status, status::kOk) << "cut at " << n;
    EXPECT_EQ(r.status, n < 7 ? status::kNotProject : status::kDamaged) << "cut at " << n;
    EXPECT_EQ(r.calls, 1) << "cut at " << n;
    EXPECT_NE(r.message.find("bad.pew"), std::string::npos) << r.message;
    if (n >= 7) {
      EXPECT_NE(r.message.find("at byte"), std::string::npos) << r.message;
    }
  }
  EXPECT_EQ(openBytes(whole).status, status::kOk);
}

TEST(PewDamage, SignaturesAreCheckedAndNamed) {
  std::vector<unsigned char> bytes = sample().bytes();
  std::memcpy(bytes.data(), "POSEW58", 7);
  Outcome r = openBytes(bytes);
  EXPECT_EQ(r.status, status::kUnsupported);
  EXPECT_NE(r.message.find("POSEW58"), std::string::npos) << r.message;

  std::memcpy(bytes.data(), "8WVR\x01\x02\x00", 7);
  r = openBytes(bytes);
  EXPECT_EQ(r.status, status::kNotProject);
  EXPECT_NE(r.message.find("8WVR\\x01\\x02\\x00"), std::string::npos) << r.message;
  EXPECT_NE(r.message.find("at byte 0"), std::string::npos) << r.message;

  EXPECT_EQ(openBytes({}).status, status::kNotProject);
}

TEST(PewDamage, CountsLargerThanTheFileAreRefusedBeforeAllocating) {
  ProjectFixture f = sample();
  const std::vector<unsigned char> good = f.bytes();
  std::size_t templateCountAt = templatesStart(f) - 4;

  std::vector<unsigned char> bytes = good;
  put32(bytes, templateCountAt, 0xFFFFFFFF);
  Outcome r = openBytes(bytes);
  EXPECT_EQ(r.status, status::kDamaged);
  EXPECT_NE(r.message.find("template count 4294967295"), std::string::npos) << r.message;
  EXPECT_NE(r.message.find("at byte " + std::to_string(templateCountAt)), std::string::npos) << r.message;

  // The first text of the first template claims 2 GiB.
  bytes = good;
  put32(bytes, templatesStart(f), 0x80000000u);
  r = openBytes(bytes);
  EXPECT_EQ(r.status, status::kDamaged);
  EXPECT_NE(r.message.find("template 1 of 2"), std::string::npos) << r.message;

  // A grid of 65536 x 65536 in a file of a few hundred bytes.
  ProjectFixture noTemplates;
  noTemplates.grid(1, 1, 1);
  bytes = noTemplates.bytes();
  std::size_t gridAt = templatesStart(noTemplates) + 6;
  put32(bytes, gridAt, 65536);
  put32(bytes, gridAt + 4, 65536);
  r = openBytes(bytes);
  EXPECT_EQ(r.status, status::kDamaged);
  EXPECT_NE(r.message.find("elevation grid"), std::string::npos) << r.message;

  // A slot count of four billion.
  bytes = noTemplates.bytes();
  std::size_t slotsAt = gridAt + 8 + 4 + 4;
  put32(bytes, slotsAt, 0xFFFFFFF0u);
  r = openBytes(bytes);
  EXPECT_EQ(r.status, status::kDamaged);
  EXPECT_NE(r.message.find("object slot count"), std::string::npos) << r.message;
}

TEST(PewDamage, LegacyContentAndMissingFlagsAreUnsupported) {
  ProjectFixture f = sample();
  f.legacyTextures = 3;
  Outcome r = openBytes(f.bytes());
  EXPECT_EQ(r.status, status::kUnsupported);
  EXPECT_NE(r.message.find("legacy"), std::string::npos) << r.message;

  f = sample();
  f.noRoads = 0;
  r = openBytes(f.bytes());
  EXPECT_EQ(r.status, status::kUnsupported);
  EXPECT_NE(r.message.find("no-road-networks flag"), std::string::npos) << r.message;
  EXPECT_NE(r.message.find("road network"), std::string::npos) << r.message;

  f = sample();
  f.noTerrains = 0;
  EXPECT_EQ(openBytes(f.bytes()).status, status::kUnsupported);
}

TEST(PewDamage, TextWithoutItsNulIsDamaged) {
  ProjectFixture f = sample();
  f.objects[0].instanceName = "abc";
  std::vector<unsigned char> bytes = f.bytes();
  // Find the instance name "abc\0" and overwrite its NUL.
  auto it = std::search(bytes.begin(), bytes.end(), std::begin("abc"), std::end("abc"));
  ASSERT_NE(it, bytes.end());
  *(it + 3) = 'x';
  Outcome r = openBytes(bytes);
  EXPECT_EQ(r.status, status::kDamaged);
  EXPECT_NE(r.message.find("does not end in a NUL"), std::string::npos) << r.message;
  EXPECT_NE(r.message.find("object slot 1 of 3"), std::string::npos) << r.message;
}

TEST(PewDamage, UnreadableFilesAreReportedByName) {
  TempDir dir;
  Vorlan project;
  MessageCapture::reset();
  EXPECT_EQ(project.pew_Open(dir.file("none.pew").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kCannotOpen);
  EXPECT_NE(MessageCapture::text.find("none.pew"), std::string::npos);
  EXPECT_EQ(project.pew_Open(dir.path().c_str(), 0, MessageCapture::sink, nullptr, 0), status::kCannotOpen);

  // Garbage of a real file goes through the same checks as memory.
  std::vector<unsigned char> junk(5000);
  for (std::size_t i = 0; i < junk.size(); ++i) junk[i] = static_cast<unsigned char>(i * 131 + 7);
  std::memcpy(junk.data(), "POSEW60", 7);
  writeFileBytes(dir.file("junk.pew"), junk);
  EXPECT_NE(project.pew_Open(dir.file("junk.pew").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk);
  EXPECT_FALSE(project.IsLoaded());
}
