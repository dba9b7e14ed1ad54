#include "templates/template_export.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "stream_capture.h"
#include "temp_dir.h"

namespace {

const char* const kDefines =
    "#define _ZUNA_\r\n#define NATURAL 1\r\n#define ARTIFICIAL 2\r\n#define ROADS 3\r\n\r\n"
    "#define RECTANGLE 0\r\n#define ELLIPSE 1\r\n\r\n"
    "#define RGB_DEFAULT -1\r\n#define RGB_BLACK 0x000000\r\n#define RGB_BLUE 0xFF0000\r\n"
    "#define RGB_GREEN 0x00FF00\r\n#define RGB_RED 0x0000FF\r\n#define RGB_GREY 0x7F7F7F\r\n"
    "#define RGB_DARK_GREEN 0x007F00\r\n\r\n";

struct Exported {
  int status;
  std::string out, err, text;
};

Exported exportOf(Vorlan& project, const std::string& file) {
  StreamCapture out(stdout), err(stderr);
  int status = exportTemplates(project, file.c_str(), project.GetIO());
  std::string errText = err.finish();
  return {status, out.finish(), errText, status == 0 ? readFileText(file) : ""};
}

// The template classes of a library: what stands between the two lines of
// class ObjectTemplate.
std::string classesOf(const std::string& library) {
  std::size_t from = library.find("class ObjectTemplate\r\n{\r\n");
  EXPECT_NE(from, std::string::npos);
  from += 25;
  EXPECT_EQ(library.substr(library.size() - 4), "};\r\n");
  return library.substr(from, library.size() - 4 - from);
}

class TemplateExport : public testing::Test {
 protected:
  void SetUp() override { project.pew_New(1, 1, 1); }
  // A template as the editor makes one: natural, rectangle.
  PewObjectTemplate* add(int id, const char* file, const char* name) {
    PewObjectTemplate* t = project.pew_add_template(id);
    t->strModelFilename.Set(file);
    t->strModelName.Set(name);
    t->ulMarkerType = kMarkerRectangle;
    return t;
  }
  std::string classes() {
    Exported e = exportOf(project, dir.file("lib.txt"));
    EXPECT_EQ(e.status, 0) << e.err;
    return classesOf(e.text);
  }
  TempDir dir;
  Vorlan project;
};

TEST_F(TemplateExport, EmptyTableGivesBannerDefinesAndAnEmptyClass) {
  Exported e = exportOf(project, dir.file("lib.txt"));
  ASSERT_EQ(e.status, 0);
  EXPECT_EQ(e.out, "Exporting template to: " + dir.file("lib.txt") + "\n\ndone\n");
  EXPECT_EQ(e.err, "");
  // The banner: comment lines naming the title and the file's date.
  const std::string rule = "//------------------------------------------------------------------------\r\n";
  ASSERT_EQ(e.text.rfind(rule + "// Vorlan 1.96: ObjectTemplate Library 20", 0), 0u) << e.text;
  std::size_t bannerEnd = e.text.find("#define");
  EXPECT_EQ(e.text.substr(bannerEnd - rule.size(), rule.size()), rule);
  EXPECT_EQ(e.text.substr(bannerEnd), std::string(kDefines) + "class ObjectTemplate\r\n{\r\n};\r\n");
}

TEST_F(TemplateExport, DefaultsAreLeftOutAndNaturalEllipseIsTheDefaultMarker) {
  PewObjectTemplate* plain = project.pew_add_template(1);  // natural, ellipse
  plain->strModelFilename.Set("a.p3d");
  add(2, "b.p3d", "b");  // natural, rectangle
  PewObjectTemplate* road = add(3, "c.p3d", "c");
  road->ulObjectType = kObjectTypeRoads;
  road->ulMarkerType = kMarkerEllipse;
  PewObjectTemplate* odd = add(4, "d.p3d", "d");
  odd->ulObjectType = 7;
  odd->ulMarkerType = 9;
  odd->sbUnknownFlag = 0xFFFF;
  EXPECT_EQ(classes(),
            " class Object1_\r\n {\r\n  strModelFilename=\"a.p3d\";\r\n  strModelName=\"\";\r\n };\r\n"
            " class Object2_b\r\n {\r\n  ulMarkerType=RECTANGLE;\r\n  strModelFilename=\"b.p3d\";\r\n"
            "  strModelName=\"b\";\r\n };\r\n"
            " class Object3_c\r\n {\r\n  ulObjectType=ROADS;\r\n  ulMarkerType=ELLIPSE;\r\n"
            "  strModelFilename=\"c.p3d\";\r\n  strModelName=\"c\";\r\n };\r\n"
            " class Object4_d\r\n {\r\n  ulObjectType=7;\r\n  ulMarkerType=9;\r\n  strModelFilename=\"d.p3d\";\r\n"
            "  strModelName=\"d\";\r\n  sbUnknownFlag=65535;\r\n };\r\n");
}

TEST_F(TemplateExport, ColoursByNameOrInFourDigitHex) {
  struct {
    std::uint32_t value;
    const char* line;
  } cases[] = {{0x000000, "RGB_BLACK"}, {0x0000FF, "RGB_RED"},  {0x007F00, "RGB_DARK_GREEN"},
               {0x00FF00, "RGB_GREEN"}, {0x7F7F7F, "RGB_GREY"}, {0xFF0000, "RGB_BLUE"},
               {0x00ABCD, "0xABCD"},    {0x000001, "0x0001"},   {0x12345678, "0x12345678"}};
  int id = 1;
  for (const auto& c : cases) add(id++, "m.p3d", "m")->ulObjectColour = c.value;
  PewObjectTemplate* outline = add(id, "m.p3d", "m");
  outline->ulOutlineColour = 0x0000AB;
  outline->ulObjectColour = kDefaultColour;  // left out
  std::string text = classes();
  for (const auto& c : cases)
    EXPECT_NE(text.find(std::string("  ulObjectColour=") + c.line + ";\r\n"), std::string::npos) << c.line;
  EXPECT_NE(text.find(" class Object10_m\r\n {\r\n  ulMarkerType=RECTANGLE;\r\n  strModelFilename=\"m.p3d\";\r\n"
                      "  strModelName=\"m\";\r\n  ulOutlineColour=0x00AB;\r\n };\r\n"),
            std::string::npos)
      << text;
}

TEST_F(TemplateExport, PairsAgainstTheirDefaultsAndVectors) {
  PewObjectTemplate* t = add(1, "m.p3d", "m");
  t->dblxyRandomScale = {1, 50, 50};        // the flag alone makes it differ
  t->dblxyRandomRotate = {0, 20, 30};       // y differs
  t->dblxyRandomOrientation = {0, 180, 180};  // the default: left out
  t->dblxyGeometryBounds = {5, 0, 0};       // the bounds' flag means nothing
  t->dblxyResolutionBounds = {0, 0.1, -2};
  t->GeometryAutoCenterPos = {0.0f, -0.0f, 0.0f};  // zeros: left out
  t->ResolutionAutoCenterPos = {0.5f, 0.0f, -1e-5f};
  t->sbUnknownFlag = 0;
  EXPECT_EQ(classes(),
            " class Object1_m\r\n {\r\n  ulMarkerType=RECTANGLE;\r\n  strModelFilename=\"m.p3d\";\r\n"
            "  strModelName=\"m\";\r\n  sbUnknownFlag=0;\r\n"
            "  ResolutionAutoCenterPos[]={0.5,0,-1e-05};\r\n"
            "  dblxyResolutionBounds[]={0.1,-2};\r\n"
            "  dblxyRandomScale[]={50,50,1};\r\n"
            "  dblxyRandomRotate[]={20,30,0};\r\n"
            " };\r\n");
}

TEST_F(TemplateExport, RoadFramesLineUpUnderTheirFirstValue) {
  PewObjectTemplate* t = add(12, "r.p3d", "a b-c");
  t->LodNamedSelections = 1;
  float* road = t->RoadFrame.data();
  road[9] = 12.5f;
  road[11] = -3.25f;
  t->XRoadFrame.data()[0] = 0.5f;
  t->XRoadFrame.data()[10] = -0.0f;
  EXPECT_EQ(classes(),
            " class Object12_a_b_c\r\n {\r\n  ulMarkerType=RECTANGLE;\r\n  strModelFilename=\"r.p3d\";\r\n"
            "  strModelName=\"a b-c\";\r\n"
            "  class LodNamedSelections\r\n"
            "  {\r\n"
            "    Road[]={1,0,0,\r\n"
            "            0,1,0,\r\n"
            "            0,0,1,\r\n"
            "            12.5,0,-3.25\r\n"
            "           };\r\n"
            "   XRoad[]={0.5,0,0,\r\n"
            "            0,1,0,\r\n"
            "            0,0,1,\r\n"
            "            0,-0.0,0\r\n"
            "           };\r\n"
            "  };\r\n"
            " };\r\n");
}

TEST_F(TemplateExport, ClassNamesOfModelsAndArtificialObjects) {
  add(3, "x.p3d", "folder\\my house-2.v1");  // folders and extension go
  PewObjectTemplate* t = add(4, "y.p3d", "y");
  const char* names[] = {"Road", "Rail", "", "\x80uro"};
  for (const char* name : names) {
    auto* a = new PewArtificialObject();
    a->strName.Set(name);
    a->lbUnknown = 0xFFFFFFFF;
    t->ArtificialObjects.AddChain(a);
  }
  std::string text = classes();
  EXPECT_NE(text.find(" class Object3_my_house_2\r\n"), std::string::npos) << text;
  // Only the first character of the name goes into the class name (of a
  // character beyond Latin-1, the bytes of its code up to the first zero).
  for (const char* line : {"   class AObject_R0\r\n", "   class AObject_R1\r\n", "   class AObject_2\r\n",
                           "   class AObject_\xAC_3\r\n"})
    EXPECT_NE(text.find(line), std::string::npos) << line;
  EXPECT_NE(text.find("   {\r\n    strName=\"\";\r\n    lbUnknown=4294967295;\r\n   };\r\n"), std::string::npos);
  EXPECT_EQ(text.find("StartEndPos"), std::string::npos);  // no points, no member
}

TEST_F(TemplateExport, ArtificialObjectsClassIsWrittenEvenWithoutMembers) {
  PewObjectTemplate* t = add(1, "m.p3d", "m");
  t->ArtificialObjects.count = 1;  // counted, but the list holds nothing
  EXPECT_NE(classes().find("  class ArtificialObjects\r\n  {\r\n  };\r\n"), std::string::npos);
  t->ArtificialObjects.count = 0;
}

TEST_F(TemplateExport, OutputThatCannotBeCreated) {
  add(1, "m.p3d", "m");
  std::string name = dir.file("no-folder/lib.txt");
  Exported e = exportOf(project, name);
  EXPECT_EQ(e.status, 1);
  EXPECT_EQ(e.out, "Exporting template to: " + name + "\n");
  EXPECT_EQ(e.err, "error: no output file " + name + "\n");
  Exported unnamed = exportOf(project, "");
  EXPECT_EQ(unnamed.status, 1);
  EXPECT_EQ(unnamed.err, "error: no output file \n");
}

TEST_F(TemplateExport, AFullDiskIsReportedNotPassedOffAsDone) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full here";
  add(1, "m.p3d", "m");
  StreamCapture out(stdout), err(stderr);
  EXPECT_EQ(exportTemplates(project, "/dev/full", project.GetIO()), 1);
  EXPECT_EQ(err.finish(), "error: cannot write /dev/full\n");
  EXPECT_EQ(out.finish().find("done"), std::string::npos);
  EXPECT_EQ(access("/dev/full", F_OK), 0);  // never removed
}

}  // namespace
