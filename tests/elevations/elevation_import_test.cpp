#include "elevations/elevation_import.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "case_lines.h"
#include "elevation_test_support.h"
#include "stream_capture.h"
#include "temp_dir.h"

namespace {

struct Import {
  int result;
  std::string out, err;
  std::vector<float> heights;
};

// Reads `text` as the file "grid.txt" of a fresh folder into the project.
Import readText(Vorlan& project, const std::string& text) {
  TempDir dir;
  std::string name = dir.file("grid.txt");
  writeFileText(name, text);
  Captured run = captureRun([&] { return readElevationFile(project, name.c_str()); });
  // Messages name the file; tests see it as "grid.txt".
  for (std::string* s : {&run.out, &run.err}) {
    for (std::size_t at; (at = s->find(name)) != std::string::npos;) s->replace(at, name.size(), "grid.txt");
  }
  return {run.status, run.out, run.err, heightsOf(project)};
}

// The heights as text, "%g" each, so that NaNs and signed zeros compare too.
std::string heightText(const std::vector<float>& heights) {
  std::string text;
  char one[32];
  for (float h : heights) text += (text.empty() ? "" : " ") + std::string(one, std::snprintf(one, sizeof one, "%g", h));
  return text;
}

// C escapes for the control bytes of the case texts and messages.
std::string escaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    const char* e = c == '\r' ? "\\r" : c == '\n' ? "\\n" : c == '\t' ? "\\t" : c == '\v' ? "\\v" : c == '\\' ? "\\\\" : nullptr;
    out += e ? std::string(e) : std::string(1, c);
  }
  return out;
}

}  // namespace

// The cases and their results are in elevation_import_cases.txt beside this
// test: each "text" line is read into the grid of the "grid" line before it,
// and what the import gives is written below it; the whole is compared at once.
TEST(ElevationImport, TextsAndWhatTheyLeave) {
  const std::string name = std::string(TEST_DATA_DIR) + "/elevation_import_cases.txt";
  std::istringstream cases(readFileText(name));
  std::string actual;
  unsigned columns = 0, rows = 0;
  for (std::string line; std::getline(cases, line);) {
    std::string key = line.substr(0, line.find(' '));
    if (key == "result" || key == "err" || key == "heights" || key == "out") continue;
    actual += line + "\n";
    if (key == "grid") std::sscanf(line.c_str(), "grid %u %u", &columns, &rows);
    if (key != "text") continue;
    Vorlan project;
    makeGrid(project, columns, rows, 10.0f, std::vector<float>(std::size_t{columns} * rows, 7.0f));
    Import r = readText(project, unescapeCaseText(line.substr(5)));
    actual += "result " + std::to_string(r.result) + "\nerr " + escaped(r.err) + "\nheights " + heightText(r.heights) +
              "\nout " + escaped(r.out) + "\n";
  }
  if (std::getenv("VORLAN_UPDATE_EXPECTED")) writeFileText(name, actual);
  EXPECT_EQ(actual, readFileText(name));
}
