// The elevation import on a terminal: a key press abandons it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "elevation_test_support.h"
#include "elevations/elevation_import.h"
#include "stream_capture.h"
#include "temp_dir.h"
#include "terminal_input.h"

TEST(ElevationRun, AKeyPressedAtTheConsoleAbandonsAnAscImport) {
  Vorlan project;
  makeGrid(project, 2, 2, 10.0f, {1, 2, 3, 4});
  TempDir dir;
  writeFileText(dir.file("new.asc"), ascHeader(2, 2, "10.0") + "5 6 7 8");
  TerminalInput terminal;
  if (!terminal.ok()) GTEST_SKIP() << "no pseudo-terminal here";
  ASSERT_TRUE(terminal.typeAhead("q"));
  StreamCapture out(stdout);
  int result = readElevationFile(project, dir.file("new.asc").c_str());
  std::string outText = out.finish();
  EXPECT_EQ(result, 1);
  EXPECT_EQ(outText.substr(outText.size() - 1), ".");  // stopped before the first row was read
  EXPECT_FALSE(terminal.keyWaiting());  // the key was taken
  EXPECT_EQ(heightsOf(project), (std::vector<float>{1, 2, 3, 4}));
  // With no key waiting, the same terminal lets the import run through.
  StreamCapture again(stdout);
  result = readElevationFile(project, dir.file("new.asc").c_str());
  again.finish();
  EXPECT_EQ(result, 0);
  EXPECT_EQ(heightsOf(project), (std::vector<float>{5, 6, 7, 8}));
}
