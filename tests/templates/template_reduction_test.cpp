#include "templates/template_reduction.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "driver/run_state.h"
#include "status.h"
#include "stream_capture.h"
#include "template_test_support.h"

namespace {

std::size_t objectCount(Vorlan& project) {
  std::size_t n = 0;
  PewObjects* objects = project.pew_get_objects();
  for (PewObject* o = objects->pewobject_GetFirstValid(); o; o = objects->pewobject_GetNextValid(o)) ++n;
  return n;
}

// What the action printed on standard output after the statistics.
std::string actionOutput(const RunResult& r) { return r.out.substr(r.out.rfind("===========================\n") + 28); }

TEST(ReduceTemplates, NothingUnusedOrNothingAtAllIsNotSaved) {
  ProjectFixture used;
  used.grid(1, 1, 10.0f);
  used.addTemplate(1, "a.p3d", "a");
  used.addTemplate(2, "b.p3d", "b");
  used.addObject(2);
  used.addObject(1);
  ProjectFixture empty;
  empty.grid(1, 1, 10.0f);
  for (const ProjectFixture* f : {&used, &empty}) {
    ProjectRun run(*f);
    std::vector<unsigned char> before = run.bytes();
    RunResult r = run.run("-RTY");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(actionOutput(r), "Reducing templates\nThere were no unused templates to remove\n");
    EXPECT_EQ(r.err.find("Creating"), std::string::npos);
    EXPECT_EQ(run.bytes(), before);
  }
}

TEST(ReduceTemplates, ATemplateTheStoreCannotRemoveStopsWithoutSaving) {
  TempDir dir;
  Vorlan p;
  p.pew_New(1, 1, 1);
  p.pew_add_template(1);
  // Its id changed behind the store's back: the table no longer finds it
  // under its id and refuses to remove it.
  p.pew_add_template(2)->templateId = 77;
  p.pew_add_template(3);
  runOptions.yes = 1;
  projectPath.Set(dir.file("map.pew"));
  StreamCapture out(stdout), err(stderr);
  int status = reduceTemplates(p);
  std::string errText = err.finish();
  runOptions.yes = 0;
  EXPECT_EQ(status, 1);
  EXPECT_EQ(errText, "Cannot delete chain\n");
  EXPECT_EQ(out.finish(), "Reducing templates\n");
  EXPECT_EQ(templateIds(p), (std::vector<std::uint32_t>{77, 3}));  // the first stays removed in memory
  EXPECT_FALSE(std::filesystem::exists(dir.file("map.pew")));
}

TEST(DeleteTemplates, ObjectsGoAndTheProjectIsSavedEvenWithoutTemplates) {
  ProjectFixture noTemplates;
  noTemplates.grid(1, 1, 10.0f);
  noTemplates.addObject(4);
  noTemplates.addObject(5);
  ProjectRun run(noTemplates);
  RunResult r = run.run("-DTY");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(actionOutput(r), "Deleting Templates\nTemplates AND Objects Deleted\n");
  Vorlan after;
  ASSERT_TRUE(run.open(after));
  EXPECT_EQ(objectCount(after), 0u);
}

TEST(ReduceAll, ObjectsFirstThenTemplatesOnlyAfterSuccess) {
  TempDir dir;
  Vorlan p;
  p.pew_New(1, 1, 1);
  p.pew_add_template(1);
  p.pew_get_objects()->AddPewObject()->templateId = 1;
  runOptions.yes = 1;
  projectPath.Set(dir.file("map.pew"));
  int objectRuns = 0;
  {
    StreamCapture out(stdout);
    EXPECT_EQ(reduceObjectsAndTemplates(p, [&] { return ++objectRuns, 6; }), 1);
    EXPECT_EQ(out.finish(), "");  // the template reduction never asked
  }
  EXPECT_EQ(objectRuns, 1);
  EXPECT_EQ(templateIds(p), (std::vector<std::uint32_t>{1}));
  {
    StreamCapture out(stdout);
    EXPECT_EQ(reduceObjectsAndTemplates(p, [&] { return ++objectRuns, 0; }), 0);
    EXPECT_EQ(out.finish(), "Reducing templates\nThere were no unused templates to remove\n");
  }
  runOptions.yes = 0;
  EXPECT_EQ(objectRuns, 2);
}

}  // namespace
