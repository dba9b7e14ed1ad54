#include "elevations/elevation_import.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

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
  StreamCapture out(stdout);
  StreamCapture err(stderr);
  int result = readElevationFile(project, name.c_str());
  std::string errText = err.finish();
  std::string outText = out.finish();
  // Messages name the file; tests see it as "grid.txt".
  for (std::string* s : {&outText, &errText}) {
    for (std::size_t at; (at = s->find(name)) != std::string::npos;) s->replace(at, name.size(), "grid.txt");
  }
  return {result, outText, errText, heightsOf(project)};
}

// The heights as text, "%g" each, so that NaNs and signed zeros compare too.
std::string heightText(const std::vector<float>& heights) {
  std::string text;
  char one[32];
  for (float h : heights) text += (text.empty() ? "" : " ") + std::string(one, std::snprintf(one, sizeof one, "%g", h));
  return text;
}

}  // namespace

// Each case reads one text into a fresh grid of sevens with a spacing of 10.
// `out` is compared only where it is given. What a failed import leaves in
// memory is never saved (the whole-run tests show that).
TEST(ElevationImport, TextsAndWhatTheyLeave) {
  const std::string h22 = ascHeader(2, 2, "10.0"), h32 = ascHeader(3, 2, "10.0"), h33 = ascHeader(3, 3, "10.0");
  const std::string start = "Importing elevations from grid.txt...\n";
  const std::string echo22 = "ncols 2nrows 2xllcorner 0.0yllcorner 0.0cellsize 10.0NODATA_value -9999";
  const std::string badFloats = "bad float values in asc file\n", noInt = "Unknown int format of asc file\n";
  const std::string noFloat = "Unknown float format of asc file\n", sizes = "Grid dimensions are not the same\n";
  struct Case {
    unsigned columns, rows;
    std::string text;
    int result;
    std::string err, heights, out = {};
  } cases[] = {
      // Sizes are compared crosswise: the export's own 3 x 2 file is refused, 2 x 3 passes in storage order.
      {3, 2, h32 + "1 2 3\r\n\r\n4 5 6\r\n\r\n", 1, sizes, "7 7 7 7 7 7"},
      {3, 2, ascHeader(2, 3, "10.0") + "1 2\r\n3 4\r\n5 6\r\n", 0, "", "1 2 3 4 5 6",
       start + "ncols 2nrows 3xllcorner 0.0yllcorner 0.0cellsize 10.0NODATA_value -9999...Done\n"},
      // The cell size must match exactly.
      {2, 2, ascHeader(2, 2, "10") + "1 2 3 4", 0, "", "1 2 3 4"},
      {2, 2, ascHeader(2, 2, "1e1") + "1 2 3 4", 0, "", "1 2 3 4"},
      {2, 2, ascHeader(2, 2, "10.000000001") + "1 2 3 4", 0, "", "1 2 3 4"},
      {2, 2, ascHeader(2, 2, "10.01") + "1 2 3 4", 1, sizes, "7 7 7 7"},
      {2, 2, ascHeader(2, 2, "9.9999") + "1 2 3 4", 1, sizes, "7 7 7 7"},
      {2, 2, ascHeader(2, 2, "nan") + "1 2 3 4", 1, sizes, "7 7 7 7"},
      {2, 2, ascHeader(2, 2, "-10") + "1 2 3 4", 1, sizes, "7 7 7 7"},
      // Header keys in any case; a value of -1 stops without a word, a wrong key with one.
      {2, 2, "NCOLS 2\r\nNRows 2\r\nXLLCORNER 5\r\nyllCorner 7\r\nCELLSIZE 10\r\nnodata_VALUE 0\r\n1 2 3 4", 0, "",
       "1 2 3 4"},
      {2, 2, "ncols 2\r\nnrows -1\r\n1 2 3 4", 1, "", "7 7 7 7"},
      {2, 2, "ncols 2\r\nnrows 2\r\nxllcorner -1\r\n1 2 3 4", 1, "", "7 7 7 7"},
      {2, 2, "ncols 2\r\nnrows 2\r\nxllcorner 0\r\nyllcorner -1.0\r\n1 2 3 4", 1, "", "7 7 7 7"},
      {2, 2, "ncols 2\r\nnrows 2\r\nxllcorner 0\r\nyllcorner 0\r\ncellsize -1\r\n1 2 3 4", 1, "", "7 7 7 7"},
      {2, 2, "ncols 2\r\nnrows 2\r\nxllcorner 0\r\nyllcorner 0\r\ncellsize 10\r\nNODATA_value -1\r\n1 2 3 4", 1, "",
       "7 7 7 7"},
      {2, 2, "ncols 2\r\nnrows 2\r\nxllcenter 0\r\n", 1, noFloat, "7 7 7 7"},
      {2, 2, "ncols 2\r\nrows 2\r\n", 1, noInt, "7 7 7 7"},
      // A short header says which line is missing; lines ended by line feeds alone run together.
      {2, 2, "ncols 2\r\nnrows 2\r\n", 1, noFloat + "grid.txt: the asc header ends before its \"xllcorner\" line\n",
       "7 7 7 7", start + "ncols 2nrows 2"},
      {2, 2, "ncols 2\nnrows 2\nxllcorner 0.0\nyllcorner 0.0\ncellsize 10.0\nNODATA_value -9999\n1 2 3 4\n", 1,
       noInt + "grid.txt: the asc header ends before its \"nrows\" line\n", "7 7 7 7"},
      // Without an "ncols" line the file is tried as points.
      {2, 2, "", 1, noInt + "grid.txt: the xyz data is empty\n", "7 7 7 7",
       start + "re-trying import in xyz format\n"},
      // Blanks of every kind in the body; tokens that are no numbers read as strtod reads them.
      {3, 3, h33 + "\n\n  1.5\t-2\r\r\n\n x3  \t\n+4 5e1 nan\r\n\r\n-0 7 .25", 0, "", "1.5 -2 0 4 50 nan -0 7 0.25"},
      // The data ends before the last height; text after it is ignored.
      {2, 2, h22 + "1.00 2.00\r\n\r\n3.00\r\n\r\n", 1, badFloats + "1x0\n\n\n", "1 2 3 7", start + echo22 + ".."},
      {2, 2, h22 + "1 2", 1, badFloats + "0x1\n\n\n", "1 2 7 7"},
      {2, 2, h22 + " \r\n\t", 1, badFloats + "0x0\n\n\n", "7 7 7 7"},
      {2, 2, h22 + "1 2 3 4 5 junk", 0, "", "1 2 3 4"},
      // A body without heights ends after the height at row 0, column 0: complete for 1 x 1 only.
      {1, 1, ascHeader(1, 1, "10.0") + "\r\n", 0, "", "7"},
      {0, 3, ascHeader(3, 0, "10.0") + "\r\n", 1, badFloats + "0x0\n\n\n", ""},
      {0, 0, ascHeader(0, 0, "10.0") + "\r\n", 1, badFloats + "0x0\n\n\n", ""},
      // Points: x and y are not looked at, only the first point and the row length are.
      {3, 2,
       "       0.00        0.00        1.00\r\n      10.00        0.00       -2.50\r\n"
       "      20.00        0.00        3.00\r\n       0.00       10.00        4.00\r\n"
       "      99.00       99.00        5.00\r\n      10.00       10.00       -6.25\r\n",
       0, noInt, "1 -2.5 3 4 5 -6.25",
       start + "       0.00        0.00        1.00re-trying import in xyz format\n.."},
      {3, 2, "10 0 5\r\n0 0 5\r\n", 1, noInt + "Leading xyz not 0 0 height\n", "7 7 7 7 7 7"},
      {3, 2, "0 0 1\r\n10 0 2\r\n0 10 3\r\n10 10 4\r\n0 20 5\r\n10 20 6\r\n", 1,
       noInt + "grid dimensions not same as map. Is 2x2, should be 3x2\n", "7 7 7 7 7 7"},
      {3, 2, "0 0 1\r\n10 0 2\r\n20 0 3\r\n0 10 4\r\n10 10 5\r\n", 1,
       noInt + "grid.txt: the xyz data ends early: 5 of 6 points read\n", "1 2 3 4 5 7"},  // in memory only
      {3, 2, "0 0 1\r\n10 0 2\r\n20 0 3\r\n", 1,
       noInt + "grid.txt: the xyz data ends within its first row, so its row length is unknown\n", "7 7 7 7 7 7"},
      {3, 2, "0 0 1\n10 0 2\n20 0 3\n0 10 4\n10 10 5\n20 10 6\n", 1,  // points on line feeds alone: one long line
       noInt + "grid.txt: the xyz data ends within its first row, so its row length is unknown\n", "7 7 7 7 7 7"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    Vorlan project;
    makeGrid(project, c.columns, c.rows, 10.0f, std::vector<float>(std::size_t{c.columns} * c.rows, 7.0f));
    Import r = readText(project, c.text);
    EXPECT_EQ(r.result, c.result);
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(heightText(r.heights), c.heights);
    if (!c.out.empty()) {
      EXPECT_EQ(r.out, c.out);
    } else {
      EXPECT_EQ(r.out.ends_with("Done\n"), c.result == 0);  // no line end needed after the last height
    }
  }
}
