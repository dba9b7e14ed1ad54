// A template library as the template export writes it (exported_library.txt,
// read with the export's CRLF line ends), read back whole; and a library of
// the largest size we plan for.
#include <gtest/gtest.h>

#include "config/config_test_helpers.h"
#include "temp_dir.h"

namespace {

std::string ExportedLibrary() {
  std::string text;
  for (char c : readFileText(VORLAN_TOOLKIT_TESTS "/config/exported_library.txt")) text += c == '\n' ? "\r\n" : std::string(1, c);
  return text;
}

}  // namespace

TEST(ConfigTemplateLibrary, ExportedLibraryReadsBackWhole) {
  Tovisk reader;
  ASSERT_EQ(ParseText(reader, ExportedLibrary()), 0) << reader.ErrorString(1);
  // The frames are taken by position; the first is written " Road".
  EXPECT_EQ(TreeText(reader),
            "ObjectTemplate{Object7_big_house_2{ulObjectType=2 ulMarkerType=0 strModelFilename=data\\bighouse2.p3d "
            "strModelName=big-house 2 ulOutlineColour=255 ulObjectColour=1193046 sbUnknownFlag=0 "
            "GeometryAutoCenterPos[]={0,1.5,-2} dblxyGeometryBounds[]={12.5,8} dblxyRandomScale[]={0.1,1.3,1} "
            "dblxyRandomRotate[]={10,10,0} LodNamedSelections{Road[]={1,0,0,0,1,0,0,0,1,12.5,0,-3.25} "
            "XRoad[]={0.5,0,0,0,1,0,0,0,2,0,0,1e-05}} ArtificialObjects{AObject_G0{strName=Gate lbUnknown=1 "
            "StartEndPos[]={1,0,2,3,0,4}} AObject_W1{strName=Wall lbUnknown=-1}}} Object8_tree{ulMarkerType=0 "
            "strModelFilename=data\\tree.p3d strModelName=tree ulObjectColour=32512}}");
}

TEST(ConfigTemplateLibrary, ALargeLibraryReadsWhole) {
  // Two thousand templates of twenty artificial objects each, some 4 MB. How
  // fast a library of 10,000 templates reads is measured by the benchmark runner.
  std::string library = ExportedLibrary();
  std::size_t from = library.find(" class Object7"), to = library.find(" class Object8");
  std::string house = library.substr(from, to - from);
  std::size_t gate = house.find("   class AObject_G0"), wall = house.find("   class AObject_W1");
  std::string text = library.substr(0, from);
  for (int t = 0; t < 2000; ++t) {
    text += " class Object" + std::to_string(t) + house.substr(14, gate - 14);
    for (int a = 0; a < 20; ++a) text += "   class AObject_P" + std::to_string(a) + house.substr(gate + 19, wall - gate - 19);
    text += house.substr(wall);
  }
  text += "};\r\n";
  ASSERT_GT(text.size(), 3u << 20);
  Tovisk reader;
  ASSERT_EQ(ParseText(reader, text), 0) << reader.ErrorString(1);
  rap_entry* templates = reader.rap_get_class("ObjectTemplate");
  EXPECT_EQ(templates->get_count(), 2000);
  EXPECT_EQ(templates->rpe_get_class("object1999_BIG_house_2")->rpe_get_class("ArtificialObjects")->get_count(), 21);
  TreeText(templates);  // every template found again by its name, through the index
}
