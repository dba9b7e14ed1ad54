// The hostile inputs of the README's "Bad input" table, one row per input
// and reader: what each reader answers (status and the shape of its message)
// to empty, cut, oversized, foreign, garbage and extreme files.
#include <gtest/gtest.h>

#include <cstring>

#include "config/config_reader.h"
#include "config/config_test_helpers.h"
#include "fixture_builder.h"
#include "message_capture.h"
#include "world/morvik.h"
#include "status.h"
#include "temp_dir.h"
#include "world/written_world.h"
#include "project/vorlan.h"

namespace {

struct Outcome {
  int status;
  std::string message;
};

std::vector<unsigned char> garbage(std::size_t n, std::uint32_t seed) {
  std::vector<unsigned char> bytes(n);
  for (auto& b : bytes) {
    seed = seed * 1103515245u + 12345u;
    b = static_cast<unsigned char>(seed >> 24);
  }
  return bytes;
}

void put32(std::vector<unsigned char>& bytes, std::size_t at, std::uint32_t v) { std::memcpy(&bytes[at], &v, 4); }

Outcome openProject(const std::vector<unsigned char>& bytes) {
  static const unsigned char none = 0;
  Vorlan project;
  MessageCapture::reset();
  int s = project.pew_Open("bad.pew", 0, MessageCapture::sink, bytes.empty() ? &none : bytes.data(), bytes.size());
  EXPECT_LE(MessageCapture::calls, 1);
  return {s, MessageCapture::text};
}

Outcome checkWorld(const std::vector<unsigned char>& bytes) {
  static const unsigned char none = 0;
  Morvik world;
  MessageCapture::reset();
  int s = world.wrp_Open("bad.wrp", 0, MessageCapture::sink, bytes.empty() ? &none : bytes.data(), bytes.size());
  EXPECT_EQ(MessageCapture::calls, 1);
  return {s, MessageCapture::text};
}

Outcome readConfig(const std::string& text, const ConfigLimits& limits = ConfigLimits()) {
  Tovisk reader;
  reader.SetLimits(limits);
  int s = ParseText(reader, text);
  return {s, s ? reader.ErrorString(s) : ""};
}

// A project with a grid, two templates and three slots: 0.9 KB.
ProjectFixture sampleProject() {
  ProjectFixture f;
  f.grid(4, 4, 10);
  f.addTemplate(1, "data\\house.p3d", "house");
  f.addTemplate(2, "data\\tree.p3d", "tree");
  f.addObject(1).at(1, 2, 3).named("front");
  f.addDeleted();
  f.addObject(2);
  return f;
}

// Byte offset of the template count of a fixture without texts in its header beyond the defaults.
std::size_t templateCountAt(const ProjectFixture& f) {
  return 7 + 4 + 4 + (4 + f.dataPath.size() + 1) + (4 + f.objectPath.size() + 1) + 4 + 4 +
         (4 + f.valueD.size() + 1) + 4 + 4;
}

#define EXPECT_HAS(text, part) EXPECT_NE((text).find(part), std::string::npos) << (text)

}  // namespace

TEST(BadInput, ProjectReader) {
  const std::vector<unsigned char> good = sampleProject().bytes();

  Outcome r = openProject({});
  EXPECT_EQ(r.status, status::kNotProject);
  EXPECT_HAS(r.message, "bad.pew: not a project file at byte 0, in the header: a file of 0 bytes is too short");

  r = openProject(std::vector<unsigned char>(good.begin(), good.end() - 60));
  EXPECT_EQ(r.status, status::kDamaged);
  EXPECT_HAS(r.message, "bad.pew: damaged project file at byte ");
  EXPECT_HAS(r.message, "in the object slot 3 of 3: the file ends: ");

  std::vector<unsigned char> bytes = good;
  put32(bytes, templateCountAt(sampleProject()), 0xFFFFFFFFu);
  r = openProject(bytes);
  EXPECT_EQ(r.status, status::kDamaged);
  EXPECT_HAS(r.message, "in the template count: template count 4294967295 needs at least 627065225070 bytes, only ");

  std::vector<unsigned char> world = writtenWorld(sampleProject());
  r = openProject(world);
  EXPECT_EQ(r.status, status::kNotProject);
  EXPECT_HAS(r.message, "signature '8WVR\\x04\\x00\\x00' where POSEW60 or POSEW59 was expected");

  bytes = good;
  std::memcpy(bytes.data(), "POSEW61", 7);
  r = openProject(bytes);
  EXPECT_EQ(r.status, status::kUnsupported);
  EXPECT_HAS(r.message, "signature 'POSEW61': only POSEW60 and POSEW59 are read");

  r = openProject(garbage(5000, 1));
  EXPECT_EQ(r.status, status::kNotProject);
  EXPECT_HAS(r.message, "where POSEW60 or POSEW59 was expected");

  bytes = garbage(5000, 2);
  std::memcpy(bytes.data(), "POSEW60", 7);
  r = openProject(bytes);
  EXPECT_EQ(r.status, status::kDamaged);
  EXPECT_HAS(r.message, "bad.pew: damaged project file at byte 15, in the header: a text of ");

  std::string library = "class ObjectTemplate { class A { x = 1; }; };\n";
  r = openProject(std::vector<unsigned char>(library.begin(), library.end()));
  EXPECT_EQ(r.status, status::kNotProject);

  // Texts of 1 MB and names that are not UTF-8 are kept byte for byte.
  ProjectFixture f = sampleProject();
  f.dataPath = std::string(1 << 20, 'p');
  f.templates[0].modelFilename = "data\\caf\xE9\xFF.p3d";
  f.objects[0].instanceName = "\xC3\x28\x80";
  bytes = f.bytes();
  Vorlan project;
  ASSERT_EQ(project.pew_Open("odd.pew", 0, MessageCapture::sink, bytes.data(), bytes.size()), status::kOk);
  EXPECT_EQ(project.content()->header.dataPath.Length(), std::size_t{1} << 20);
  EXPECT_STREQ(project.pew_get_template(1)->strModelFilename.Get(), "data\\caf\xE9\xFF.p3d");
  EXPECT_STREQ(project.pew_get_objects()->pewobject_GetFirstValid()->instanceName.Get(), "\xC3\x28\x80");
}

TEST(BadInput, WorldChecker) {
  const std::vector<unsigned char> good = writtenWorld(sampleProject());
  ASSERT_EQ(checkWorld(good).status, status::kOk);

  Outcome r = checkWorld({});
  EXPECT_EQ(r.status, status::kNotWorld);
  EXPECT_EQ(r.message, "bad.wrp: not an editable world file at byte 0: the file ends after 0 bytes, inside the "
                       "24-byte header\n");

  r = checkWorld(std::vector<unsigned char>(good.begin(), good.begin() + 60));
  EXPECT_EQ(r.status, status::kDamagedWorld);
  EXPECT_HAS(r.message, "bad.wrp: damaged world file at byte 24: the heights of the 4 x 4 terrain grid need 64 bytes, "
                        "but only 36 remain");

  std::vector<unsigned char> bytes = good;
  put32(bytes, 12, 0x7FFFFFFF);
  put32(bytes, 16, 0x7FFFFFFF);
  r = checkWorld(bytes);
  EXPECT_EQ(r.status, status::kDamagedWorld);
  EXPECT_HAS(r.message, "the heights of the 2147483647 x 2147483647 terrain grid need 18446744056529682436 bytes");

  bytes = good;
  std::size_t table = 24 + 16 * 4 + 16 * 2;
  put32(bytes, table, 0x7FFFFFFF);
  r = checkWorld(bytes);
  EXPECT_EQ(r.status, status::kDamagedWorld);
  EXPECT_HAS(r.message, "surface table count 2147483647 needs at least 8589934588 bytes");

  bytes = good;
  put32(bytes, table + 8 + 52, 0x7FFFFFFF);
  r = checkWorld(bytes);
  EXPECT_EQ(r.status, status::kDamagedWorld);
  EXPECT_HAS(r.message, "the name of 2147483647 bytes of object 1 (record 1) runs past the end of the file");

  bytes = good;
  std::memcpy(bytes.data(), "4WVR", 4);
  r = checkWorld(bytes);
  EXPECT_EQ(r.status, status::kNotWorld);
  EXPECT_HAS(r.message, "signature \"4WVR\": an editable world of version 4 (4WVR); only the editable form 8WVR is read");

  r = checkWorld(sampleProject().bytes());
  EXPECT_EQ(r.status, status::kNotWorld);
  EXPECT_HAS(r.message, "signature \"POSE\" is not a world's");

  r = checkWorld(garbage(5000, 3));
  EXPECT_EQ(r.status, status::kNotWorld);

  bytes = garbage(5000, 4);
  std::memcpy(bytes.data(), "8WVR", 4);
  r = checkWorld(bytes);
  EXPECT_EQ(r.status, status::kDamagedWorld);

  // Model names of 1 MB and names that are not UTF-8 are not the checker's concern.
  ProjectFixture f = sampleProject();
  f.templates[0].modelFilename = std::string(1 << 20, 'm');
  f.templates[1].modelFilename = "caf\xE9\xFF.p3d";
  r = checkWorld(writtenWorld(f));
  EXPECT_EQ(r.status, status::kOk);
  EXPECT_HAS(r.message, "bad.wrp: sound world 8WVR: land grid 4 x 4, terrain grid 4 x 4, cell size 10, 1 surface entry, "
                        "2 objects");
}

TEST(BadInput, ConfigReader) {
  Outcome r = readConfig("");
  EXPECT_EQ(r.status, status::kOk);

  r = readConfig("class ObjectTemplate\n{\n class A\n {\n  x = 1;\n");
  EXPECT_EQ(r.status, status::kConfigSyntax);
  EXPECT_EQ(r.message, "lib.txt:6:1: expected '}' to close class 'A' (opened at lib.txt:4:2), found end of file");

  ConfigLimits small;
  small.maxFileBytes = 1000;
  r = readConfig(std::string(1001, ' '), small);
  EXPECT_EQ(r.status, status::kCannotOpen);
  EXPECT_EQ(r.message, "lib.txt: cannot read the text: file is too large (more than 1000 bytes)");

  std::vector<unsigned char> pew = sampleProject().bytes();
  r = readConfig(std::string(pew.begin(), pew.end()));
  EXPECT_EQ(r.status, status::kConfigSyntax);
  EXPECT_EQ(r.message, "lib.txt:1:8: unexpected byte 0x07: this is not a text file");

  std::vector<unsigned char> noise = garbage(5000, 5);
  r = readConfig(std::string(noise.begin(), noise.end()));
  EXPECT_EQ(r.status, status::kConfigSyntax);
  EXPECT_HAS(r.message, ": this is not a text file");

  // Lines of 1 MB: a string, a word, a comment.
  std::string mb(1 << 20, 'a');
  Tovisk reader;
  ASSERT_EQ(ParseText(reader, "s = \"" + mb + "\";\n"), status::kOk);
  EXPECT_EQ(ValueAt(reader, "", "s").size(), mb.size());
  ASSERT_EQ(ParseText(reader, "w = " + mb + ";\n"), status::kOk);
  EXPECT_EQ(ValueAt(reader, "", "w").size(), mb.size());
  EXPECT_EQ(ParseText(reader, "// " + mb + "\nc = 1;\n"), status::kOk);

  // Names and values that are not UTF-8 are kept byte for byte.
  ASSERT_EQ(ParseText(reader, "class caf\xE9 { n\xFF = \"\xC3\x28\"; };\n"), status::kOk);
  EXPECT_EQ(ValueAt(reader, "caf\xE9", "n\xFF"), "\xC3\x28");

  // Include chains: deeper than the bound, and a cycle.
  TempDir dir;
  for (int i = 0; i < 40; ++i)
    writeFileText(dir.file("n" + std::to_string(i) + ".h"), "#include \"n" + std::to_string(i + 1) + ".h\"\n");
  writeFileText(dir.file("n40.h"), "x = 1;\n");
  writeFileText(dir.file("loop.h"), "#include \"main.h\"\n");
  writeFileText(dir.file("main.h"), "#include \"loop.h\"\n");
  std::string main = dir.file("main.h");
  ASSERT_EQ(reader.rap_Create(main.c_str(), 0, "#include \"n0.h\"\n", nullptr, -1, nullptr), status::kConfigInclude);
  EXPECT_HAS(std::string(reader.ErrorString(status::kConfigInclude)), "n30.h:1:1: includes nested more than 32 deep");
  ASSERT_EQ(reader.rap_Create(main.c_str(), 0, nullptr, nullptr, 0, nullptr), status::kConfigInclude);
  EXPECT_HAS(std::string(reader.ErrorString(status::kConfigInclude)), "makes a cycle: ");
}
