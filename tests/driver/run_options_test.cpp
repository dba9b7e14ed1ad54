#include "driver/run_options.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "driver/run_state.h"
#include "stream_capture.h"
#include "temp_dir.h"

namespace {

struct Parsed {
  bool ok;
  std::string errors;
  RunOptions options;
};

Parsed parse(std::vector<std::string> words) {
  runOptions.yes = 0;
  runOptions.pause = 0;
  std::vector<char*> argv;
  for (auto& w : words) argv.push_back(w.data());
  Captured run = captureRun([&] { return static_cast<int>(parseOptions(static_cast<int>(argv.size()), argv.data())); });
  return {run.status != 0, run.err, runOptions};
}

// The settings other than the action, as one line.
std::string settings(const RunOptions& o) {
  return std::string("sep ") + static_cast<char>(o.separator) + " o" + std::to_string(o.objectFormat) + " e" +
         std::to_string(o.elevationFormat) + " col" + std::to_string(o.columnate) + " hdr" + std::to_string(o.header) +
         " bak" + std::to_string(o.backup) + " ver" + std::to_string(o.verify) + " seen" +
         std::to_string(o.optionSeen) + " yes" + std::to_string(o.yes);
}

// Each case line of option_cases.txt is "WORDS => RESULT"; the test computes
// every result and compares the whole file at once.
TEST(ParseOptions, EveryCaseOfTheTable) {
  const std::string usage = parse({}).errors;  // its text is pinned by the end-to-end case without words
  ASSERT_TRUE(usage.starts_with("Syntax:\n")) << usage;
  const std::string name = std::string(TEST_DATA_DIR) + "/option_cases.txt";
  std::istringstream table(readFileText(name));
  std::string actual;
  for (std::string line; std::getline(table, line);) {
    std::size_t arrow = line.find(" => ");
    if (line.starts_with("#") || arrow == std::string::npos) {
      actual += line + "\n";
      continue;
    }
    std::istringstream in(line.substr(0, arrow));
    std::vector<std::string> words{std::istream_iterator<std::string>(in), {}};
    Parsed p = parse(words);
    std::string result = "action " + std::to_string(static_cast<int>(p.options.action)) + " " + settings(p.options);
    if (!p.ok) {
      std::string message = p.errors.ends_with(usage) ? p.errors.substr(0, p.errors.size() - usage.size()) : "NO USAGE";
      message = message.substr(0, message.find('\n'));
      result = "error: " + message + " | " + result;
    } else if (!p.errors.empty()) {
      result += " | printed " + p.errors;
    }
    for (std::size_t nul; (nul = result.find('\0')) != std::string::npos;) result.replace(nul, 1, "\\0");
    actual += line.substr(0, arrow) + " => " + result + "\n";
  }
  if (std::getenv("VORLAN_UPDATE_EXPECTED")) writeFileText(name, actual);
  EXPECT_EQ(actual, readFileText(name));
}

TEST(ParseOptions, EveryParseStartsFromTheDefaultsButKeepsYesAndPause) {
  parse({"-BVHF-C;EO3EE1"});
  runOptions.yes = 1;
  runOptions.pause = 1;
  std::string word = "-kP", map = "map";
  char* argv[] = {map.data(), word.data()};
  StreamCapture err(stderr);
  ASSERT_TRUE(parseOptions(1, argv));
  EXPECT_EQ(settings(runOptions), "sep , o1 e0 col1 hdr1 bak0 ver0 seen0 yes1");
  EXPECT_EQ(runOptions.pause, 1u);
  EXPECT_TRUE(parseOptions(2, argv));  // P clears the pause
  err.finish();
  EXPECT_EQ(runOptions.pause, 0u);
}

}  // namespace
