// Template libraries as the template export writes them, read back and walked
// the way the template import walks them; and a library of the largest size
// we plan for.
#include <gtest/gtest.h>

#include <cstdlib>

#include "config/config_test_helpers.h"
#include "status.h"
#include "temp_dir.h"

namespace {

// A frame member as the export lays it out: rows under the first value.
std::string Frame(const std::string& indent, const std::string& name, const std::string values[12]) {
  std::string pad = indent + std::string(name.size() + 4, ' ');
  std::string text = indent + name + "[]={";
  for (int row = 0; row < 4; ++row) {
    if (row > 0) text += pad;
    text += values[row * 3] + "," + values[row * 3 + 1] + "," + values[row * 3 + 2];
    text += row < 3 ? ",\r\n" : "\r\n";
  }
  return text + indent.substr(1) + "};\r\n";
}

std::string ExportedLibrary() {
  const std::string road[12] = {"1", "0", "0", "0", "1", "0", "0", "0", "1", "12.5", "0", "-3.25"};
  const std::string xroad[12] = {"0.5", "0", "0", "0", "1", "0", "0", "0", "2", "0", "0", "1e-05"};
  return "//////////////////////////////////////////\r\n"
         "// Vorlan 1.96: ObjectTemplate Library  01-02-2024\r\n"
         "//////////////////////////////////////////\r\n"
         "#define _ZUNA_\r\n#define NATURAL 1\r\n#define ARTIFICIAL 2\r\n#define ROADS 3\r\n\r\n"
         "#define RECTANGLE 0\r\n#define ELLIPSE 1\r\n\r\n"
         "#define RGB_DEFAULT -1\r\n#define RGB_BLACK 0x000000\r\n#define RGB_BLUE 0xFF0000\r\n"
         "#define RGB_GREEN 0x00FF00\r\n#define RGB_RED 0x0000FF\r\n#define RGB_GREY 0x7F7F7F\r\n"
         "#define RGB_DARK_GREEN 0x007F00\r\n\r\n"
         "class ObjectTemplate\r\n{\r\n"
         " class Object7_big_house_2\r\n {\r\n"
         "  ulObjectType=ARTIFICIAL;\r\n"
         "  ulMarkerType=RECTANGLE;\r\n"
         "  strModelFilename=\"data\\bighouse2.p3d\";\r\n"
         "  strModelName=\"big-house 2\";\r\n"
         "  ulOutlineColour=RGB_RED;\r\n"
         "  ulObjectColour=0x123456;\r\n"
         "  sbUnknownFlag=0;\r\n"
         "  GeometryAutoCenterPos[]={0,1.5,-2};\r\n"
         "  dblxyGeometryBounds[]={12.5,8};\r\n"
         "  dblxyRandomScale[]={0.1,1.3,1};\r\n"
         "  dblxyRandomRotate[]={10,10,0};\r\n"
         "  class LodNamedSelections\r\n  {\r\n" +
         Frame("   ", " Road", road) + Frame("   ", "XRoad", xroad) +
         "  };\r\n"
         "  class ArtificialObjects\r\n  {\r\n"
         "   class AObject_G0\r\n   {\r\n"
         "    strName=\"Gate\";\r\n"
         "    lbUnknown=1;\r\n"
         "    StartEndPos[]={1,0,2,3,0,4};\r\n"
         "   };\r\n"
         "   class AObject_W1\r\n   {\r\n"
         "    strName=\"Wall\";\r\n"
         "    lbUnknown=4294967295;\r\n"
         "   };\r\n"
         "  };\r\n"
         " };\r\n"
         " class Object8_tree\r\n {\r\n"
         "  ulMarkerType=RECTANGLE;\r\n"
         "  strModelFilename=\"data\\tree.p3d\";\r\n"
         "  strModelName=\"tree\";\r\n"
         "  ulObjectColour=RGB_DARK_GREEN;\r\n"
         " };\r\n"
         "};\r\n";
}

std::vector<double> Numbers(rap_entry* array) {
  std::vector<double> values;
  for (rap_entry* e = array->rpe_get_entry(nullptr, 1000); e; e = e->rpe_get_next()) {
    values.push_back(std::strtod(e->value.Get(), nullptr));
  }
  return values;
}

}  // namespace

TEST(ConfigTemplateLibrary, ExportedLibraryReadsBackAsTheImportWalksIt) {
  TempDir dir;
  writeFileText(dir.file("lib.txt"), ExportedLibrary());
  Tovisk reader;
  ASSERT_EQ(reader.rap_Create(dir.file("lib.txt").c_str(), 0, nullptr, nullptr, 0, nullptr), 0)
      << reader.ErrorString(1);
  rap_entry* templates = reader.rap_get_class("ObjectTemplate");
  ASSERT_NE(templates, nullptr);

  rap_entry* house = templates->rpe_get_class(nullptr);
  ASSERT_NE(house, nullptr);
  EXPECT_STREQ(house->name.Get(), "Object7_big_house_2");
  EXPECT_STREQ(house->rpe_get_entry("strModelFilename", 1000)->value.Get(), "data\\bighouse2.p3d");
  EXPECT_STREQ(house->rpe_get_entry("strModelName", 1000)->value.Get(), "big-house 2");
  EXPECT_EQ(house->rpe_get_entry("ulObjectType", 1000)->value.str_atoi(), 2);
  EXPECT_EQ(house->rpe_get_entry("ulMarkerType", 1000)->value.str_atoi(), 0);
  EXPECT_EQ(house->rpe_get_entry("ulOutlineColour", 1000)->value.str_atoi(), 0x0000FF);
  EXPECT_EQ(house->rpe_get_entry("ulObjectColour", 1000)->value.str_atoi(), 0x123456);
  EXPECT_EQ(Numbers(house->rpe_get_entry("GeometryAutoCenterPos", 1000)), (std::vector<double>{0, 1.5, -2}));
  EXPECT_EQ(Numbers(house->rpe_get_entry("dblxyGeometryBounds", 1000)), (std::vector<double>{12.5, 8}));
  EXPECT_EQ(Numbers(house->rpe_get_entry("dblxyRandomScale", 1000)), (std::vector<double>{0.1, 1.3, 1}));
  EXPECT_EQ(house->rpe_get_entry("dblxyRandomScale", 1000)->get_count(), 3);

  // The import walks every entry of the class in order and knows each key.
  std::vector<std::string> keys;
  for (rap_entry* e = house->rpe_get_entry(nullptr, 1000); e; e = e->rpe_get_next()) keys.push_back(e->name.Get());
  EXPECT_EQ(keys, (std::vector<std::string>{"ulObjectType", "ulMarkerType", "strModelFilename", "strModelName",
                                            "ulOutlineColour", "ulObjectColour", "sbUnknownFlag",
                                            "GeometryAutoCenterPos", "dblxyGeometryBounds", "dblxyRandomScale",
                                            "dblxyRandomRotate", "LodNamedSelections", "ArtificialObjects"}));

  // The two frames are taken by position; the first is written " Road".
  rap_entry* lod = house->rpe_get_entry("LodNamedSelections", 1000);
  ASSERT_NE(lod, nullptr);
  ASSERT_TRUE(lod->IsClass());
  rap_entry* road = lod->rpe_get_entry(nullptr, 1000);
  ASSERT_NE(road, nullptr);
  EXPECT_STREQ(road->name.Get(), "Road");
  EXPECT_EQ(Numbers(road), (std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1, 12.5, 0, -3.25}));
  rap_entry* xroad = road->rpe_get_next();
  ASSERT_NE(xroad, nullptr);
  EXPECT_STREQ(xroad->name.Get(), "XRoad");
  EXPECT_EQ(Numbers(xroad), (std::vector<double>{0.5, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 1e-05}));

  rap_entry* objects = house->rpe_get_entry("ArtificialObjects", 1000);
  ASSERT_NE(objects, nullptr);
  rap_entry* gate = objects->rpe_get_entry(nullptr, 1000);
  ASSERT_NE(gate, nullptr);
  EXPECT_STREQ(gate->rpe_get_entry("strName", 1000)->value.Get(), "Gate");
  EXPECT_EQ(gate->rpe_get_entry("lbUnknown", 1000)->value.str_atoi(), 1);
  EXPECT_EQ(gate->rpe_get_entry("StartEndPos", 1000)->get_count(), 6);
  rap_entry* wall = gate->rpe_get_next();
  ASSERT_NE(wall, nullptr);
  EXPECT_EQ(static_cast<unsigned>(wall->rpe_get_entry("lbUnknown", 1000)->value.str_atoi()), 0xFFFFFFFFu);
  EXPECT_EQ(wall->rpe_get_entry("StartEndPos", 1000), nullptr);
  EXPECT_EQ(wall->rpe_get_next(), nullptr);

  rap_entry* tree = house->rpe_get_next_class();
  ASSERT_NE(tree, nullptr);
  EXPECT_STREQ(tree->rpe_get_entry("strModelFilename", 1000)->value.Get(), "data\\tree.p3d");
  EXPECT_EQ(tree->rpe_get_entry("ulObjectColour", 1000)->value.str_atoi(), 0x007F00);
  EXPECT_EQ(tree->rpe_get_entry("ulObjectType", 1000), nullptr);
  EXPECT_EQ(tree->rpe_get_next_class(), nullptr);
}

TEST(ConfigTemplateLibrary, AnEmptyLibraryHasAnEmptyObjectTemplate) {
  Tovisk reader;
  std::string text = ExportedLibrary();
  text = text.substr(0, text.find(" class Object7")) + "};\r\n";
  ASSERT_EQ(ParseText(reader, text), 0) << reader.ErrorString(1);
  ASSERT_NE(reader.rap_get_class("ObjectTemplate"), nullptr);
  EXPECT_EQ(reader.rap_get_class("ObjectTemplate")->rpe_get_class(nullptr), nullptr);
}

TEST(ConfigTemplateLibrary, ALargeLibraryReadsWhole) {
  // About 150 lines per template, some 4 MB in all. How fast a library of
  // 10,000 templates reads is measured by the benchmark runner.
  std::string text = ExportedLibrary();
  text.resize(text.find("class ObjectTemplate"));
  text += "class ObjectTemplate\r\n{\r\n";
  for (int t = 0; t < 2000; ++t) {
    std::string id = std::to_string(t);
    text += " class Object" + id + "_model_" + id + "\r\n {\r\n";
    text += "  ulObjectType=ARTIFICIAL;\r\n  ulMarkerType=ELLIPSE;\r\n";
    text += "  strModelFilename=\"data\\models\\model_" + id + ".p3d\";\r\n";
    text += "  strModelName=\"model " + id + "\";\r\n  ulOutlineColour=RGB_RED;\r\n  ulObjectColour=0x00" + id + ";\r\n";
    text += "  GeometryAutoCenterPos[]={0.125,1.5,-2.75};\r\n  dblxyGeometryBounds[]={12.5,8.25};\r\n";
    text += "  dblxyRandomScale[]={0.1,1.3,1};\r\n  class LodNamedSelections\r\n  {\r\n";
    text += "    Road[]={1,0,0,\r\n           0,1,0,\r\n           0,0,1,\r\n           12.5,0,-3.25\r\n  };\r\n";
    text += "   XRoad[]={1,0,0,\r\n           0,1,0,\r\n           0,0,1,\r\n           12.5,0,-3.25\r\n  };\r\n  };\r\n";
    text += "  class ArtificialObjects\r\n  {\r\n";
    for (int a = 0; a < 20; ++a) {
      text += "   class AObject_P" + std::to_string(a) + "\r\n   {\r\n    strName=\"Post\";\r\n    lbUnknown=1;\r\n";
      text += "    StartEndPos[]={1.5,0,2.25,3,0,4.75};\r\n   };\r\n";
    }
    text += "  };\r\n };\r\n";
  }
  text += "};\r\n";
  ASSERT_GT(text.size(), 3u << 20);

  Tovisk reader;
  ASSERT_EQ(ParseText(reader, text), 0) << reader.ErrorString(1);

  rap_entry* templates = reader.rap_get_class("ObjectTemplate");
  ASSERT_NE(templates, nullptr);
  EXPECT_EQ(templates->get_count(), 2000);
  rap_entry* last = templates->rpe_get_class("Object1999_model_1999");
  ASSERT_NE(last, nullptr);
  EXPECT_STREQ(last->rpe_get_entry("strModelFilename", 1000)->value.Get(), "data\\models\\model_1999.p3d");
  EXPECT_EQ(last->rpe_get_entry("ArtificialObjects", 1000)->get_count(), 20);
  int classes = 0;
  for (rap_entry* c = templates->rpe_get_class(nullptr); c; c = c->rpe_get_next_class()) ++classes;
  EXPECT_EQ(classes, 2000);
}
