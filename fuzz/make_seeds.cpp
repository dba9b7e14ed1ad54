// Writes the seed corpora of the fuzz targets:
//
//   make_seeds FOLDER   ->  FOLDER/pew/*, FOLDER/world/*, FOLDER/config/*,
//                           FOLDER/objects/*, FOLDER/elevations/*
//
// Projects come from the test fixture builder (which lays out the bytes on
// its own, not through the toolkit's codec); worlds are what the toolkit's
// world writer makes of some of them; config texts are written out here.
// The import texts are what the object and elevation exports write, and
// broken ones made here (garbage, overlong lines, no final line end, line
// feeds alone). The seeds are kept small so the fuzzer can change them
// quickly.
#include <sys/resource.h>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "elevations/elevation_export.h"
#include "fixture_builder.h"
#include "world/morvik.h"
#include "objects/object_export.h"
#include "status.h"
#include "text/text_writer.h"
#include "project/vorlan.h"

namespace fs = std::filesystem;

namespace {

bool quiet(const char*, ...) { return true; }

void write(const fs::path& name, const std::vector<unsigned char>& bytes) {
  std::ofstream out(name, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void write(const fs::path& name, const std::string& text) {
  std::ofstream out(name, std::ios::binary | std::ios::trunc);
  out << text;
}

std::vector<std::pair<std::string, ProjectFixture>> projects() {
  std::vector<std::pair<std::string, ProjectFixture>> all;

  all.emplace_back("empty", ProjectFixture());

  ProjectFixture small;
  small.grid(2, 2, 50, {1, 2, 3, 4});
  small.addTemplate(1, "a.p3d");
  small.addTemplate(2, "bb.p3d", "bb");
  small.addObject(1).at(10, 20, 30).heading(45);
  small.addObject(2).id = -1;
  all.emplace_back("small", small);

  ProjectFixture mixed;
  mixed.grid(4, 4, 10);
  auto& road = mixed.addTemplate(1, "data\\road.p3d", "road");
  road.road = true;
  road.artificial.push_back({"Rail", 1, {{1, 2, 3}, {4, 5, 6}}});
  road.artificial.push_back({"", 0, {}});
  auto& tree = mixed.addTemplate(2, "data\\tree.p3d", "tree");
  tree.randomScaleFlag = 1;
  tree.markerType = 1;
  mixed.addObject(1).at(1, 2, 3).named("front").relative(2.5f);
  mixed.addDeleted(3);
  mixed.addObject(2).heading(90, 2);
  mixed.addObject(9);  // a template that is not in the table
  mixed.objectPath = "objects\\";
  mixed.valueD = "d";
  all.emplace_back("mixed", mixed);

  ProjectFixture old = mixed;
  old.version59();
  all.emplace_back("version59", old);

  ProjectFixture slots;
  slots.grid(1, 1, 1);
  slots.addDeleted(40);
  slots.addObject(0);
  all.emplace_back("deleted_slots", slots);

  ProjectFixture repeated;
  repeated.grid(3, 1, 5, {0, 1e30f, -7});
  repeated.addTemplate(4, "x.p3d");
  repeated.addTemplate(4, "y.p3d");  // the same id twice
  repeated.addObject(4).id = 5;
  repeated.addObject(4).id = 5;  // the same object id twice
  repeated.tail = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  all.emplace_back("repeated_ids", repeated);

  ProjectFixture grid;
  grid.grid(16, 16, 2.5f);
  for (std::size_t i = 0; i < grid.heights.size(); ++i) grid.heights[i] = static_cast<float>(i % 7);
  grid.addTemplate(1, "hill.p3d");
  grid.addObject(1).at(8, 8, 0);
  all.emplace_back("grid16", grid);
  return all;
}

// Bytes of a world made from the project, or nothing when the writer refuses it.
std::vector<unsigned char> worldOf(const std::vector<unsigned char>& project, const fs::path& scratch) {
  Vorlan pew;
  if (pew.pew_Open("seed.pew", 0, quiet, project.data(), project.size()) != status::kOk) return {};
  Morvik world;
  if (world.wrp_CreateFromPew(8, &pew, quiet) != status::kOk) return {};
  if (world.wrp_Create(scratch.string().c_str(), 8) != status::kOk) return {};
  std::ifstream in(scratch, std::ios::binary);
  return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Hand-made worlds: a real surface table, and the smallest sound world.
std::vector<unsigned char> handWorld(bool surfaces) {
  std::vector<unsigned char> b;
  auto put = [&](auto v) {
    const auto* p = reinterpret_cast<const unsigned char*>(&v);
    b.insert(b.end(), p, p + sizeof v);
  };
  b.insert(b.end(), {'8', 'W', 'V', 'R'});
  put(std::int32_t{1}), put(std::int32_t{2}), put(std::int32_t{1}), put(std::int32_t{2}), put(40.0f);
  put(1.0f), put(2.0f);
  put(std::uint16_t{0}), put(static_cast<std::uint16_t>(surfaces ? 2 : 0));
  if (surfaces) {
    put(std::int32_t{3});
    put(std::int32_t{0});  // entry 0: empty
    put(std::int32_t{4}), b.insert(b.end(), {'g', 'r', 'a', 's'}), put(std::int32_t{0});
    put(std::int32_t{2}), b.insert(b.end(), {'s', 'a'}), put(std::int32_t{1}), b.insert(b.end(), {'n'}),
        put(std::int32_t{0});
  } else {
    put(std::int32_t{0});
  }
  float identity[12] = {1, 0, 0, 0, 1, 0, 0, 0, 1, 5, 6, 7};
  for (float f : identity) put(f);
  put(std::int32_t{3}), put(std::int32_t{5}), b.insert(b.end(), {'m', '.', 'p', '3', 'd'});
  for (int i = 0; i < 12; ++i) put(std::uint32_t{0x7FC00000u});
  put(std::int32_t{0x7FFFFFFF}), put(std::int32_t{0});
  return b;
}

const char* const kConfigTexts[][2] = {
    {"library",
     "// template library\r\n#define NATURAL 1\r\n#define ARTIFICIAL 2\r\n#define RGB_RED 0x0000FF\r\n\r\n"
     "class ObjectTemplate\r\n{\r\n class Object7_house\r\n {\r\n  ulObjectType=ARTIFICIAL;\r\n"
     "  strModelFilename=\"data\\house.p3d\";\r\n  strModelName=\"big \"\"house\"\"\";\r\n"
     "  ulOutlineColour=RGB_RED;\r\n  ulObjectColour=-1;\r\n  dblxyRandomScale[]={0.1,1.3,1};\r\n"
     "  class LodNamedSelections\r\n  {\r\n   Road[]={1,0,0,\r\n           0,1,0};\r\n  };\r\n"
     "  class ArtificialObjects\r\n  {\r\n   class AObject_G0 { strName=\"Gate\"; lbUnknown=4294967295; "
     "StartEndPos[]={1,0,2,3,0,4}; };\r\n  };\r\n };\r\n class Object8_tree : Object7_house\r\n {\r\n"
     "  strModelName=tree;\r\n };\r\n};\r\n"},
    {"preprocessor",
     "#define A 1\n#define F(x, y) x##y #x\n#define EMPTY\n#ifdef A\nvalue = F(a, b);\n#else\nvalue = 2;\n"
     "#endif\n#ifndef B\n#undef A\n#endif\n/* block\n comment */ other = -0x10;\nlong = 1 \\\n + 2;\n"
     "#define LIST(...) {x}\nnested[] = {{1,{2}},\"s\",};\n"},
    {"includes",
     "#include \"b.h\"\n#include \"sub\\x.h\"\nclass Here : IncB { z = JOIN(a, 1); };\n"},
    {"include_self", "a = 1;\n#include \"self.h\"\n"},
    {"include_cycle", "#include \"c1.h\"\n"},
    {"include_deep", "#include \"n0.h\"\n"},
    {"include_unclosed", "#define FROM_A\n#include \"open.h\"\n"},
    {"include_binary", "#include \"binary.h\"\n"},
    {"include_folder", "#ifndef X\n#include \"folder.h\"\n#endif\n"},
    {"classes",
     "class A;\nclass B { class C { d = 1; }; e[] = {1}; e[] += {2}; };\nclass D : B { class C : C {}; };\n"
     "delete A;\nclass A { x = 1.5e3; y = \"\"; };\n"},
    {"macros_deep",
     "#define X0 1\n#define X1 X0 X0\n#define X2 X1 X1\n#define X3 X2 X2\n#define X4 X3 X3\n"
     "#define G(a) G(a) a\nv[] = {X4, G(G(1))};\n#define S(x) #x\nstr = S(\"q\" 1);\n"},
};

// Writes what `write` puts into a TextWriter to `name`.
template <typename F>
void writeText(const fs::path& name, F&& write) {
  TextWriter out;
  if (out.create(name.string().c_str()) == 0) write(out);
}

std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

std::string readText(const fs::path& name) {
  std::ifstream in(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Broken variants of an exported text: line feeds alone, no final line end,
// cut in the middle.
void writeBroken(const fs::path& folder, const std::string& stem, const std::string& text) {
  write(folder / (stem + "_lf"), replaceAll(text, "\r\n", "\n"));
  std::string open = text;
  while (!open.empty() && (open.back() == '\n' || open.back() == '\r')) open.pop_back();
  write(folder / (stem + "_noend"), open);
  write(folder / (stem + "_cut"), text.substr(0, text.size() / 2));
}

void importSeeds(const fs::path& root) {
  ProjectFixture fixture;
  fixture.grid(4, 4, 10, {0, 1.5f, -2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 1e6f});
  // Model names longer than the header label, so a header line gets a
  // bounded number of blanks.
  fixture.addTemplate(1, "data\\structures\\house_with_garden.p3d", "house");
  fixture.addTemplate(2, "data\\plants\\tree_tall_green_2.p3d");
  // An instance name long enough that the names are wider than the header
  // label: a narrower name column makes the header padding run on for ever.
  fixture.addObject(1).at(10, 20, 30).heading(45).named("front door of the house").relative(2.5f);
  fixture.addObject(2).at(1, 2, 3).heading(90, 2);
  std::vector<unsigned char> bytes = fixture.bytes();
  Vorlan project;
  if (project.pew_Open("seed.pew", 0, quiet, bytes.data(), bytes.size()) != status::kOk) return;

  fs::path objects = root / "objects";
  for (int format = 0; format <= 3; ++format) {
    for (int columnate = 0; columnate <= 1; ++columnate) {
      ObjectLayout layout;
      layout.format = format;
      layout.columnate = columnate != 0;
      layout.header = columnate != 0;
      layout.separator = format == 1 && columnate ? ';' : ',';
      std::string name = "format" + std::to_string(format) + (columnate ? "_columns" : "_plain");
      writeText(objects / name, [&](TextWriter& out) { writeObjects(project, out, layout); });
    }
  }
  writeBroken(objects, "format1", readText(objects / "format1_plain"));
  writeBroken(objects, "format2", readText(objects / "format2_plain"));
  write(objects / "long_line", "\"" + std::string(2500, 'm') + "\",1,2,3,4\r\nx,1,2,3,4\r\n");
  write(objects / "names_not_utf8", "\"d\xE9j\xE0\xFF.p3d\",1,2,3,4\r\n\xC3(,5,6,7,8\r\n");

  fs::path elevations = root / "elevations";
  const ElevationGrid& grid = *project.pew_get_elevations();
  writeText(elevations / "grid.asc",
            [&](TextWriter& out) { writeElevationGrid(out, grid, project.pew_get_gridsize(), kElevationAsc); });
  writeText(elevations / "grid.xyz",
            [&](TextWriter& out) { writeElevationGrid(out, grid, project.pew_get_gridsize(), kElevationXyz); });
  ProjectFixture row;
  row.grid(5, 1, 10, {1, 2, 3, 4, 5});
  std::vector<unsigned char> rowBytes = row.bytes();
  Vorlan rowProject;
  if (rowProject.pew_Open("row.pew", 0, quiet, rowBytes.data(), rowBytes.size()) == status::kOk) {
    const ElevationGrid& g = *rowProject.pew_get_elevations();
    writeText(elevations / "row.asc", [&](TextWriter& out) { writeElevationGrid(out, g, 10, kElevationAsc); });
    writeText(elevations / "row.xyz", [&](TextWriter& out) { writeElevationGrid(out, g, 10, kElevationXyz); });
  }
  writeBroken(elevations, "grid.asc", readText(elevations / "grid.asc"));
  writeBroken(elevations, "grid.xyz", readText(elevations / "grid.xyz"));
  write(elevations / "long_header.asc", "ncols " + std::string(2500, '4') + "\r\nnrows 4\r\n");
  write(elevations / "exponents.asc",
        "NCOLS 4\r\nNROWS 4\r\nxllcorner 0\r\nyllcorner 0\r\ncellsize 1e1\r\nnodata_value -9999\r\n"
        "1e3 -2.5E-1 nan inf\r\n0x1p3 +7 .5 5.\r\n1 2 3 4 5 6 7 8\r\n\r\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_seeds FOLDER\n");
    return 1;
  }
  // No seed is ever large: a runaway writer fails here instead of filling the disk.
  std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit limit = {64u << 20, 64u << 20};
  setrlimit(RLIMIT_FSIZE, &limit);
  fs::path root = argv[1];
  for (const char* sub : {"pew", "world", "config", "objects", "elevations"}) fs::create_directories(root / sub);
  fs::path scratch = root / "world" / "scratch.wrp";

  for (const auto& [name, fixture] : projects()) {
    std::vector<unsigned char> bytes = fixture.bytes();
    write(root / "pew" / (name + ".pew"), bytes);
    std::vector<unsigned char> world = worldOf(bytes, scratch);
    if (!world.empty()) write(root / "world" / (name + ".wrp"), world);
    // Projects also seed the world target, which makes worlds of them.
    if (name == "small" || name == "mixed") write(root / "world" / (name + ".pew"), bytes);
  }
  fs::remove(scratch);
  write(root / "world" / "surfaces.wrp", handWorld(true));
  write(root / "world" / "plain.wrp", handWorld(false));
  for (const auto& [name, text] : kConfigTexts) write(root / "config" / (std::string(name) + ".h"), text);
  importSeeds(root);
  // Binary garbage for both importers.
  std::vector<unsigned char> garbage(300);
  std::uint32_t state = 12345;
  for (unsigned char& b : garbage) b = static_cast<unsigned char>((state = state * 1103515245u + 12345u) >> 24);
  write(root / "objects" / "garbage", garbage);
  write(root / "elevations" / "garbage", garbage);
  return 0;
}
