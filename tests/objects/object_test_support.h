// Helpers for the object tests: a fixture opened as the program's one
// project, with the settings of a run that answers every question with yes,
// and output written through a TextWriter collected into a string.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fixture_builder.h"
#include "temp_dir.h"
#include "text/text_writer.h"
#include "project/vorlan.h"

class OpenedProject {
 public:
  // Writes the fixture to "map.pew" in a fresh folder and opens it as the
  // global project, with projectPath pointing at it and -Y in force.
  explicit OpenedProject(const ProjectFixture& fixture);
  ~OpenedProject();

  Vorlan& get();
  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return dir_.file(name); }
  // The project file is still the one written at the start.
  bool unchanged() const;
  // The names in the project's folder, sorted.
  std::vector<std::string> folderContent() const { return dir_.names(); }

 private:
  TempDir dir_;
  std::string path_;
  std::vector<unsigned char> original_;
};

// What `write` puts into a TextWriter; the writer fails with EFBIG beyond
// 256 MB.
std::string writtenText(const std::function<void(TextWriter&)>& write);

// A fixture with a grid and one template of the given model file name.
ProjectFixture oneTemplate(const std::string& model = "ca\\house.p3d");
