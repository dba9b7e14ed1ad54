// Fuzz target of the elevation import's reading step (readElevationFile):
// the input is the asc or xyz file, read against two small projects, a
// square 4 x 4 grid of spacing 10 (which sound inputs fit) and a grid of a
// single row. Whatever the bytes, the reader returns 0 or 1 and never
// touches the grid's size or storage; AddressSanitizer catches a read past
// the end of the text or a write past the end of the heights.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "elevations/elevation_import.h"
#include "fixture_builder.h"
#include "fuzz_support.h"
#include "status.h"
#include "project/vorlan.h"

namespace {

std::vector<unsigned char> squareProject, rowProject;

std::vector<unsigned char> makeProject(std::uint32_t columns, std::uint32_t rows) {
  ProjectFixture f;
  std::vector<float> heights(std::size_t{columns} * rows);
  for (std::size_t i = 0; i < heights.size(); ++i) heights[i] = static_cast<float>(i);
  f.grid(columns, rows, 10, heights);
  f.addTemplate(1, "hill.p3d");
  f.addObject(1).at(10, 10, 0);
  return f.bytes();
}

void readInto(const std::vector<unsigned char>& bytes, const std::string& input) {
  Vorlan project;
  FUZZ_CHECK(project.pew_Open("fixture.pew", 0, fuzz::keepingSink, bytes.data(), bytes.size()) == status::kOk,
             "the fixture project does not open: %s", fuzz::lastMessage.c_str());
  ElevationGrid& grid = *project.pew_get_elevations();
  const ElevationGrid before = grid;
  int result;
  {
    fuzz::StdioToNull quiet;
    result = readElevationFile(project, input.c_str());
  }
  FUZZ_CHECK(result == 0 || result == 1, "result %d", result);
  FUZZ_CHECK(grid.columns == before.columns && grid.rows == before.rows, "the grid became %u x %u", grid.columns,
             grid.rows);
  FUZZ_CHECK(grid.heights == before.heights, "the heights were moved");
  FUZZ_CHECK(project.pew_get_gridsize() == 10.0f, "the cell size changed");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::keepSanitizerReports();
  fuzz::scratchFolder();
  squareProject = makeProject(4, 4);
  rowProject = makeProject(5, 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string input = fuzz::scratchFolder() + "/heights.asc";
  {
    FILE* out = std::fopen(input.c_str(), "wb");
    FUZZ_CHECK(out != nullptr, "cannot write %s", input.c_str());
    if (size > 0) std::fwrite(data, 1, size, out);
    std::fclose(out);
  }
  readInto(squareProject, input);
  readInto(rowProject, input);
  return 0;
}
