// The checking reader: it accepts what the writer makes and hand-made worlds
// with real surface tables, and for every kind of damage reports the first
// problem with its byte offset, without reading past the end (the sanitizer
// build checks that: damaged files are handed over in buffers of their exact
// size).
#include <climits>
#include <cmath>
#include <gtest/gtest.h>

#include "fixture_builder.h"
#include "message_capture.h"
#include "world/morvik.h"
#include "status.h"
#include "temp_dir.h"
#include "project/vorlan.h"
#include "world/world_bytes.h"
#include "world/written_world.h"

namespace {

// A 2 x 2 world with two objects: heights at byte 24, surface indexes at 40,
// the surface table at 48, the first object record at 56.
constexpr std::size_t kIndexes = 40;
constexpr std::size_t kTable = 48;
constexpr std::size_t kFirstRecord = 56;

std::vector<unsigned char> smallWorld() {
  ProjectFixture f;
  f.grid(2, 2, 50, {1, 2, 3, 4});
  f.addTemplate(1, "a.p3d");
  f.addTemplate(2, "bb.p3d");
  f.addObject(1).at(10, 20, 30).heading(45);
  f.addObject(2).id = -1;
  return writtenWorld(f);
}

std::size_t secondRecord() { return kFirstRecord + 56 + 5; }

struct Outcome {
  int status;
  std::string message;
  int calls;
};

// Checks `bytes` from a buffer of exactly their size.
Outcome check(const std::vector<unsigned char>& bytes) {
  std::vector<unsigned char> exact(bytes);
  static const unsigned char none = 0;
  MessageCapture::reset();
  Morvik world;
  int s = world.wrp_Open("w.wrp", 0, MessageCapture::sink, exact.empty() ? &none : exact.data(), exact.size());
  return {s, MessageCapture::text, MessageCapture::calls};
}

void put32(std::vector<unsigned char>& bytes, std::size_t at, std::uint32_t v) { std::memcpy(&bytes[at], &v, 4); }

void expectDamage(const std::vector<unsigned char>& bytes, std::size_t offset, const std::string& mention) {
  Outcome o = check(bytes);
  EXPECT_EQ(o.status, status::kDamagedWorld) << o.message;
  EXPECT_EQ(o.calls, 1);
  EXPECT_NE(o.message.find("w.wrp: damaged world file at byte " + std::to_string(offset) + ": "), std::string::npos)
      << o.message;
  EXPECT_NE(o.message.find(mention), std::string::npos) << o.message;
}

}  // namespace

TEST(WorldChecker, AcceptsTheWritersFilesWithOneSummaryLine) {
  std::vector<unsigned char> bytes = smallWorld();
  Outcome o = check(bytes);
  EXPECT_EQ(o.status, status::kOk) << o.message;
  EXPECT_EQ(o.calls, 1);
  EXPECT_EQ(o.message,
            "w.wrp: sound world 8WVR: land grid 2 x 2, terrain grid 2 x 2, cell size 50, 1 surface entry, 2 objects\n");

  // The same from the file itself.
  TempDir dir;
  writeFileBytes(dir.file("w.wrp"), bytes);
  Morvik world;
  MessageCapture::reset();
  EXPECT_EQ(world.wrp_Open(dir.file("w.wrp").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk);
  EXPECT_NE(MessageCapture::text.find("2 objects"), std::string::npos);
}

TEST(WorldChecker, AcceptsManyObjectsWithExtremeIds) {
  // Enough objects to make the ID set grow several times; IDs at the edges
  // of the range, including the terminator's own ID on a real object.
  ProjectFixture f;
  f.grid(4, 4, 1);
  f.addTemplate(1, "a.p3d");
  for (std::int32_t id : {INT_MIN, -1, 0, INT_MAX}) f.addObject(1).id = id;
  for (int i = 0; i < 5000; ++i) f.addObject(1).id = 1 + i * 7919;
  std::vector<unsigned char> bytes = writtenWorld(f);
  MessageCapture::reset();
  Morvik world;
  EXPECT_EQ(world.wrp_Open("w.wrp", 0, MessageCapture::sink, bytes.data(), bytes.size()), status::kOk)
      << MessageCapture::text;
  EXPECT_NE(MessageCapture::text.find(", 5004 objects"), std::string::npos) << MessageCapture::text;
}

TEST(WorldChecker, TruncationAtEveryOffsetIsReportedWithAnOffset) {
  std::vector<unsigned char> whole = smallWorld();
  for (std::size_t n = 0; n < whole.size(); ++n) {
    SCOPED_TRACE(n);
    Outcome o = check(std::vector<unsigned char>(whole.begin(), whole.begin() + static_cast<long>(n)));
    EXPECT_EQ(o.status, n < 24 ? status::kNotWorld : status::kDamagedWorld);
    EXPECT_EQ(o.calls, 1);
    EXPECT_NE(o.message.find(" at byte "), std::string::npos) << o.message;
  }
  expectDamage(std::vector<unsigned char>(whole.begin(), whole.end() - 56), whole.size() - 56,
               "without the closing record");
}

TEST(WorldChecker, OtherSignaturesAreNamed) {
  struct Case {
    const char* signature;
    const char* mention;
  };
  for (const Case& c : {Case{"4WVR", "\"4WVR\": an editable world of version 4 (4WVR)"},
                        Case{"OPRW", "\"OPRW\": a packed world (OPRW)"},
                        Case{"8WV\x01", "\"8WV\\x01\" is not a world's"}}) {
    std::vector<unsigned char> bytes = smallWorld();
    std::memcpy(bytes.data(), c.signature, 4);
    Outcome o = check(bytes);
    EXPECT_EQ(o.status, status::kNotWorld);
    EXPECT_NE(o.message.find("w.wrp: not an editable world file at byte 0: signature "), std::string::npos) << o.message;
    EXPECT_NE(o.message.find(c.mention), std::string::npos) << o.message;
    EXPECT_NE(o.message.find("only the editable form 8WVR is read"), std::string::npos);
  }
  // A short file with another signature is named by its signature too.
  Outcome o = check(WorldBytes().text("OPRW").i32(1).bytes);
  EXPECT_EQ(o.status, status::kNotWorld);
  EXPECT_NE(o.message.find("packed world"), std::string::npos);
}

TEST(WorldChecker, GridSizesMustBePositiveAndFitTheFile) {
  std::vector<unsigned char> zero = smallWorld();
  put32(zero, 8, 0);
  expectDamage(zero, 8, "land rows 0 is not positive");
  std::vector<unsigned char> negative = smallWorld();
  put32(negative, 12, static_cast<std::uint32_t>(-2));
  expectDamage(negative, 12, "terrain columns -2");
  std::vector<unsigned char> huge = smallWorld();
  put32(huge, 12, INT_MAX);
  put32(huge, 16, INT_MAX);
  expectDamage(huge, 24, "terrain grid need");
  std::vector<unsigned char> wideLand = smallWorld();
  put32(wideLand, 4, INT_MAX);
  expectDamage(wideLand, kIndexes, "land grid need");
  std::vector<unsigned char> cell = smallWorld();
  put32(cell, 20, 0x7F800000u);
  expectDamage(cell, 20, "land cell size inf");
}

TEST(WorldChecker, NonFiniteHeightsAreReportedWhereTheyAre) {
  std::vector<unsigned char> bytes = smallWorld();
  put32(bytes, 24 + 4 * 3, 0x7FC00000u);
  put32(bytes, 24 + 4 * 2, 0xFF800000u);
  expectDamage(bytes, 32, "height at column 0, row 1 is -inf");
}

TEST(WorldChecker, SurfaceIndexesMustBeBelowTheTableCount) {
  std::vector<unsigned char> bytes = smallWorld();
  bytes[kIndexes + 6] = 9;  // the last index, and a smaller bad one before it
  bytes[kIndexes + 2] = 1;
  expectDamage(bytes, kIndexes + 2, "surface index 1 at column 1, row 0 is not below the surface table's count 1");

  std::vector<unsigned char> noEntries = smallWorld();
  put32(noEntries, kTable, 0);
  expectDamage(noEntries, kIndexes, "surface index 0");
}

TEST(WorldChecker, SurfaceTablesWithNamedEntriesAreWalked) {
  auto world = [](std::uint16_t lastIndex, std::int32_t secondNameLength) {
    WorldBytes w;
    w.header(2, 1, 8).f32(0).f32(0).u16(0).u16(lastIndex);
    w.i32(3).i32(0);
    w.i32(secondNameLength).text("data\\grass.rvmat").i32(0);
    w.i32(4).text("sand").i32(0);
    w.object(kIdentity, 5, "x.p3d").terminator();
    return w.bytes;
  };
  Outcome o = check(world(2, 16));
  EXPECT_EQ(o.status, status::kOk) << o.message;
  EXPECT_NE(o.message.find("3 surface entries, 1 objects"), std::string::npos) << o.message;

  expectDamage(world(3, 16), 34, "surface index 3");
  std::size_t secondEntry = 24 + 8 + 4 + 4 + 4;
  expectDamage(world(2, -4), secondEntry, "name length -4 in surface entry 1 is negative");
  expectDamage(world(2, 100000), secondEntry, "surface entry 1 runs past the end");

  std::vector<unsigned char> cut = world(2, 16);
  cut.resize(secondEntry + 4 + 16 + 2);  // inside the zero that ends entry 1
  expectDamage(cut, secondEntry + 20, "surface entry 1 of 3 runs past the end");
  std::vector<unsigned char> hugeCount = world(2, 16);
  put32(hugeCount, 24 + 8 + 4, 0x10000000u);
  expectDamage(hugeCount, 36, "surface table count 268435456 needs at least");
}

TEST(WorldChecker, ObjectRecordsAreCheckedOneByOne) {
  std::vector<unsigned char> duplicate = smallWorld();
  put32(duplicate, secondRecord() + 48, 1);  // the first object's ID
  expectDamage(duplicate, secondRecord() + 48, "object ID 1 (record 2) is used by an earlier object");

  std::vector<unsigned char> infinite = smallWorld();
  put32(infinite, secondRecord() + 4 * 9, 0x7F800000u);
  expectDamage(infinite, secondRecord() + 36, "transform value 10 of object -1 (record 2) is inf");

  std::vector<unsigned char> negativeName = smallWorld();
  put32(negativeName, kFirstRecord + 52, static_cast<std::uint32_t>(-1));
  expectDamage(negativeName, kFirstRecord + 52, "name length -1 of object 1 (record 1) is negative");

  std::vector<unsigned char> longName = smallWorld();
  put32(longName, secondRecord() + 52, 1000);
  expectDamage(longName, secondRecord() + 52, "runs past the end of the file");
}

TEST(WorldChecker, TheTerminatorMustEndTheFile) {
  std::vector<unsigned char> bytes = smallWorld();
  std::size_t size = bytes.size();
  bytes.push_back(0);
  expectDamage(bytes, size, "1 bytes follow the closing record");
}

TEST(WorldChecker, MissingFilesCannotBeOpened) {
  TempDir dir;
  Morvik world;
  MessageCapture::reset();
  EXPECT_EQ(world.wrp_Open(dir.file("none.wrp").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kCannotOpen);
  EXPECT_NE(MessageCapture::text.find("none.wrp: cannot open the world file"), std::string::npos);
  MessageCapture::reset();
  EXPECT_EQ(world.wrp_Open(dir.path().c_str(), 0, MessageCapture::sink, nullptr, 0), status::kCannotOpen);
}
