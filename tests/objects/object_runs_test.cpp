// Whole runs of the program with the object actions, for the dispatch from
// the option letters to the actions and back to the exit status.
#include <gtest/gtest.h>

#include "input_feed.h"
#include "run_test_support.h"
#include "temp_dir.h"

namespace {

// The output behind the statistics report.
std::string actionOutput(const std::string& out) {
  const std::string end = "===========================\n";
  std::size_t at = out.rfind(end);
  return at == std::string::npos ? out : out.substr(at + end.size());
}

}  // namespace

TEST(ObjectRuns, EachActionIsReachedByItsOptions) {
  struct Case {
    std::vector<std::string> options;
    std::string output;  // what the action prints first
    int status;
  };
  const std::vector<Case> cases = {
      {{"-DOY"}, "Deleting Objects\nObjects Deleted\n", 0},
      {{"-RY"}, "Reducing objects...\n\nthere were no deleted objects to remove\n", 0},
      {{"-ROTY"}, "Reducing objects...\n\nthere were no deleted objects to remove\n", 0},
      {{"-LZ"}, "listing duplicate objects...\nno duplicates found\n", 0},
      {{"-RZY"}, "removing duplicate objects...\nno duplicates found\n", 0},
      {{"-EO0", "-F", "-H"}, "\"ca\\house\",0.00,5.00,0.00,0.00\r\n\"ca\\house\",10.00,5.00,0.00,0.00\r\n", 0},
  };
  for (const Case& c : cases) {
    TempDir dir;
    std::string project = writeProject(dir.file("map.pew"), 2);
    std::vector<std::string> words = c.options;
    words.push_back(project);
    RunResult r = runWith(words);
    EXPECT_EQ(r.status, c.status) << c.options[0] << r.err;
    EXPECT_EQ(actionOutput(r.out), c.output) << c.options[0];
  }
}

TEST(ObjectRuns, ExportThenImportThroughTheCommandLine) {
  TempDir dir;
  std::string project = writeProject(dir.file("map.pew"), 3);
  std::string text = dir.file("objects.txt");
  // Without header: the label is wider than the model names here, and its
  // padding would run on until the disk is full.
  RunResult exported = runWith({"-EO1HF", project, text});
  ASSERT_EQ(exported.status, 0) << exported.err;
  EXPECT_EQ(exported.err.substr(exported.err.size() - text.size() - 24), "\nobjects exported to '" + text + "'\n");
  EXPECT_EQ(readFileText(text),
            "\"ca\\house\",0.00,5.00,0.00,0.00,0.00,1.00\r\n"
            "\"ca\\house\",10.00,5.00,0.00,0.00,0.00,1.00\r\n"
            "\"ca\\house\",20.00,5.00,0.00,0.00,0.00,1.00\r\n");

  // The project word comes first: an existing text file named before it
  // would be taken for the project.
  RunResult imported = runWith({"-IY", project, text});
  ASSERT_EQ(imported.status, 0) << imported.err;
  EXPECT_EQ(actionOutput(imported.out), "Importing Objects\n" + readFileText(text));
  // The first record, at x 0, passed for a header; the other two keep the
  // placement the object list gives new objects, and so are twins.
  RunResult listed = runWith({"-LZ", project});
  EXPECT_EQ(actionOutput(listed.out),
            "listing duplicate objects...\n"
            "ca\\house.p3d: ID 4 and 5 @ location 0.00x0.00\n"
            "at least 1 duplicates found\n");
}

TEST(ObjectRuns, DeclinedReductionEndsTheCombinedActionWithOne) {
  TempDir dir;
  std::string project = writeProject(dir.file("map.pew"), 1);
  InputFeed keys("n");
  RunResult r = runWith({"-RTO", project});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(actionOutput(r.out), "Reducing objects...\n");
}
