#include "elevations/elevation_import.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "elevation_test_support.h"
#include "elevations/elevation_export.h"
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

const std::string kHeader2x2 = ascHeader(2, 2, "10.0");
const std::string kEcho2x2 = "ncols 2nrows 2xllcorner 0.0yllcorner 0.0cellsize 10.0NODATA_value -9999";

float strtodFloat(const char* text) { return static_cast<float>(std::strtod(text, nullptr)); }

}  // namespace

TEST(AscImport, ASquareGridComesBackToTwoDecimals) {
  TempDir dir;
  Vorlan project;
  const std::vector<float> heights = {1.234f, -5.5f, 0.005f, 1e6f + 0.3f, -0.004f, 99.995f, 3e7f, 12.125f, -7.0f};
  makeGrid(project, 3, 3, 2.5f, heights);
  std::string name = dir.file("grid.asc");
  {
    StreamCapture out(stdout);
    ASSERT_EQ(exportElevations(project, name.c_str(), kElevationAsc), 0);
  }
  makeGrid(project, 3, 3, 2.5f);
  StreamCapture out(stdout);
  StreamCapture err(stderr);
  int result = readElevationFile(project, name.c_str());
  std::string errText = err.finish();
  std::string outText = out.finish();
  EXPECT_EQ(result, 0);
  EXPECT_EQ(errText, "");
  EXPECT_EQ(outText, "Importing elevations from " + name +
                         "...\nncols 3nrows 3xllcorner 0.0yllcorner 0.0cellsize 2.5NODATA_value -9999...Done\n");
  std::vector<float> back = heightsOf(project);
  for (std::size_t i = 0; i < heights.size(); ++i) {
    char text[64];
    std::snprintf(text, sizeof text, "%.2f", static_cast<double>(heights[i]));
    EXPECT_EQ(back[i], strtodFloat(text)) << text;
  }
}

TEST(AscImport, SizesAreComparedCrosswise) {
  Vorlan project;
  // Three columns, two rows, as the export writes them: refused.
  makeGrid(project, 3, 2, 10.0f, {9, 9, 9, 9, 9, 9});
  Import r = readText(project, ascHeader(3, 2, "10.0") + "1 2 3\r\n\r\n4 5 6\r\n\r\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.err, "Grid dimensions are not the same\n");
  EXPECT_EQ(r.heights, (std::vector<float>{9, 9, 9, 9, 9, 9}));
  // With the counts exchanged it passes: three rows of two in storage order.
  r = readText(project, ascHeader(2, 3, "10.0") + "1 2\r\n3 4\r\n5 6\r\n");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.out, "Importing elevations from grid.txt...\nncols 2nrows 3xllcorner 0.0yllcorner 0.0cellsize "
                   "10.0NODATA_value -9999...Done\n");
  EXPECT_EQ(r.heights, (std::vector<float>{1, 2, 3, 4, 5, 6}));
}

TEST(AscImport, CellSizeMustMatchExactly) {
  Vorlan project;
  makeGrid(project, 2, 2, 10.0f);
  for (const char* cellSize : {"10", "10.0", "1e1", "10.000000001"}) {
    EXPECT_EQ(readText(project, ascHeader(2, 2, cellSize) + "1 2 3 4").result, 0) << cellSize;
  }
  for (const char* cellSize : {"10.01", "9.9999", "nan", "-10"}) {
    Import r = readText(project, ascHeader(2, 2, cellSize) + "1 2 3 4");
    EXPECT_EQ(r.result, 1) << cellSize;
    EXPECT_EQ(r.err, "Grid dimensions are not the same\n") << cellSize;
  }
}

TEST(AscImport, HeaderKeysAndTheMinusOneSentinel) {
  Vorlan project;
  makeGrid(project, 2, 2, 10.0f);
  Import r = readText(project, "NCOLS 2\r\nNRows 2\r\nXLLCORNER 5\r\nyllCorner 7\r\nCELLSIZE 10\r\nnodata_VALUE 0\r\n1 2 3 4");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.heights, (std::vector<float>{1, 2, 3, 4}));

  // A value of -1 stops the import without a word; so does a wrong key, with one.
  for (const char* header : {"ncols 2\r\nnrows -1\r\n", "ncols 2\r\nnrows 2\r\nxllcorner -1\r\n",
                             "ncols 2\r\nnrows 2\r\nxllcorner 0\r\nyllcorner -1.0\r\n",
                             "ncols 2\r\nnrows 2\r\nxllcorner 0\r\nyllcorner 0\r\ncellsize -1\r\n",
                             "ncols 2\r\nnrows 2\r\nxllcorner 0\r\nyllcorner 0\r\ncellsize 10\r\nNODATA_value -1\r\n"}) {
    r = readText(project, std::string(header) + "1 2 3 4");
    EXPECT_EQ(r.result, 1) << header;
    EXPECT_EQ(r.err, "") << header;
  }
  r = readText(project, "ncols 2\r\nnrows 2\r\nxllcenter 0\r\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.err, "Unknown float format of asc file\n");
  r = readText(project, "ncols 2\r\nrows 2\r\n");
  EXPECT_EQ(r.err, "Unknown int format of asc file\n");
}

TEST(AscImport, AShortHeaderSaysWhichLineIsMissing) {
  Vorlan project;
  makeGrid(project, 2, 2, 10.0f, {5, 5, 5, 5});
  Import r = readText(project, "ncols 2\r\nnrows 2\r\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Importing elevations from grid.txt...\nncols 2nrows 2");
  EXPECT_EQ(r.err, "Unknown float format of asc file\ngrid.txt: the asc header ends before its \"xllcorner\" line\n");
  // Lines ended by line feeds alone run together into the first line.
  r = readText(project, "ncols 2\nnrows 2\nxllcorner 0.0\nyllcorner 0.0\ncellsize 10.0\nNODATA_value -9999\n1 2 3 4\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.err, "Unknown int format of asc file\ngrid.txt: the asc header ends before its \"nrows\" line\n");
  // No "ncols" line at all: the file is tried as points.
  r = readText(project, "");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Importing elevations from grid.txt...\nre-trying import in xyz format\n");
  EXPECT_EQ(r.err, "Unknown int format of asc file\ngrid.txt: the xyz data is empty\n");
  EXPECT_EQ(r.heights, (std::vector<float>{5, 5, 5, 5}));
}

TEST(AscImport, BodyBlanksOfEveryKindAndTokensThatAreNoNumbers) {
  Vorlan project;
  makeGrid(project, 3, 3, 10.0f);
  Import r = readText(project, ascHeader(3, 3, "10.0") + "\n\n  1.5\t-2\r\r\n\n x3  \t\n+4 5e1 nan\r\n\r\n-0 7 .25");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.err, "");
  ASSERT_EQ(r.heights.size(), 9u);
  EXPECT_EQ(r.heights[0], 1.5f);
  EXPECT_EQ(r.heights[1], -2.0f);
  EXPECT_EQ(r.heights[2], 0.0f);  // "x3"
  EXPECT_EQ(r.heights[3], 4.0f);
  EXPECT_EQ(r.heights[4], 50.0f);
  EXPECT_TRUE(std::isnan(r.heights[5]));
  EXPECT_TRUE(std::signbit(r.heights[6]));
  EXPECT_EQ(r.heights[8], 0.25f);
  EXPECT_EQ(r.out.substr(r.out.size() - 8), "...Done\n");  // no line break needed after the last height
}

TEST(AscImport, TheEndOfTheDataBeforeTheLastHeight) {
  Vorlan project;
  makeGrid(project, 2, 2, 10.0f, {5, 5, 5, 5});
  Import r = readText(project, kHeader2x2 + "1.00 2.00\r\n\r\n3.00\r\n\r\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Importing elevations from grid.txt...\n" + kEcho2x2 + "..");
  EXPECT_EQ(r.err, "bad float values in asc file\n1x0\n\n\n");
  r = readText(project, kHeader2x2 + "1 2");
  EXPECT_EQ(r.err, "bad float values in asc file\n0x1\n\n\n");
  r = readText(project, kHeader2x2 + " \r\n\t");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.err, "bad float values in asc file\n0x0\n\n\n");
  // Text after the last height needed is ignored.
  r = readText(project, kHeader2x2 + "1 2 3 4 5 junk");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.heights, (std::vector<float>{1, 2, 3, 4}));
  // A body without heights counts as ending after the height at row 0,
  // column 0: complete for a 1 x 1 grid only.
  struct Empty {
    unsigned columns, rows;
    int result;
    const char* err;
  };
  for (const Empty& e : {Empty{1, 1, 0, ""}, Empty{3, 0, 1, "bad float values in asc file\n0x0\n\n\n"},
                         Empty{0, 0, 1, "bad float values in asc file\n0x0\n\n\n"}}) {
    makeGrid(project, e.rows, e.columns, 10.0f, std::vector<float>(e.rows * e.columns, 5.0f));
    r = readText(project, ascHeader(e.columns, e.rows, "10.0") + "\r\n");
    EXPECT_EQ(r.result, e.result) << e.columns << "x" << e.rows;
    EXPECT_EQ(r.err, e.err) << e.columns << "x" << e.rows;
    EXPECT_EQ(r.out.find("Done\n") != std::string::npos, e.result == 0) << e.columns << "x" << e.rows;
  }
}

TEST(XyzImport, AFileWithoutAnNcolsLineIsReadAsPoints) {
  Vorlan project;
  makeGrid(project, 3, 2, 10.0f);
  Import r = readText(project,
                      "       0.00        0.00        1.00\r\n      10.00        0.00       -2.50\r\n"
                      "      20.00        0.00        3.00\r\n       0.00       10.00        4.00\r\n"
                      "      99.00       99.00        5.00\r\n      10.00       10.00       -6.25\r\n");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.out, "Importing elevations from grid.txt...\n       0.00        0.00        1.00"
                   "re-trying import in xyz format\n..");
  EXPECT_EQ(r.err, "Unknown int format of asc file\n");
  EXPECT_EQ(r.heights, (std::vector<float>{1, -2.5f, 3, 4, 5, -6.25f}));  // x and y are not looked at
}

TEST(XyzImport, RefusedFiles) {
  Vorlan project;
  makeGrid(project, 3, 2, 10.0f, {7, 7, 7, 7, 7, 7});
  Import r = readText(project, "10 0 5\r\n0 0 5\r\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.err, "Unknown int format of asc file\nLeading xyz not 0 0 height\n");
  r = readText(project, "0 0 1\r\n10 0 2\r\n0 10 3\r\n10 10 4\r\n0 20 5\r\n10 20 6\r\n");
  EXPECT_EQ(r.err, "Unknown int format of asc file\ngrid dimensions not same as map. Is 2x2, should be 3x2\n");
  // Too few points, or no second row to measure the first by.
  r = readText(project, "0 0 1\r\n10 0 2\r\n20 0 3\r\n0 10 4\r\n10 10 5\r\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.err, "Unknown int format of asc file\ngrid.txt: the xyz data ends early: 5 of 6 points read\n");
  r = readText(project, "0 0 1\r\n10 0 2\r\n20 0 3\r\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.err,
            "Unknown int format of asc file\n"
            "grid.txt: the xyz data ends within its first row, so its row length is unknown\n");
  // Points on line feeds alone are one long line.
  makeGrid(project, 3, 2, 10.0f, {7, 7, 7, 7, 7, 7});
  r = readText(project, "0 0 1\n10 0 2\n20 0 3\n0 10 4\n10 10 5\n20 10 6\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_NE(r.err.find("ends within its first row"), std::string::npos);
  EXPECT_EQ(r.heights, (std::vector<float>{7, 7, 7, 7, 7, 7}));
}
