#include "templates/template_import.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "driver/run_state.h"
#include "project_description.h"
#include "status.h"
#include "stream_capture.h"
#include "template_test_support.h"

namespace {

// The library text without its banner (the first three lines).
std::string withoutBanner(const std::string& text) {
  std::size_t at = 0;
  for (int i = 0; i < 3; ++i) at = text.find("\r\n", at) + 2;
  return text.substr(at);
}

ProjectFixture twoTemplates() { return describedProject(TEST_DATA_DIR "/two_templates.txt"); }

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

// The import itself refuses a project that holds no data (the program
// always opens one first).
TEST(TemplateImport, ProjectWithoutDataStopsTheImport) {
  TempDir dir;
  writeFileText(dir.file("lib.txt"),
                "class ObjectTemplate\r\n{\r\n class B { strModelFilename=\"b.p3d\"; };\r\n};\r\n");
  Vorlan empty;  // nothing loaded
  Tovisk reader;
  runOptions.yes = 1;
  projectPath.Set(dir.file("map.pew"));
  Captured run = captureRun([&] { return importTemplates(empty, reader, dir.file("lib.txt").c_str(), true); });
  runOptions.yes = 0;
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "No Pew Data available\n");
  EXPECT_EQ(run.out, "Importing Templates from " + dir.file("lib.txt") + "\nadding template objects.......\n");
}

}  // namespace
