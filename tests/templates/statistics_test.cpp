#include "templates/statistics.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "fixture_builder.h"
#include "message_capture.h"
#include "status.h"
#include "stream_capture.h"

namespace {

// Opens the fixture and returns the statistics report it prints.
std::string report(Vorlan& project, const ProjectFixture& f) {
  std::vector<unsigned char> bytes = f.bytes();
  MessageCapture::reset();
  EXPECT_EQ(project.pew_Open("map.pew", 0, MessageCapture::sink, bytes.data(), bytes.size()), status::kOk);
  MessageCapture::reset();
  EXPECT_EQ(showStatistics(project, MessageCapture::sink), 0);
  return MessageCapture::text;
}

// The report from "Calculating used items" on (what precedes it is the
// store's own summary).
std::string counts(const std::string& text) {
  return text.substr(text.find("Calculating used items....\r\n"));
}

ProjectFixture withObjects(int valid, int deleted) {
  ProjectFixture f;
  f.grid(1, 1, 1).addTemplate(1, "a.p3d", "a");
  for (int i = 0; i < valid; ++i) f.addObject(1);
  f.addDeleted(deleted);
  return f;
}

}  // namespace

TEST(Statistics, FullReportLayout) {
  ProjectFixture f = withObjects(10, 4);
  f.addTemplate(2, "b.p3d", "b");
  f.addObject(7);  // its template is missing
  Vorlan project;
  std::string text = report(project, f);
  EXPECT_EQ(text.rfind("\r\n=========stats================\r\n", 0), 0u) << text;
  EXPECT_EQ(counts(text),
            "Calculating used items....\r\n"
            "There are 15 objects in the pew.\r\n"
            "11 of them are actually used.\r\n"
            " There are 1 'missing' templates\r\n"
            "\tThis pew would benefit from -Reduction\r\n"
            "There are 2 Templates. 1 are used\r\n"
            "There are 0 duplicated templates\r\n"
            "===========================\r\n");
  EXPECT_EQ(statistics.missing, 1u);
  EXPECT_EQ(statistics.usedObjects, 11u);
}

TEST(Statistics, ReductionHintUsesSinglePrecision) {
  Vorlan project;
  // 13 slots for 10 objects: 1.2999999523 in single precision, no hint.
  EXPECT_EQ(report(project, withObjects(10, 3)).find("-Reduction"), std::string::npos);
  // 14 for 10: hint.
  EXPECT_NE(report(project, withObjects(10, 4)).find("-Reduction"), std::string::npos);
  // Slots but no valid object: infinite ratio, hint, and "0 of them".
  std::string none = report(project, withObjects(0, 2));
  EXPECT_NE(none.find("0 of them are actually used.\r\n"), std::string::npos);
  EXPECT_NE(none.find("-Reduction"), std::string::npos);
  // No slots at all: 0/0 is not a number, no hint and no "of them" line.
  std::string empty = counts(report(project, withObjects(0, 0)));
  EXPECT_EQ(empty.find("-Reduction"), std::string::npos);
  EXPECT_EQ(empty.find("of them"), std::string::npos);
}

TEST(Statistics, DuplicatedTemplatesCountPairsInTableOrder) {
  ProjectFixture f;
  f.grid(1, 1, 1);
  f.addTemplate(1, "x\\Same.p3d");
  f.addTemplate(2, "other.p3d");
  f.addTemplate(3, "X\\same.P3D");
  f.addTemplate(4, "x\\same.p3d");
  Vorlan project;
  std::string text = report(project, f);
  EXPECT_NE(text.find("Duplicated Template: x\\Same.p3d\r\n"
                      "Duplicated Template: x\\Same.p3d\r\n"
                      "Duplicated Template: X\\same.P3D\r\n"
                      "There are 0 objects in the pew.\r\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("There are 3 duplicated templates\r\n"), std::string::npos);
  EXPECT_EQ(statistics.duplicated, 3u);
}

TEST(TemplateListing, LinesFlagsAndTotals) {
  ProjectFixture f;
  f.grid(1, 1, 1);
  f.addTemplate(1, "a.p3d", "a");
  auto& road = f.addTemplate(2, "r.p3d", "r");
  road.objectType = 2;
  road.markerType = 1;
  road.road = true;
  auto& odd = f.addTemplate(3, "q.p3d", "q");
  odd.objectType = 3;
  odd.markerType = 2;
  f.addObject(1);
  Vorlan project;
  report(project, f);
  for (int sep : {',', ';'}) {
    StreamCapture out(stdout);
    EXPECT_EQ(listTemplates(project, sep), 0);
    std::string expected =
        "//***************Templates*************\n"
        "*a.p3d,a,Natural,rectangle\n"
        "r.p3d,r,Artificial,ellipse,ROAD\n"
        "q.p3d,q,unknown,unknown\n"
        "* = used\n"
        "total templates= 3. Total used =1\n";
    if (sep == ';') std::replace(expected.begin() + 41, expected.end(), ',', ';');
    EXPECT_EQ(out.finish(), expected);
  }
}

TEST(TemplateListing, EmptyTable) {
  Vorlan project;
  ProjectFixture f;
  f.grid(1, 1, 1);
  report(project, f);
  StreamCapture out(stdout);
  listTemplates(project, ',');
  EXPECT_EQ(out.finish(), "//***************Templates*************\n* = used\ntotal templates= 0. Total used =0\n");
}
