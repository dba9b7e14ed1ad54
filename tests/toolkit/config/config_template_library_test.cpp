// A template library as the template export writes it (exported_library.txt,
// read with the export's CRLF line ends), read back whole into the tree of
// exported_library_tree.txt. Large classes are read in the lookup tests;
// large libraries in the benchmark runner.
#include <gtest/gtest.h>

#include "config/config_test_helpers.h"
#include "temp_dir.h"

namespace {

std::string ExportedLibrary() {
  std::string text;
  for (char c : readFileText(VORLAN_TOOLKIT_TESTS "/config/exported_library.txt")) text += c == '\n' ? "\r\n" : std::string(1, c);
  return text;
}

}  // namespace

TEST(ConfigTemplateLibrary, ExportedLibraryReadsBackWhole) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader, ExportedLibrary()), 0) << reader.ErrorString(1);
  // The frames are taken by position; the first is written " Road".
  EXPECT_EQ(TreeText(reader) + "\n", readFileText(VORLAN_TOOLKIT_TESTS "/config/exported_library_tree.txt"));
}
