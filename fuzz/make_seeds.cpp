// Writes the seed corpora of the fuzz targets:
//
//   make_seeds FOLDER   ->  FOLDER/pew/*, FOLDER/world/*, FOLDER/objects/*,
//                           FOLDER/elevations/*
//
// Projects come from the test fixture builder (which lays out the bytes on
// its own, not through the toolkit's codec); worlds are what the toolkit's
// world writer makes of some of them. The config seeds are plain texts kept
// as they are in seeds/config.
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
#include <string_view>
#include <vector>

#include "elevations/elevation_export.h"
#include "fixture_builder.h"
#include "project_description.h"
#include "world_bytes.h"
#include "world/morvik.h"
#include "objects/object_export.h"
#include "status.h"
#include "text/text_writer.h"
#include "project/vorlan.h"

namespace fs = std::filesystem;

namespace {

bool quiet(const char*, ...) { return true; }

void write(const fs::path& name, std::string_view bytes) {
  std::ofstream out(name, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void write(const fs::path& name, const std::vector<unsigned char>& bytes) {
  write(name, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

// The seed projects, in the end-to-end cases' project language.
std::vector<std::pair<std::string, ProjectFixture>> projects() {
  const char* const mixed = R"(grid 4 4 10
template 1 data\road.p3d road road artificial=Rail,1,1,2,3,4,5,6 artificial=,0
template 2 data\tree.p3d tree scale=1,50,50 marker=1
object 1 at 1 2 3 name front relative 2.5
deleted 3
object 2 heading 90 2
object 9
)";  // the last object's template is not in the table
  const char* const descriptions[][2] = {
      {"empty", ""},
      {"small", "grid 2 2 50 1 2 3 4\ntemplate 1 a.p3d\ntemplate 2 bb.p3d bb\nobject 1 at 10 20 30 heading 45\n"
                "object 2 id -1\n"},
      {"mixed", mixed},
      {"version59", mixed},
      {"deleted_slots", "grid 1 1 1\ndeleted 40\nobject 0\n"},
      // The same template id twice, and the same object id twice.
      {"repeated_ids", "grid 3 1 5 0 1e30 -7\ntemplate 4 x.p3d\ntemplate 4 y.p3d\nobject 4 id 5\nobject 4 id 5\n"},
      {"grid16", "grid 16 16 2.5\ntemplate 1 hill.p3d\nobject 1 at 8 8 0\n"},
  };
  std::vector<std::pair<std::string, ProjectFixture>> all;
  for (const auto& [name, text] : descriptions) {
    ProjectFixture f = parseProjectDescription(text);
    std::string n = name;
    if (n == "mixed" || n == "version59") f.objectPath = "objects\\", f.valueD = "d";
    if (n == "version59") f.version59();
    if (n == "repeated_ids") f.tail = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    if (n == "grid16")
      for (std::size_t i = 0; i < f.heights.size(); ++i) f.heights[i] = static_cast<float>(i % 7);
    all.emplace_back(n, f);
  }
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
  WorldBytes w;
  w.text("8WVR").i32(1).i32(2).i32(1).i32(2).f32(40).f32(1).f32(2).u16(0).u16(surfaces ? 2 : 0);
  if (surfaces) w.i32(3).i32(0).i32(4).text("gras").i32(0).i32(2).text("sa").i32(1).text("n").i32(0);
  else w.i32(0);
  return w.object({1, 0, 0, 0, 1, 0, 0, 0, 1, 5, 6, 7}, 3, "m.p3d").terminator().bytes;
}

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
  // Model names longer than the header label, so a header line gets a
  // bounded number of blanks; an instance name long enough that the names
  // are wider than the header label (a narrower name column makes the header
  // padding run on for ever).
  ProjectFixture fixture = parseProjectDescription(R"(grid 4 4 10 0 1.5 -2 3 4 5 6 7 8 9 10 11 12 13 14 1e6
template 1 data\structures\house_with_garden.p3d house
template 2 data\plants\tree_tall_green_2.p3d
object 1 at 10 20 30 heading 45 name "front door of the house" relative 2.5
object 2 at 1 2 3 heading 90 2
)");
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
  for (const char* stem : {"format1", "format2"}) writeBroken(objects, stem, readText(objects / (std::string(stem) + "_plain")));
  write(objects / "long_line", "\"" + std::string(2500, 'm') + "\",1,2,3,4\r\nx,1,2,3,4\r\n");
  write(objects / "names_not_utf8", "\"d\xE9j\xE0\xFF.p3d\",1,2,3,4\r\n\xC3(,5,6,7,8\r\n");

  fs::path elevations = root / "elevations";
  const ElevationGrid& grid = *project.pew_get_elevations();
  writeText(elevations / "grid.asc",
            [&](TextWriter& out) { writeElevationGrid(out, grid, project.pew_get_gridsize(), kElevationAsc); });
  writeText(elevations / "grid.xyz",
            [&](TextWriter& out) { writeElevationGrid(out, grid, project.pew_get_gridsize(), kElevationXyz); });
  std::vector<unsigned char> rowBytes = parseProjectDescription("grid 5 1 10 1 2 3 4 5").bytes();
  Vorlan rowProject;
  if (rowProject.pew_Open("row.pew", 0, quiet, rowBytes.data(), rowBytes.size()) == status::kOk) {
    const ElevationGrid& g = *rowProject.pew_get_elevations();
    writeText(elevations / "row.asc", [&](TextWriter& out) { writeElevationGrid(out, g, 10, kElevationAsc); });
    writeText(elevations / "row.xyz", [&](TextWriter& out) { writeElevationGrid(out, g, 10, kElevationXyz); });
  }
  for (const char* stem : {"grid.asc", "grid.xyz"}) writeBroken(elevations, stem, readText(elevations / stem));
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
  for (const char* sub : {"pew", "world", "objects", "elevations"}) fs::create_directories(root / sub);
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
  importSeeds(root);
  // Binary garbage for both importers.
  std::vector<unsigned char> garbage(300);
  std::uint32_t state = 12345;
  for (unsigned char& b : garbage) b = static_cast<unsigned char>((state = state * 1103515245u + 12345u) >> 24);
  write(root / "objects" / "garbage", garbage);
  write(root / "elevations" / "garbage", garbage);
  return 0;
}
