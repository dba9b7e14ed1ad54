// Whole runs of the program on a project in a temporary folder, for the
// template tests.
#pragma once

#include <string>
#include <vector>

#include "../driver/run_test_support.h"
#include "fixture_builder.h"
#include "temp_dir.h"
#include "project/vorlan.h"

class ProjectRun {
 public:
  explicit ProjectRun(const ProjectFixture& f) { f.writeTo(pew()); }
  std::string pew() const { return dir.file("map.pew"); }
  std::string file(const std::string& name) const { return dir.file(name); }
  // Runs the program with the option word, the project and the text file.
  RunResult run(const std::string& options, const std::string& textFile = "") const {
    std::vector<std::string> words{options, pew()};
    if (!textFile.empty()) words.push_back(textFile);
    return runWith(words);
  }
  std::vector<unsigned char> bytes() const { return readFileBytes(pew()); }

  TempDir dir;
};

inline std::vector<std::uint32_t> templateIds(Vorlan& project) {
  std::vector<std::uint32_t> ids;
  for (PewObjectTemplate* t = project.pew_get_template(static_cast<unsigned*>(nullptr)); t; t = t->next)
    ids.push_back(t->templateId);
  return ids;
}
