#include "driver/program_entry.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include <stdexcept>

#include "driver/run_state.h"
#include "input_feed.h"
#include "run_test_support.h"
#include "stream_capture.h"

namespace {

TEST(VersionCheck, TooOldToolkitIsRefusedBeforeOptionsAreRead) {
  RunResult r = runWith({"-q", "map"}, {7.69f, "7.69"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err,
            "vorlan Version 1.96, Dll 7.69 \"map\"\n"
            "Min zentu dll version required is 7.70, is 7.69\r\n");
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(runWith({"-q"}, {7.6989f, "7.6989"}).status, 1);
  // At the limit the options are read (and this one refused).
  EXPECT_FALSE(checkLibraryVersion(7.699f));
  r = runWith({"-q"}, {7.699f, nullptr});
  EXPECT_EQ(r.out, "=======*==========\n");
  EXPECT_TRUE(r.err.starts_with("vorlan Version 1.96, Dll  \"no_file\"\nunknown -option character 'q'\nSyntax:\n"))
      << r.err;
}

TEST(Banner, ScanResumesAtWordThousandOnVeryLongCommandLines) {
  std::vector<std::string> words(1001, "-u");
  words[0] = "first";
  words[999] = "thousandth";  // argv[1000]
  RunResult r = runWith(words);
  EXPECT_EQ(r.err.substr(0, r.err.find('\n')), "vorlan Version 1.96, Dll 7.70 \"thousandth\"");
  words.push_back("later");
  r = runWith(words);
  EXPECT_EQ(r.err.substr(0, r.err.find('\n')), "vorlan Version 1.96, Dll 7.70 \"later\"");
}

TEST(RunGuarded, ExceptionsAreReportedAndGiveOne) {
  runOptions.pause = 0;
  struct Case {
    std::function<int()> body;
    std::string report;
  } cases[] = {
      {[]() -> int { throw "narrow text\n"; }, "narrow text\n"},
      {[]() -> int { throw L"wide \u00e9 \u20ac \U0001F600\n"; }, "wide \xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80\n"},
      {[]() -> int { throw 42; }, "exe returned code 42\n"},
      {[]() -> int { throw std::runtime_error("x"); }, "unknown exception\n"},
      {[]() -> int { return 9; }, ""},
  };
  for (const auto& c : cases) {
    StreamCapture err(stderr);
    int status = runGuarded(c.body);
    EXPECT_EQ(err.finish(), c.report);
    EXPECT_EQ(status, c.report.empty() ? 9 : 1);
  }
}

TEST(RunGuarded, PauseWaitsForAKeyAfterTheRun) {
  runOptions.pause = 1;
  InputFeed keys("kx");
  StreamCapture err(stderr);
  EXPECT_EQ(runGuarded([]() -> int { throw 3; }), 1);
  EXPECT_EQ(err.finish(), "exe returned code 3\n\nPress the ANY key\n");
  runOptions.pause = 0;
  char rest = 0;
  EXPECT_EQ(read(STDIN_FILENO, &rest, 1), 1);
  EXPECT_EQ(rest, 'x');  // exactly one key was taken
}

}  // namespace
