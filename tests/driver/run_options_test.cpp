#include "driver/run_options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/run_state.h"
#include "stream_capture.h"

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
  StreamCapture err(stderr);
  bool ok = parseOptions(static_cast<int>(argv.size()), argv.data());
  return {ok, err.finish(), runOptions};
}

std::string unknown(char c) { return std::string("unknown -option character '") + c + "'\n"; }

// The settings other than the action, as one line.
std::string settings(const RunOptions& o) {
  return std::string("sep ") + static_cast<char>(o.separator) + " o" + std::to_string(o.objectFormat) + " e" +
         std::to_string(o.elevationFormat) + " col" + std::to_string(o.columnate) + " hdr" + std::to_string(o.header) +
         " bak" + std::to_string(o.backup) + " ver" + std::to_string(o.verify) + " seen" +
         std::to_string(o.optionSeen) + " yes" + std::to_string(o.yes);
}

const std::string kDefaults = "sep , o1 e0 col1 hdr1 bak0 ver0 seen1 yes0";

// The usage text itself is pinned by the end-to-end case without words.
std::string usage() { return parse({}).errors; }

TEST(ParseOptions, ActionsAndSettingsOfEachCommandLine) {
  const struct {
    std::vector<std::string> words;
    ActionCode action;
    std::string settings;
  } cases[] = {
      {{"map", "+plus", "out.txt"}, ActionCode::Analyse, "sep , o1 e0 col1 hdr1 bak0 ver0 seen0 yes0"},
      {{"-B", "map"}, ActionCode::None, "sep , o1 e0 col1 hdr1 bak1 ver0 seen1 yes0"},
      {{"-at"}, ActionCode::AddTemplates, kDefaults},
      {{"-DO"}, ActionCode::DeleteObjects, kDefaults},
      {{"-dt"}, ActionCode::DeleteTemplates, kDefaults},
      {{"-e"}, ActionCode::ExportObjects, kDefaults},
      {{"-eo"}, ActionCode::ExportObjects, "sep , o0 e0 col1 hdr1 bak0 ver0 seen1 yes0"},
      {{"-EO"}, ActionCode::ExportObjects, "sep , o0 e0 col1 hdr1 bak0 ver0 seen1 yes0"},
      {{"-eo0"}, ActionCode::ExportObjects, "sep , o0 e0 col1 hdr1 bak0 ver0 seen1 yes0"},
      {{"-Eo2"}, ActionCode::ExportObjects, "sep , o2 e0 col1 hdr1 bak0 ver0 seen1 yes0"},
      {{"-EO3"}, ActionCode::ExportObjects, "sep , o3 e0 col1 hdr1 bak0 ver0 seen1 yes0"},
      {{"-eo2", "-e"}, ActionCode::ExportObjects, "sep , o2 e0 col1 hdr1 bak0 ver0 seen1 yes0"},  // E keeps the format
      {{"-et"}, ActionCode::ExportTemplates, kDefaults},
      {{"-ee"}, ActionCode::ExportElevations, kDefaults},
      {{"-EE0"}, ActionCode::ExportElevations, kDefaults},
      {{"-ee1"}, ActionCode::ExportElevations, "sep , o1 e1 col1 hdr1 bak0 ver0 seen1 yes0"},
      {{"-ee1", "-ee"}, ActionCode::ExportElevations, kDefaults},
      {{"-i"}, ActionCode::ImportObjects, kDefaults},
      {{"-io"}, ActionCode::ImportObjects, kDefaults},
      {{"-IT"}, ActionCode::ImportTemplates, kDefaults},
      {{"-ie"}, ActionCode::ImportElevations, kDefaults},
      {{"-lt"}, ActionCode::ListTemplates, kDefaults},
      {{"-LZ"}, ActionCode::ListDuplicates, kDefaults},
      {{"-r"}, ActionCode::ReduceObjects, kDefaults},
      {{"-ro"}, ActionCode::ReduceObjects, kDefaults},
      {{"-rt"}, ActionCode::ReduceTemplates, kDefaults},
      {{"-rot"}, ActionCode::ReduceAll, kDefaults},
      {{"-RTO"}, ActionCode::ReduceAll, kDefaults},
      {{"-rz"}, ActionCode::RemoveDuplicates, kDefaults},
      {{"-t"}, ActionCode::SelfTest, kDefaults},
      {{"-u"}, ActionCode::Analyse, kDefaults},
      {{"-x"}, ActionCode::ExportWrp, kDefaults},
      {{"-X", "-LT"}, ActionCode::ListTemplates, kDefaults},  // the last action wins
      {{"-ix"}, ActionCode::ExportWrp, kDefaults},            // I alone, then X
      {{"-rb"}, ActionCode::ReduceObjects, "sep , o1 e0 col1 hdr1 bak1 ver0 seen1 yes0"},  // R alone, then B
      {{"-dty"}, ActionCode::DeleteTemplates, "sep , o1 e0 col1 hdr1 bak0 ver0 seen1 yes1"},
      {{"-DTY"}, ActionCode::DeleteTemplates, "sep , o1 e0 col1 hdr1 bak0 ver0 seen1 yes1"},
      {{"-dT", "-y"}, ActionCode::DeleteTemplates, "sep , o1 e0 col1 hdr1 bak0 ver0 seen1 yes1"},
      {{"-bvY", "map", "-EoC;"}, ActionCode::ExportObjects, "sep ; o0 e0 col1 hdr1 bak1 ver1 seen1 yes1"},
      {{"-f"}, ActionCode::None, "sep , o1 e0 col0 hdr1 bak0 ver0 seen1 yes0"},
      {{"-F0"}, ActionCode::None, "sep , o1 e0 col0 hdr1 bak0 ver0 seen1 yes0"},
      {{"-f1"}, ActionCode::None, kDefaults},
      {{"-h"}, ActionCode::None, "sep , o1 e0 col1 hdr0 bak0 ver0 seen1 yes0"},
      {{"-H0"}, ActionCode::None, "sep , o1 e0 col1 hdr0 bak0 ver0 seen1 yes0"},
      {{"-h1"}, ActionCode::None, kDefaults},
      {{"-c;"}, ActionCode::None, "sep ; o1 e0 col1 hdr1 bak0 ver0 seen1 yes0"},
      {{"-C|"}, ActionCode::None, "sep | o1 e0 col1 hdr1 bak0 ver0 seen1 yes0"},
      {{"-c-"}, ActionCode::None, "sep - o1 e0 col1 hdr1 bak0 ver0 seen1 yes0"},
      {{"-FH"}, ActionCode::None, "sep , o1 e0 col0 hdr0 bak0 ver0 seen1 yes0"},
      {{"-fx"}, ActionCode::ExportWrp, "sep , o1 e0 col0 hdr1 bak0 ver0 seen1 yes0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.words.back());
    Parsed p = parse(c.words);
    ASSERT_TRUE(p.ok) << p.errors;
    EXPECT_EQ(p.errors, "");
    EXPECT_EQ(p.options.action, c.action);
    EXPECT_EQ(settings(p.options), c.settings);
  }
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

TEST(ParseOptions, ErrorsNameTheCharacterAndAreFollowedByUsage) {
  struct ErrorCase {
    std::vector<std::string> words;
    std::string message;
  } cases[] = {
      {{"-e0", "map"}, unknown('0')},
      {{"-eo4"}, unknown('4')},
      {{"-ee2"}, unknown('2')},
      {{"-f2"}, unknown('F')},
      {{"-H9"}, unknown('H')},
      {{"-fq"}, unknown('q')},
      {{"-a"}, unknown('\0')},
      {{"-ax"}, unknown('x')},
      {{"-d"}, unknown('\0')},
      {{"-dx"}, unknown('x')},
      {{"-l"}, unknown('\0')},
      {{"-lq"}, unknown('q')},
      {{"-ca"}, "Separation char is not punctuation\n"},
      {{"-c"}, "Separation char is not punctuation\n"},
      {{"-"}, "missing an -option character\n"},
      {{"map", "-x", "-"}, "missing an -option character\n"},
  };
  const std::string usage = ::usage();
  ASSERT_TRUE(usage.starts_with("Syntax:\n")) << usage;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.words.back());
    Parsed p = parse(c.words);
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.errors, c.message + usage);
  }
  for (char letter : std::string("gjmnoqswzGJMNOQSWZ0123456789;,.-+*")) {
    Parsed p = parse({std::string("-") + letter});
    EXPECT_FALSE(p.ok) << letter;
    EXPECT_EQ(p.errors, unknown(letter) + usage);
  }
}

TEST(ParseOptions, ParsingStopsAtTheFirstBadWord) {
  Parsed p = parse({"-fx", "-q", "-lt"});
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.options.columnate, 0);               // set before the error
  EXPECT_EQ(p.options.action, ActionCode::ExportWrp);  // -lt never parsed
  EXPECT_EQ(p.errors, unknown('q') + usage());
}

}  // namespace
