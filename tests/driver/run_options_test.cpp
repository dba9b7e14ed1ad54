#include "driver/run_options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/run_state.h"
#include "stream_capture.h"

namespace {

const std::string kUsage =
    "Syntax:\n"
    "Vorlan [-option(s) [ImportTextFile.any]] Anyfile[.pew] [ExportTextFile.any]\n\n"
    "Options: case InSensSITive, any order\n\n"
    "\tnone:\tAnalyse the pew to verify it's integrity\n"
    "\t\tPrint some statistics\n"
    "\t-U:\t(Default) As above\n"
    "\t-X:\tExport to wrp\n"
    "\t-RZ:\tRemove Duplicated objects\n"
    "\t-LZ:\tList Duplicated objects\n"
    "\t-LT[Cc]:\tList all templates\n"
    "\t-E[o0][Cc]:\tExport objects in world tools format\n"
    "\t-Eo1[Cc]:\tExport objects in extended format(includes relative height info)\n"
    "\t-Eo2[Cc]:\tExport objects in row (pew) transform\n"
    "\t-Eo3[Cc]:\tExport objects in column (wrp) transform\n"
    "\t-ET[Cc]:\tExport template\n"
    "\t-EE[0][Cc]:\tExport elevations in asc format\n"
    "\t-EE1[Cc]:\tExport elevations in xyz format\n"
    "\t-Cc:\tc=SeparationCharacter. (default is ',')\n"
    "\t-Do[Y]:\tDelete all objects\n"
    "\t-DT[Y]:\tDelete all templates (and objects)\n"
    "\t-R[o][Y]:\tReduce objects (default)\n"
    "\t-RT[Y]:\tReduce templates\n"
    "\t-I[o][Y]:\tImport objects (and build templates where necessary). Default\n"
    "\t-IT[Y]:\tImport templates\n"
    "\t-IE[Y]:\tImport elevations\n"
    "\t-Y:\tYes. Don't prompt for ask\n"
    "\t-P:\tdo NOT Pause after output\n"
    "\t-A:\tx,y[,z] Add offsets\n"
    "\t-T:\tTests the dll. 'Office use only'\n"
    "\t-V:\tVerify integrity after writing\n"
    "\t-B:\tmake a backup\n"
    "\t-H:\tfirst line is header\n"
    "\t-F:\tcolumnate output\n";

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

TEST(ParseOptions, UsageTextIsExactAndFollowsNoWords) {
  Parsed p = parse({});
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.errors, kUsage);
  int lines = 0;
  for (char c : kUsage) lines += c == '\n';
  EXPECT_EQ(lines, 33 + 2);  // two of the 33 lines end in a blank line
}

TEST(ParseOptions, DefaultsWithoutAnyOptionWord) {
  Parsed p = parse({"map", "+plus", "out.txt"});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.errors, "");
  EXPECT_EQ(p.options.action, ActionCode::Analyse);
  EXPECT_EQ(p.options.separator, ',');
  EXPECT_EQ(p.options.objectFormat, 1);
  EXPECT_EQ(p.options.elevationFormat, 0);
  EXPECT_EQ(p.options.columnate, 1);
  EXPECT_EQ(p.options.header, 1);
  EXPECT_EQ(p.options.backup, 0);
  EXPECT_EQ(p.options.verify, 0);
  EXPECT_EQ(p.options.optionSeen, 0);
}

TEST(ParseOptions, AFlagWithoutActionLeavesActionNone) {
  Parsed p = parse({"-B", "map"});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.options.action, ActionCode::None);
  EXPECT_EQ(p.options.backup, 1);
  EXPECT_EQ(p.options.optionSeen, 1);
}

TEST(ParseOptions, EveryParseStartsFromTheDefaultsButKeepsYesAndPause) {
  parse({"-BVHF-C;EO3EE1"});
  runOptions.yes = 1;
  runOptions.pause = 1;
  std::string word = "map";
  char* argv[] = {word.data()};
  StreamCapture err(stderr);
  ASSERT_TRUE(parseOptions(1, argv));
  err.finish();
  EXPECT_EQ(runOptions.backup, 0);
  EXPECT_EQ(runOptions.verify, 0);
  EXPECT_EQ(runOptions.header, 1);
  EXPECT_EQ(runOptions.columnate, 1);
  EXPECT_EQ(runOptions.separator, ',');
  EXPECT_EQ(runOptions.objectFormat, 1);
  EXPECT_EQ(runOptions.elevationFormat, 0);
  EXPECT_EQ(runOptions.yes, 1u);
  EXPECT_EQ(runOptions.pause, 1u);
}

struct ActionCase {
  std::vector<std::string> words;
  ActionCode action;
  int objectFormat;
  int elevationFormat;
};

TEST(ParseOptions, ActionLetters) {
  const ActionCase cases[] = {
      {{"-at"}, ActionCode::AddTemplates, 1, 0},
      {{"-DO"}, ActionCode::DeleteObjects, 1, 0},
      {{"-dt"}, ActionCode::DeleteTemplates, 1, 0},
      {{"-e"}, ActionCode::ExportObjects, 1, 0},
      {{"-eo"}, ActionCode::ExportObjects, 0, 0},
      {{"-EO"}, ActionCode::ExportObjects, 0, 0},
      {{"-eo0"}, ActionCode::ExportObjects, 0, 0},
      {{"-Eo2"}, ActionCode::ExportObjects, 2, 0},
      {{"-EO3"}, ActionCode::ExportObjects, 3, 0},
      {{"-eo2", "-e"}, ActionCode::ExportObjects, 2, 0},  // lone E keeps the format
      {{"-et"}, ActionCode::ExportTemplates, 1, 0},
      {{"-ee"}, ActionCode::ExportElevations, 1, 0},
      {{"-EE0"}, ActionCode::ExportElevations, 1, 0},
      {{"-ee1"}, ActionCode::ExportElevations, 1, 1},
      {{"-ee1", "-ee"}, ActionCode::ExportElevations, 1, 0},
      {{"-i"}, ActionCode::ImportObjects, 1, 0},
      {{"-io"}, ActionCode::ImportObjects, 1, 0},
      {{"-IT"}, ActionCode::ImportTemplates, 1, 0},
      {{"-ie"}, ActionCode::ImportElevations, 1, 0},
      {{"-lt"}, ActionCode::ListTemplates, 1, 0},
      {{"-LZ"}, ActionCode::ListDuplicates, 1, 0},
      {{"-r"}, ActionCode::ReduceObjects, 1, 0},
      {{"-ro"}, ActionCode::ReduceObjects, 1, 0},
      {{"-rt"}, ActionCode::ReduceTemplates, 1, 0},
      {{"-rot"}, ActionCode::ReduceAll, 1, 0},
      {{"-RTO"}, ActionCode::ReduceAll, 1, 0},
      {{"-rz"}, ActionCode::RemoveDuplicates, 1, 0},
      {{"-t"}, ActionCode::SelfTest, 1, 0},
      {{"-u"}, ActionCode::Analyse, 1, 0},
      {{"-x"}, ActionCode::ExportWrp, 1, 0},
      {{"-X", "-LT"}, ActionCode::ListTemplates, 1, 0},  // the last action wins
      {{"-ix"}, ActionCode::ExportWrp, 1, 0},            // I alone, then X
      {{"-rb"}, ActionCode::ReduceObjects, 1, 0},        // R alone, then B
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.words.back());
    Parsed p = parse(c.words);
    ASSERT_TRUE(p.ok) << p.errors;
    EXPECT_EQ(p.options.action, c.action);
    EXPECT_EQ(p.options.objectFormat, c.objectFormat);
    EXPECT_EQ(p.options.elevationFormat, c.elevationFormat);
  }
}

TEST(ParseOptions, ChainedLettersAndWordsCombine) {
  for (auto words : std::vector<std::vector<std::string>>{{"-dty"}, {"-DTY"}, {"-dT", "-y"}}) {
    Parsed p = parse(words);
    ASSERT_TRUE(p.ok);
    EXPECT_EQ(p.options.action, ActionCode::DeleteTemplates);
    EXPECT_EQ(p.options.yes, 1u);
  }
  Parsed p = parse({"-bvY", "map", "-EoC;"});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.options.backup, 1);
  EXPECT_EQ(p.options.verify, 1);
  EXPECT_EQ(p.options.yes, 1u);
  EXPECT_EQ(p.options.action, ActionCode::ExportObjects);
  EXPECT_EQ(p.options.objectFormat, 0);
  EXPECT_EQ(p.options.separator, ';');
}

TEST(ParseOptions, FlagLetters) {
  struct FlagCase {
    const char* word;
    int columnate, header, separator;
  } cases[] = {
      {"-f", 0, 1, ','},   {"-F0", 0, 1, ','}, {"-f1", 1, 1, ','}, {"-h", 1, 0, ','},
      {"-H0", 1, 0, ','},  {"-h1", 1, 1, ','}, {"-c;", 1, 1, ';'}, {"-C|", 1, 1, '|'},
      {"-c-", 1, 1, '-'},  {"-FH", 0, 0, ','}, {"-fx", 0, 1, ','},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.word);
    Parsed p = parse({c.word});
    ASSERT_TRUE(p.ok) << p.errors;
    EXPECT_EQ(p.options.columnate, c.columnate);
    EXPECT_EQ(p.options.header, c.header);
    EXPECT_EQ(p.options.separator, c.separator);
  }
  runOptions.pause = 1;
  std::string word = "-kP";
  char* argv[] = {word.data()};
  StreamCapture err(stderr);
  EXPECT_TRUE(parseOptions(1, argv));
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
  for (const auto& c : cases) {
    SCOPED_TRACE(c.words.back());
    Parsed p = parse(c.words);
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.errors, c.message + kUsage);
  }
  for (char letter : std::string("gjmnoqswzGJMNOQSWZ0123456789;,.-+*")) {
    Parsed p = parse({std::string("-") + letter});
    EXPECT_FALSE(p.ok) << letter;
    EXPECT_EQ(p.errors, unknown(letter) + kUsage);
  }
}

TEST(ParseOptions, ParsingStopsAtTheFirstBadWord) {
  Parsed p = parse({"-fx", "-q", "-lt"});
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.options.columnate, 0);               // set before the error
  EXPECT_EQ(p.options.action, ActionCode::ExportWrp);  // -lt never parsed
  EXPECT_EQ(p.errors, unknown('q') + kUsage);
}

TEST(ParseOptions, WordAndLettersEntryPoints) {
  runOptions.optionSeen = 0;
  EXPECT_TRUE(parseOptionWord("+x"));
  EXPECT_TRUE(parseOptionWord("map.pew"));
  EXPECT_EQ(runOptions.optionSeen, 0);
  EXPECT_TRUE(parseOptionWord("-y"));
  EXPECT_EQ(runOptions.optionSeen, 1);
  StreamCapture err(stderr);
  EXPECT_EQ(parseOptionLetters("rz"), 1);
  EXPECT_EQ(parseOptionLetters("g"), 0);
  EXPECT_EQ(err.finish(), unknown('g'));  // no usage text at this level
}

}  // namespace
