#include "templates/template_import.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "driver/run_state.h"
#include "status.h"
#include "stream_capture.h"
#include "template_test_support.h"

namespace {

std::string library(const std::string& classes) {
  return "#define ARTIFICIAL 2\r\n#define RGB_DEFAULT -1\r\nclass ObjectTemplate\r\n{\r\n" + classes + "};\r\n";
}

// The library text without its banner (the first three lines).
std::string withoutBanner(const std::string& text) {
  std::size_t at = 0;
  for (int i = 0; i < 3; ++i) at = text.find("\r\n", at) + 2;
  return text.substr(at);
}

// What the import printed on standard output, from its title on.
std::string importOutput(const RunResult& r) { return r.out.substr(r.out.find("Importing Templates from")); }

// Templates with ids 1..5 that use every member the library text carries:
// types, markers (a natural ellipse among them), colours, bounds, spreads,
// centres, road frames and artificial objects.
ProjectFixture richProject() {
  ProjectFixture f;
  f.grid(2, 2, 10.0f, {1, 2, 3, 4});
  FixtureTemplate& house = f.addTemplate(1, "data\\bighouse2.p3d", "big-house 2");
  house.objectType = 2;
  house.outlineColour = 0x0000FF;
  house.objectColour = 0x123456;
  house.geometryBounds[0] = 12.5;
  house.randomRotate[1] = 10;
  house.artificial.push_back({"Gate", 1, {{1, 0, 2}, {3, 0, 4}}});
  house.artificial.push_back({"Wall", 0xFFFFFFFF, {}});
  FixtureTemplate& tree = f.addTemplate(2, "data\\tree.p3d", "tree");
  tree.markerType = 1;
  tree.unknownFlag = 0;
  tree.randomScale[0] = 0.25;
  tree.randomScaleFlag = 1;
  tree.geometryCentre[1] = 1.5f;
  tree.resolutionCentre[2] = -0.125f;
  tree.resolutionBounds[0] = 3;
  FixtureTemplate& road = f.addTemplate(3, "data\\roads\\asphalt-10.p3d", "asphalt 10");
  road.objectType = 3;
  road.road = true;
  road.roadFrame[9] = 12.5f;
  road.xroadFrame[11] = 1e-05f;
  FixtureTemplate& odd = f.addTemplate(4, "data\\odd.p3d", "odd");
  odd.objectType = 9;
  odd.markerType = 7;
  odd.randomOrientationFlag = 2;
  f.addTemplate(5, "data\\plain.p3d", "plain");
  f.addObject(1).at(10, 20, 5);
  return f;
}

ProjectFixture twoTemplates() {
  ProjectFixture f;
  f.grid(1, 1, 10.0f);
  f.addTemplate(3, "data\\house.p3d", "house");
  f.addTemplate(9, "data\\tree.p3d", "tree");
  f.addObject(9);
  return f;
}

TEST(TemplateImport, ReplacingFromAnExportRebuildsEqualTemplates) {
  ProjectRun source(richProject());
  std::string lib = source.file("lib.txt");
  ASSERT_EQ(source.run("-ET", lib).status, 0);
  ProjectRun copy(richProject());
  RunResult r = copy.run("-ITY", lib);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(importOutput(r), "Importing Templates from " + lib +
                                 "\nRemoving existing templates (if any) and objects(if any)\n"
                                 "adding template objects.......\n"
                                 "Done, 5 processed, 0 duplicates (ignored)\n");
  Vorlan after;
  ASSERT_TRUE(copy.open(after));
  EXPECT_EQ(templateIds(after), (std::vector<std::uint32_t>{1, 2, 3, 4, 5}));
  EXPECT_EQ(after.pew_get_objects()->pewobject_GetFirstValid(), nullptr);  // the objects went with them

  // Every member is in the library unless it has a new template's value, and
  // number texts read back exactly: the same library means equal templates.
  std::string again = copy.file("again.txt");
  ASSERT_EQ(copy.run("-ET", again).status, 0);
  EXPECT_EQ(withoutBanner(readFileText(again)), withoutBanner(readFileText(lib)));
}

TEST(TemplateImport, EveryKeyWithItsConversion) {
  ProjectRun run(twoTemplates());
  // A library that sets every key, read into the project.
  ASSERT_EQ(run.run("-ATY", std::string(TEST_DATA_DIR) + "/template_import_every_key_library.txt").status, 0);
  // The template as the export writes it back, compared with
  // template_import_every_key.txt beside this test (VORLAN_UPDATE_EXPECTED=1
  // rewrites it).
  ASSERT_EQ(run.run("-ET", run.file("out.txt")).status, 0);
  std::string text = withoutBanner(readFileText(run.file("out.txt")));
  text = text.substr(text.find(" class Object10_"));
  const std::string expected = std::string(TEST_DATA_DIR) + "/template_import_every_key.txt";
  if (std::getenv("VORLAN_UPDATE_EXPECTED")) writeFileText(expected, text);
  EXPECT_EQ(text, readFileText(expected));
}

TEST(TemplateImport, ExportsOfAnyNameWithoutQuotesReadBack) {
  std::string bytes;
  for (int c = 1; c < 256; ++c)
    if (c != '"' && c != '\r' && c != '\n') bytes += static_cast<char>(c);
  ProjectFixture f;
  f.grid(1, 1, 10.0f);
  FixtureTemplate& odd = f.addTemplate(1, "data\\" + bytes + ".p3d", bytes);
  for (char first : bytes) odd.artificial.push_back({std::string(1, first) + "x", 1, {}});
  f.addTemplate(2, bytes, "a:b;c{d}e=f,g+=h'i");
  ProjectRun run(f);
  std::string lib = run.file("lib.txt");
  ASSERT_EQ(run.run("-ET", lib).status, 0);
  RunResult r = run.run("-ITY", lib);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err.find("warning"), std::string::npos) << r.err;
  std::string again = run.file("again.txt");
  ASSERT_EQ(run.run("-ET", again).status, 0);
  EXPECT_EQ(withoutBanner(readFileText(again)), withoutBanner(readFileText(lib)));
}

// Each file of bad_libraries/ is one library: its first line holds the
// status of the import and, after a tab, the end of standard error
// ("--------------": none of the import's own); the library follows. Also in
// replace mode, where the templates and objects are removed first but the
// removal is not saved either.
TEST(TemplateImport, LibrariesThatAddNothingLeaveTheProjectByteIdentical) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(std::string(TEST_DATA_DIR) + "/bad_libraries")) {
    const std::string what = entry.path().filename().string(), file = readFileText(entry.path().string());
    const std::size_t lineEnd = file.find('\n') + 1, tab = file.find('\t');
    const int status = std::atoi(file.c_str());
    const std::string text = file.substr(lineEnd);
    const std::string message = tab < lineEnd ? file.substr(tab + 1, lineEnd - tab - 1) : "";
    ++count;
    for (const char* option : {"-ATY", "-ITY"}) {
      ProjectRun run(twoTemplates());
      std::string lib = run.file("lib.txt");
      writeFileText(lib, text);
      std::vector<unsigned char> before = run.bytes();
      RunResult r = run.run(option, lib);
      EXPECT_EQ(r.status, status) << what << " " << option << "\n" << r.err;
      EXPECT_EQ(run.bytes(), before) << what;
      if (status > 1) {
        // The reader's own message, naming the file.
        EXPECT_NE(r.err.find(lib + ":"), std::string::npos) << what << "\n" << r.err;
      } else {
        ASSERT_GE(r.err.size(), message.size());
        EXPECT_EQ(r.err.substr(r.err.size() - message.size()), message) << what << "\n" << r.err;
      }
      if (status != 0) {
        EXPECT_EQ(r.out.find("Done,"), std::string::npos) << what;
      }
      std::size_t files = 0;
      for (const auto& e : std::filesystem::directory_iterator(run.dir.path())) files += e.is_regular_file();
      EXPECT_EQ(files, 2u) << what << ": a file was left behind";
    }
  }
  EXPECT_EQ(count, 15) << "bad_libraries/ is missing or incomplete";
}

TEST(TemplateImport, LibraryFarTooLarge) {
  ProjectRun run(twoTemplates());
  std::vector<unsigned char> before = run.bytes();
  // A file far beyond any library (sparse, so the test stays cheap).
  std::string huge = run.file("huge.txt");
  writeFileText(huge, library(""));
  std::filesystem::resize_file(huge, std::uintmax_t{300} << 20);
  RunResult tooLarge = run.run("-ITY", huge);
  EXPECT_EQ(tooLarge.status, status::kCannotOpen);
  EXPECT_NE(tooLarge.err.find(huge + ": cannot read the file: file is too large"), std::string::npos) << tooLarge.err;
  EXPECT_EQ(run.bytes(), before);
}

// The import itself refuses a project that holds no data (the program
// always opens one first).
TEST(TemplateImport, ProjectWithoutDataStopsTheImport) {
  TempDir dir;
  writeFileText(dir.file("lib.txt"), library(" class B { strModelFilename=\"b.p3d\"; };\r\n"));
  Vorlan empty;  // nothing loaded
  Tovisk reader;
  runOptions.yes = 1;
  projectPath.Set(dir.file("map.pew"));
  StreamCapture out(stdout), err(stderr);
  int status = importTemplates(empty, reader, dir.file("lib.txt").c_str(), true);
  std::string errText = err.finish();
  runOptions.yes = 0;
  EXPECT_EQ(status, 1);
  EXPECT_EQ(errText, "No Pew Data available\n");
  EXPECT_EQ(out.finish(), "Importing Templates from " + dir.file("lib.txt") + "\nadding template objects.......\n");
}

}  // namespace
