// Hostile inputs to each reader of outside files (the README's "Bad input"
// table and more): the status, one message naming the file and the place,
// nothing kept; never a crash, a read past the end or an allocation larger
// than the file (the sanitizer build checks the last two).
#include <climits>
#include <tuple>
#include <gtest/gtest.h>

#include "config/config_reader.h"
#include "config/config_test_helpers.h"
#include "project_description.h"
#include "reader_outcome.h"
#include "temp_dir.h"
#include "world/world_bytes.h"

namespace {

// The world file the toolkit's writer makes of a fixture project.
std::vector<unsigned char> writtenWorld(const ProjectFixture& f) {
  std::vector<unsigned char> pew = f.bytes();
  Vorlan project;
  EXPECT_EQ(project.pew_Open("map.pew", 0, MessageCapture::sink, pew.data(), pew.size()), status::kOk);
  Morvik world;
  EXPECT_EQ(world.wrp_CreateFromPew(8, &project, MessageCapture::sink), status::kOk);
  TempDir dir;
  EXPECT_EQ(world.wrp_Create(dir.file("w.wrp").c_str(), 8), status::kOk);
  return readFileBytes(dir.file("w.wrp"));
}

ProjectFixture sampleProject() { return describedProject(VORLAN_TOOLKIT_TESTS "/projects/sample.txt"); }

template <typename Change>
std::vector<unsigned char> sampleWith(Change change) {
  ProjectFixture f = sampleProject();
  change(f);
  return f.bytes();
}

std::vector<unsigned char> withText(std::vector<unsigned char> bytes, std::size_t at, const std::string& text) {
  std::memcpy(&bytes[at], text.data(), text.size());
  return bytes;
}

std::vector<unsigned char> cut(const std::vector<unsigned char>& bytes, std::size_t n) {
  return std::vector<unsigned char>(bytes.begin(), bytes.begin() + static_cast<long>(n));
}

struct Row {
  std::vector<unsigned char> input;
  int status;
  std::string message;
};

// Offsets in the world of projects/small_world.txt.
constexpr std::size_t kIndexes = 40, kTable = 48, kFirst = 56, kSecond = 117;

// A 2 x 1 world with a surface table of three named entries.
std::vector<unsigned char> surfaceWorld(std::uint16_t lastIndex, std::int32_t secondNameLength) {
  WorldBytes w;
  w.header(2, 1, 8).f32(0).f32(0).u16(0).u16(lastIndex).i32(3).i32(0);
  w.i32(secondNameLength).text("data\\grass.rvmat").i32(0).i32(4).text("sand").i32(0);
  return w.object(kIdentity, 5, "x.p3d").terminator().bytes;
}

// A 1 x 1 world whose objects have these IDs, the last one repeating an
// earlier one.
std::vector<unsigned char> worldOfIds(const std::vector<std::int32_t>& ids) {
  WorldBytes w;
  w.header(1, 1, 8).f32(0).u16(0).i32(1).i32(0);
  for (std::int32_t id : ids) w.object(kIdentity, id, "x.p3d");
  return w.terminator().bytes;
}

}  // namespace

TEST(BadInput, ProjectReader) {
  const ProjectFixture sample = sampleProject();
  const std::vector<unsigned char> good = sample.bytes();
  const std::size_t templates = 7 + 4 + 4 + (4 + sample.dataPath.size() + 1) + 5 + 4 + 4 + 5 + 4 + 4 + 4;
  ProjectFixture bare;
  bare.grid(1, 1, 1);
  const std::vector<unsigned char> small = bare.bytes();
  std::vector<unsigned char> noNul = good;
  noNul[std::search(good.begin(), good.end(), std::begin("abc"), std::end("abc")) - good.begin() + 3] = 'x';
  std::string library = "class ObjectTemplate { class A { x = 1; }; };\n";
  const Row rows[] = {
      {{}, status::kNotProject, "bad.pew: not a project file at byte 0, in the header: a file of 0 bytes is too short"},
      {cut(good, good.size() - 60), status::kDamaged, "in the object slot 3 of 3: the file ends: "},
      {patched(good, templates - 4, 0xFFFFFFFFu), status::kDamaged,
       "at byte " + std::to_string(templates - 4) +
           ", in the template count: template count 4294967295 needs at least 627065225070 bytes, only "},
      {patched(good, templates, 0x80000000u), status::kDamaged, "in the template 1 of 2"},
      // Without templates the grid size follows three flags, and the slot
      // count the single height and the value after the extra ones.
      {patched(patched(small, templates + 6, 65536), templates + 10, 65536), status::kDamaged,
       "in the elevation grid"},
      {patched(small, templates + 22, 0xFFFFFFF0u), status::kDamaged, "in the object slot count"},
      {noNul, status::kDamaged, "in the object slot 1 of 3 (ID 1), instance name: a text of 4 bytes that does not end in a NUL"},
      {writtenWorld(sample), status::kNotProject, "signature '8WVR\\x04\\x00\\x00' where POSEW60 or POSEW59 was expected"},
      {withText(good, 0, "POSEW61"), status::kUnsupported, "signature 'POSEW61': only POSEW60 and POSEW59 are read"},
      {sampleWith([](ProjectFixture& f) { f.legacyTextures = 3; }), status::kUnsupported, "legacy"},
      {sampleWith([](ProjectFixture& f) { f.noRoads = 0; }), status::kUnsupported, "no-road-networks flag"},
      {sampleWith([](ProjectFixture& f) { f.noTerrains = 0; }), status::kUnsupported, "unsupported project file"},
      {garbage(5000, 1), status::kNotProject, "where POSEW60 or POSEW59 was expected"},
      {garbage(5000, 2, "POSEW60"), status::kDamaged, "bad.pew: damaged project file at byte 15, in the header: a text of "},
      {std::vector<unsigned char>(library.begin(), library.end()), status::kNotProject, "signature 'class O' where"},
  };
  for (const Row& row : rows) {
    Outcome r = openProject(row.input);
    EXPECT_EQ(r.status, row.status) << row.message;
    EXPECT_HAS(r.message, row.message);
    EXPECT_EQ(std::make_pair(r.calls, r.kept), std::make_pair(1, false));  // one message, nothing kept
  }

  // Cut anywhere before the free-form tail, a project is damaged, with the offset.
  for (std::size_t n = 0; n < good.size() - 24; ++n) {
    Outcome r = openProject(cut(good, n));
    ASSERT_EQ(r.status, n < 7 ? status::kNotProject : status::kDamaged) << "cut at " << n;
    ASSERT_EQ(r.calls, 1) << r.message;
    ASSERT_EQ(r.message.rfind("bad.pew: ", 0), 0u) << r.message;
    ASSERT_TRUE(n < 7 || r.message.find("at byte") != std::string::npos) << r.message;
  }

  // A missing file and a folder (damaged files from disk: the kept regressions).
  TempDir dir;
  Vorlan project;
  MessageCapture::reset();
  EXPECT_EQ(project.pew_Open(dir.file("none.pew").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kCannotOpen);
  EXPECT_HAS(MessageCapture::text, "none.pew");
  EXPECT_EQ(project.pew_Open(dir.path().c_str(), 0, MessageCapture::sink, nullptr, 0), status::kCannotOpen);
  EXPECT_FALSE(project.IsLoaded());

  // Texts of 1 MB and names that are not UTF-8 are kept byte for byte.
  std::vector<unsigned char> odd = sampleWith([](ProjectFixture& f) {
    f.dataPath = std::string(1 << 20, 'p');
    f.templates[0].modelFilename = "data\\caf\xE9\xFF.p3d";
    f.objects[0].instanceName = "\xC3\x28\x80";
  });
  ASSERT_EQ(project.pew_Open("odd.pew", 0, MessageCapture::sink, odd.data(), odd.size()), status::kOk);
  EXPECT_EQ(project.content()->header.dataPath.Length(), std::size_t{1} << 20);
  EXPECT_STREQ(project.pew_get_template(1)->strModelFilename.Get(), "data\\caf\xE9\xFF.p3d");
  EXPECT_EQ(project.pew_get_objects()->pewobject_GetFirstValid()->instanceName(), "\xC3\x28\x80");
}

TEST(BadInput, WorldChecker) {
  const std::vector<unsigned char> good = writtenWorld(describedProject(VORLAN_TOOLKIT_TESTS "/projects/small_world.txt"));
  const std::string damaged = "w.wrp: damaged world file at byte ";
  std::vector<unsigned char> badIndexes = good, trailing = good;
  badIndexes[kIndexes + 6] = 9;  // the last index, and a smaller bad one before it
  badIndexes[kIndexes + 2] = 1;
  trailing.push_back(0);
  std::vector<unsigned char> surfaceCut = surfaceWorld(2, 16);
  surfaceCut.resize(44 + 4 + 16 + 2);  // inside the zero that ends entry 1
  const Row rows[] = {
      {{}, status::kNotWorld, "w.wrp: not an editable world file at byte 0: the file ends after 0 bytes, inside the 24-byte header\n"},
      {cut(good, 30), status::kDamagedWorld, damaged + "24: the heights of the 2 x 2 terrain grid need 16 bytes, but only 6 remain"},
      {cut(good, good.size() - 56), status::kDamagedWorld, "without the closing record"},
      {withText(good, 0, "4WVR"), status::kNotWorld, "w.wrp: not an editable world file at byte 0: signature \"4WVR\": an editable world of version 4 (4WVR); only the editable form 8WVR is read"},
      {withText(good, 0, "OPRW"), status::kNotWorld, "signature \"OPRW\": a packed world (OPRW)"},
      {WorldBytes().text("OPRW").bytes, status::kNotWorld, "a packed world"},  // nothing but the signature
      {withText(good, 0, "8WV\x01"), status::kNotWorld, "\"8WV\\x01\" is not a world's; only the editable form 8WVR is read"},
      {sampleProject().bytes(), status::kNotWorld, "signature \"POSE\" is not a world's"},
      {garbage(5000, 3), status::kNotWorld, "is not a world's"},
      {garbage(5000, 4, "8WVR"), status::kDamagedWorld, damaged},
      {patched(good, 8, 0), status::kDamagedWorld, damaged + "8: land rows 0 is not positive"},
      {patched(good, 12, static_cast<std::uint32_t>(-2)), status::kDamagedWorld, damaged + "12: terrain columns -2"},
      {patched(patched(good, 12, INT_MAX), 16, INT_MAX), status::kDamagedWorld,
       damaged + "24: the heights of the 2147483647 x 2147483647 terrain grid need 18446744056529682436 bytes"},
      {patched(good, 4, INT_MAX), status::kDamagedWorld, "land grid need"},
      {patched(good, 20, 0x7F800000u), status::kDamagedWorld, damaged + "20: land cell size inf"},
      {patched(patched(good, 36, 0x7FC00000u), 32, 0xFF800000u), status::kDamagedWorld,
       damaged + "32: the height at column 0, row 1 is -inf"},
      {badIndexes, status::kDamagedWorld,
       damaged + "42: surface index 1 at column 1, row 0 is not below the surface table's count 1"},
      {withText(good, 0, "8W R"), status::kNotWorld, "signature \"8W R\" is not a world's"},
      {cut(good, kTable), status::kDamagedWorld, damaged + "48: the file ends where the surface table's count should be"},
      {cut(good, kTable + 4), status::kDamagedWorld,
       damaged + "48: surface table count 1 needs at least 4 bytes, but only 0 remain"},
      {patched(good, kTable, 0), status::kDamagedWorld, damaged + "40: surface index 0"},
      {patched(good, kTable, 0x7FFFFFFF), status::kDamagedWorld,
       damaged + "48: surface table count 2147483647 needs at least 8589934588 bytes"},
      {surfaceWorld(3, 16), status::kDamagedWorld, damaged + "34: surface index 3"},
      {surfaceWorld(2, -4), status::kDamagedWorld, damaged + "44: name length -4 in surface entry 1 is negative"},
      {surfaceWorld(2, 100000), status::kDamagedWorld, damaged + "44: a name of 100000 bytes in surface entry 1 runs past the end of the file"},
      {surfaceCut, status::kDamagedWorld, damaged + "64: surface entry 1 of 3 runs past the end"},
      {patched(good, kSecond + 48, 1), status::kDamagedWorld,
       damaged + "165: object ID 1 (record 2) is used by an earlier object"},
      {patched(good, kSecond + 36, 0x7F800000u), status::kDamagedWorld,
       damaged + "153: transform value 10 of object -1 (record 2) is inf"},
      {patched(good, kFirst + 52, 0xFFFFFFFFu), status::kDamagedWorld,
       damaged + "108: name length -1 of object 1 (record 1) is negative"},
      {patched(good, kFirst + 52, 0x7FFFFFFF), status::kDamagedWorld,
       damaged + "108: the name of 2147483647 bytes of object 1 (record 1) runs past the end of the file"},
      {trailing, status::kDamagedWorld, damaged + "235: 1 bytes follow the closing record"},
  };
  for (const Row& row : rows) {
    Outcome r = checkWorld(row.input);
    EXPECT_EQ(r.status, row.status) << row.message;
    EXPECT_HAS(r.message, row.message);
    EXPECT_EQ(std::make_pair(r.calls, r.kept), std::make_pair(1, false));  // one message, nothing kept
  }
  // A repeated ID among thousands, numbered densely from 1 (a bitmap finds
  // it) or spread over the whole range (a table does), and one whose first
  // use lies beyond a dense range's end.
  std::vector<std::int32_t> dense, spread;
  for (std::int32_t i = 1; i <= 3000; ++i) dense.push_back(i);
  for (std::int64_t i = 0; i < 3000; ++i) spread.push_back(static_cast<std::int32_t>(INT_MIN + i * 1431655));
  std::vector<std::int32_t> outlier = dense;
  outlier.insert(outlier.begin() + 10, INT_MAX);
  dense.push_back(1500);
  spread.push_back(spread[1500]);
  outlier.push_back(INT_MAX);
  const std::string record = damaged + std::to_string(24 + 4 + 2 + 4 + 4 + 3000 * (56 + 5) + 48) + ": object ID ";
  EXPECT_HAS(checkWorld(worldOfIds(dense)).message, record + "1500 (record 3001) is used by an earlier object");
  EXPECT_HAS(checkWorld(worldOfIds(spread)).message, record + std::to_string(spread[1500]) + " (record 3001)");
  EXPECT_HAS(checkWorld(worldOfIds(outlier)).message, "object ID 2147483647 (record 3002) is used by an earlier object");
  dense.pop_back();
  EXPECT_EQ(checkWorld(worldOfIds(dense)).status, status::kOk);
  for (std::size_t n = 0; n < good.size(); ++n) {
    Outcome r = checkWorld(cut(good, n));
    ASSERT_EQ(r.status, n < 24 ? status::kNotWorld : status::kDamagedWorld) << "cut at " << n;
    ASSERT_EQ(r.calls, 1);
    ASSERT_NE(r.message.find(" at byte "), std::string::npos) << r.message;
  }

  // Sound worlds get one summary line: the writer's, a hand-made one with
  // named surfaces, one with model names of 1 MB and not UTF-8, and many
  // objects with IDs at the edges of the range (the terminator's own too).
  ProjectFixture many;
  many.grid(480, 480, 1);  // heights read in one piece, shorter than a full one
  many.addTemplate(1, std::string(1 << 20, 'm'));
  many.addTemplate(2, "caf\xE9\xFF.p3d");
  for (std::int32_t id : {INT_MIN, -1, 0, INT_MAX}) many.addObject(1).id = id;
  for (int i = 0; i < 5000; ++i) many.addObject(2).id = 1 + i * 7919;
  const Row sound[] = {
      {good, status::kOk, "w.wrp: sound world 8WVR: land grid 2 x 2, terrain grid 2 x 2, cell size 50, 1 surface entry, 2 objects\n"},
      {surfaceWorld(2, 16), status::kOk, "w.wrp: sound world 8WVR: land grid 2 x 1, terrain grid 2 x 1, cell size 8, 3 surface entries, 1 objects\n"},
      {writtenWorld(many), status::kOk, "w.wrp: sound world 8WVR: land grid 480 x 480, terrain grid 480 x 480, cell size 1, 1 surface entry, 5004 objects\n"},
  };
  for (const Row& row : sound) {
    Outcome r = checkWorld(row.input);
    EXPECT_EQ(r.status, status::kOk);
    EXPECT_EQ(r.message, row.message);
  }

  // A missing file and a folder cannot be opened (a sound one from a file:
  // the world export's verifying run).
  TempDir dir;
  Morvik world;
  MessageCapture::reset();
  EXPECT_EQ(world.wrp_Open(dir.file("none.wrp").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kCannotOpen);
  EXPECT_HAS(MessageCapture::text, "none.wrp: cannot open the world file");
  EXPECT_EQ(world.wrp_Open(dir.path().c_str(), 0, MessageCapture::sink, nullptr, 0), status::kCannotOpen);
  // Without a name, messages name the memory read, or nothing.
  EXPECT_EQ(world.wrp_Open("", 0, MessageCapture::sink, nullptr, 0), status::kCannotOpen);
  EXPECT_HAS(MessageCapture::text, "(no name): cannot open the world file");
  world.wrp_Open("", 0, MessageCapture::sink, good.data(), 3);
  EXPECT_HAS(MessageCapture::text, "(memory): ");
}

TEST(BadInput, ConfigReader) {
  // A text over the bound, a project, noise: refused with the place, no tree.
  std::vector<unsigned char> pew = sampleProject().bytes(), noise = garbage(5000, 5);
  ConfigLimits small;
  small.maxFileBytes = 5000;  // the noise fits exactly
  for (const auto& [text, status, message] : {
           std::tuple{std::string(5001, ' '), status::kCannotOpen,
                      "lib.txt: cannot read the text: file is too large (more than 5000 bytes)"},
           std::tuple{std::string(pew.begin(), pew.end()), status::kConfigSyntax, "lib.txt:1:8: unexpected byte 0x07"},
           std::tuple{std::string(noise.begin(), noise.end()), status::kConfigSyntax, ": this is not a text file"}}) {
    Tovisk refusing;
    refusing.SetLimits(small);
    EXPECT_EQ(ParseText(refusing, text), status);
    EXPECT_HAS(std::string(refusing.ErrorString(status)), message);
    EXPECT_EQ(refusing.rap_get_root(), nullptr);
  }

  // Lines of 1 MB (a string, a word, a comment); names and values that are
  // not UTF-8 are kept byte for byte.
  std::string mb(1 << 20, 'a');
  Tovisk reader;
  ASSERT_EQ(ParseText(reader, "s = \"" + mb + "\";\nw = " + mb + ";\n// " + mb + "\nclass caf\xE9 { n\xFF = \"\xC3\x28\"; };\n"),
            status::kOk);
  EXPECT_EQ(TreeText(reader), "s=" + mb + " w=" + mb + " caf\xE9{n\xFF=\xC3\x28}");
}
