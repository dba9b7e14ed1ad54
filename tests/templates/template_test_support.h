// Shared by the template tests: a complete, exact description of a template
// for comparisons, a project with one template of every kind, and whole runs
// of the program on a project and a library in a temporary folder.
#pragma once

#include <string>
#include <vector>

#include "../driver/run_test_support.h"
#include "fixture_builder.h"
#include "temp_dir.h"
#include "vorlan.h"

// Every member of the template (the id too unless `withId` is false), with
// floating-point values in hexadecimal so that nothing is rounded away.
std::string describeTemplate(const PewObjectTemplate& t, bool withId = true);

// The descriptions of all templates of the project, in table order.
std::vector<std::string> describeTemplates(Vorlan& project, bool withId = true);

// Templates with ids 1..5 that use every member the library text carries:
// types, markers (a natural ellipse among them), colours, bounds, spreads,
// centres, road frames and artificial objects; and objects of some.
ProjectFixture richProject();

// A folder with map.pew; runs the program there.
class ProjectRun {
 public:
  explicit ProjectRun(const ProjectFixture& f) { f.writeTo(pew()); }
  std::string pew() const { return dir.file("map.pew"); }
  std::string file(const std::string& name) const { return dir.file(name); }
  // Runs the program with the option word, the project and the text file.
  RunResult run(const std::string& options, const std::string& textFile = "") const;
  // The project as the file holds it now.
  std::vector<unsigned char> bytes() const { return readFileBytes(pew()); }
  // Opens the file into `project`; true when it opened.
  bool open(Vorlan& project) const;

  TempDir dir;
};
