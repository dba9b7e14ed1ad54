#include "templates/template_reduction.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "driver/run_state.h"
#include "stream_capture.h"
#include "template_test_support.h"

// A template whose id changed behind the store's back is no longer found
// under its id, so the store refuses to remove it: the reduction stops
// without saving.
TEST(ReduceTemplates, ATemplateTheStoreCannotRemoveStopsWithoutSaving) {
  TempDir dir;
  Vorlan p;
  p.pew_New(1, 1, 1);
  p.pew_add_template(1);
  p.pew_add_template(2)->templateId = 77;
  p.pew_add_template(3);
  runOptions.yes = 1;
  projectPath.Set(dir.file("map.pew"));
  Captured run = captureRun([&] { return reduceTemplates(p); });
  runOptions.yes = 0;
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "Cannot delete chain\n");
  EXPECT_EQ(run.out, "Reducing templates\n");
  EXPECT_EQ(templateIds(p), (std::vector<std::uint32_t>{77, 3}));  // the first stays removed in memory
  EXPECT_FALSE(std::filesystem::exists(dir.file("map.pew")));
}
