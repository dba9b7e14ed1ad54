#include "templates/template_export.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "stream_capture.h"
#include "temp_dir.h"

namespace {

struct Exported {
  int status;
  std::string out, err, text;
};

Exported exportOf(Vorlan& project, const std::string& file) {
  Captured run = captureRun([&] { return exportTemplates(project, file.c_str(), project.GetIO()); });
  return {run.status, run.out, run.err, run.status == 0 ? readFileText(file) : ""};
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

// Members the end-to-end cases' projects cannot hold: centres, resolution
// bounds, road frames, artificial objects with odd names or none at all. The
// classes are compared with template_export_classes.txt beside this test
// (VORLAN_UPDATE_EXPECTED=1 rewrites it).
TEST_F(TemplateExport, MembersOnlyTheStoreHolds) {
  PewObjectTemplate* t = add(1, "m.p3d", "m");
  t->dblxyGeometryBounds = {5, 0, 0};  // the bounds' flag means nothing
  t->dblxyResolutionBounds = {0, 0.1, -2};
  t->GeometryAutoCenterPos = {0.0f, -0.0f, 0.0f};  // zeros: left out
  t->ResolutionAutoCenterPos = {0.5f, 0.0f, -1e-5f};
  PewObjectTemplate* road = add(12, "r.p3d", "a b-c");
  road->LodNamedSelections = 1;
  road->RoadFrame.data()[9] = 12.5f;
  road->RoadFrame.data()[11] = -3.25f;
  road->XRoadFrame.data()[0] = 0.5f;
  road->XRoadFrame.data()[10] = -0.0f;
  // Only the first character of an artificial object's name goes into its
  // class name (of a character beyond Latin-1, its code's bytes up to the first zero).
  PewObjectTemplate* named = add(4, "y.p3d", "y");
  for (const char* name : {"Road", "Rail", "", "\x80uro"}) {
    auto* a = new PewArtificialObject();
    a->strName.Set(name);
    a->lbUnknown = 0xFFFFFFFF;
    named->ArtificialObjects.AddChain(a);
  }
  PewObjectTemplate* counted = add(5, "z.p3d", "z");
  counted->ArtificialObjects.count = 1;  // counted, but the list holds nothing
  std::string text = classes();
  counted->ArtificialObjects.count = 0;
  const std::string expected = std::string(TEST_DATA_DIR) + "/template_export_classes.txt";
  if (std::getenv("VORLAN_UPDATE_EXPECTED")) writeFileText(expected, text);
  EXPECT_EQ(text, readFileText(expected));
}

TEST_F(TemplateExport, AFullDiskIsReportedNotPassedOffAsDone) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full here";
  add(1, "m.p3d", "m");
  Exported e = exportOf(project, "/dev/full");
  EXPECT_EQ(e.status, 1);
  EXPECT_EQ(e.err, "error: cannot write /dev/full\n");
  EXPECT_EQ(e.out.find("done"), std::string::npos);
  EXPECT_EQ(access("/dev/full", F_OK), 0);  // never removed
}

}  // namespace
