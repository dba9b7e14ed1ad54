#include "run_test_support.h"

#include "driver/run_state.h"
#include "fixture_builder.h"
#include "stream_capture.h"

RunResult runWith(std::vector<std::string> words, LibraryVersion library) {
  words.insert(words.begin(), "/opt/tools/vorlan");
  std::vector<char*> argv;
  for (auto& w : words) argv.push_back(w.data());
  argv.push_back(nullptr);
  runOptions.yes = 0;
  runOptions.pause = 0;
  return captureRun([&] { return runProgram(static_cast<int>(words.size()), argv.data(), library); });
}

std::string writeProject(const std::string& name, int objects) {
  ProjectFixture f;
  f.grid(2, 2, 10.0f, {1, 2, 3, 4});
  f.addTemplate(1, "ca\\house.p3d", "house");
  for (int i = 0; i < objects; ++i) f.addObject(1).at(10.0f * static_cast<float>(i), 5, 0);
  return f.writeTo(name);
}
