// A template library as the template export writes it (exported_library.txt,
// read with the export's CRLF line ends), read back whole. Large classes are
// read in the lookup tests; large libraries in the benchmark runner.
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
