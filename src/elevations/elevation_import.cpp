#include "elevation_import.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "system/console_keys.h"
#include "driver/console.h"
#include "driver/save_project.h"
#include "elevation_text.h"
#include "system/kel_file_io.h"
#include "text/utf_convertors.h"

namespace {

constexpr std::size_t kRemainderShown = 200;

// The asc header values that matter after reading.
struct AscHeader {
  long columns = 0;  // "ncols"
  long rows = 0;     // "nrows"
  float cellSize = 0;
};

enum class HeaderResult { Read, NotAsc, Failed };

HeaderResult readAscHeader(ElevationText& text, AscHeader& header) {
  std::optional<long> columns = text.readHeaderInt("ncols ");
  if (!columns) return HeaderResult::Failed;
  if (*columns == -1) return HeaderResult::NotAsc;
  header.columns = *columns;
  // A value of -1 stops the import like a wrong key: the readers give -1
  // for both.
  std::optional<long> rows = text.readHeaderInt("nrows ");
  if (!rows || *rows == -1) return HeaderResult::Failed;
  header.rows = *rows;
  for (const char* key : {"xllcorner ", "yllcorner "}) {
    std::optional<float> corner = text.readHeaderFloat(key);
    if (!corner || *corner == -1.0f) return HeaderResult::Failed;
  }
  std::optional<float> cellSize = text.readHeaderFloat("cellsize ");
  if (!cellSize || *cellSize == -1.0f) return HeaderResult::Failed;
  header.cellSize = *cellSize;
  std::optional<long> noData = text.readHeaderInt("NODATA_value ");
  if (!noData || *noData == -1) return HeaderResult::Failed;
  return HeaderResult::Read;
}

// The file's counts are compared crosswise with the grid's: its nrows with
// the grid's columns and its ncols with the grid's rows. A square grid
// passes either way round.
bool fitsGrid(const AscHeader& header, const ElevationGrid& grid, float cellSize) {
  return header.rows == static_cast<long>(grid.columns) && header.columns == static_cast<long>(grid.rows) &&
         header.cellSize == cellSize;
}

bool keyPressed() {
  if (!_kbhit()) return false;
  _getch();
  return true;
}

int allHeightsRead() {
  std::fputs("Done\n", stdout);
  return 0;
}

// The progress dot of one row, shown at once on a console (and buffered
// as usual elsewhere: a write per row would cost more than the row).
void showProgressDot() {
  static const bool console = isatty(STDOUT_FILENO) != 0;
  std::fputc('.', stdout);
  if (console) std::fflush(stdout);
}

// The end of the data came after the height at (row, column), or before any
// height when nothing was read. That is fine only right after the grid's
// last height, or when the grid has none.
int endOfAscData(const ElevationText& text, const char* headerEnd, const AscHeader& header, long row, long column,
                 bool anyRead) {
  bool complete = anyRead ? row + 1 == header.rows && column + 1 == header.columns
                          : header.rows <= 0 || header.columns <= 0;
  if (complete) return allHeightsRead();
  const char* at = text.position();
  std::size_t shown = std::min({kRemainderShown, static_cast<std::size_t>(at - headerEnd), std::strlen(at)});
  std::fputs("bad float values in asc file\n", stderr);
  std::fprintf(stderr, "%ldx%ld\n", row, column);
  std::fprintf(stderr, "%.*s\n\n", static_cast<int>(shown), at);
  return 1;
}

int readAscHeights(ElevationText& text, const AscHeader& header, ElevationGrid& grid) {
  const char* headerEnd = text.position();
  const char* p = skipAscBlanks(headerEnd);
  text.setPosition(p);
  if (*p == '\0') return endOfAscData(text, headerEnd, header, 0, 0, false);
  float* heights = grid.heights;
  const long columns = std::max(header.columns, 0L);
  for (long r = 0; r < header.rows; ++r) {
    showProgressDot();
    if (keyPressed()) return 1;  // abandoned: nothing is saved
    AscRow row = readAscRow(p, heights, columns);
    heights += row.stored;
    text.setPosition(p);
    if (row.atEnd) return endOfAscData(text, headerEnd, header, r, row.stored - 1, true);
  }
  return allHeightsRead();
}

// The xyz layout: the row length is measured on the first row, then every
// point's height is taken in order, its x and y ignored.
int readXyzHeights(ElevationText& text, ElevationGrid& grid) {
  std::fputs("re-trying import in xyz format\n", stdout);
  text.rewind();
  const std::uint32_t columns = grid.columns, rows = grid.rows;

  XyzPoint point;
  if (!text.readXyzLine(point)) {
    std::fprintf(stderr, "%s: the xyz data is empty\n", text.shownName().c_str());
    return 1;
  }
  if (point.x != 0.0f || point.y != 0.0f) {
    std::fputs("Leading xyz not 0 0 height\n", stderr);
    return 1;
  }
  // The row length is the number of points up to and including the first
  // one off the line y = 0, the first point not counted.
  unsigned long long count = 0;
  do {
    if (!text.readXyzLine(point)) {
      std::fprintf(stderr, "%s: the xyz data ends within its first row, so its row length is unknown\n",
                   text.shownName().c_str());
      return 1;
    }
    ++count;
  } while (point.y == 0.0f);
  if (count != columns) {
    std::fprintf(stderr, "grid dimensions not same as map. Is %llux%llu, should be %ux%u\n", count, count, columns,
                 rows);
    return 1;
  }

  text.rewind();
  float* heights = grid.heights;
  for (std::uint32_t r = 0; r < rows; ++r) {
    for (std::uint32_t c = 0; c < columns; ++c) {
      if (!text.readXyzLine(point)) {
        std::fprintf(stderr, "%s: the xyz data ends early: %llu of %llu points read\n", text.shownName().c_str(),
                     static_cast<unsigned long long>(r) * columns + c,
                     static_cast<unsigned long long>(rows) * columns);
        return 1;
      }
      *heights++ = point.z;
    }
    showProgressDot();
  }
  return 0;
}

}  // namespace

int readElevationFile(Vorlan& project, const char* fileName) {
  const std::string shown = utfConvertors::convert_if_local_codepage(fileName);
  KelFileIO file;
  if (!fileName || !file.io_OpenFile(fileName, nullptr, 1)) {
    std::fprintf(stderr, "cannot read input file %s\n", shown.c_str());
    return 1;
  }
  std::printf("Importing elevations from %s...\n", shown.c_str());
  ElevationGrid& grid = *project.pew_get_elevations();
  ElevationText text(file.io_GetAddress(), shown);
  AscHeader header;
  switch (readAscHeader(text, header)) {
    case HeaderResult::NotAsc: return readXyzHeights(text, grid);
    case HeaderResult::Failed: return 1;
    case HeaderResult::Read: break;
  }
  if (!fitsGrid(header, grid, project.pew_get_gridsize())) {
    std::fputs("Grid dimensions are not the same\n", stderr);
    return 1;
  }
  return readAscHeights(text, header, grid);
}

int importElevations(Vorlan& project, const char* fileName) {
  if (!confirmAction("Import Elevations")) return 1;
  // The file is released before the project is written.
  if (readElevationFile(project, fileName) != 0) return 1;
  return saveProject(nullptr);
}
