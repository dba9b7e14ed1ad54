#include "elevation_import.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
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
// The most text one grid point can take in any sensible layout (an xyz
// line of three long numbers is about 40 bytes).
constexpr std::size_t kMostBytesAPoint = 64;

// The asc header values that matter after reading.
struct AscHeader {
  long columns = 0;  // "ncols"
  long rows = 0;     // "nrows"
  float cellSize = 0;
};

enum class HeaderResult { Read, NotAsc, Failed };

// A missing "ncols" line sends the file to the xyz reading like a line of
// another key; a later missing line ends the import after its key's message.
HeaderResult readAscHeader(ElevationText& text, AscHeader& header) {
  std::optional<long> columns = text.readHeaderInt("ncols ");
  if (!columns || *columns == -1) return HeaderResult::NotAsc;
  header.columns = *columns;
  auto missing = [&](const char* key) {
    text.reportHeaderEnd(key);
    return HeaderResult::Failed;
  };
  // A value of -1 stops the import like a wrong key: the readers give -1
  // for both.
  std::optional<long> rows = text.readHeaderInt("nrows ");
  if (!rows) return missing("nrows ");
  if (*rows == -1) return HeaderResult::Failed;
  header.rows = *rows;
  for (const char* key : {"xllcorner ", "yllcorner "}) {
    std::optional<float> corner = text.readHeaderFloat(key);
    if (!corner) return missing(key);
    if (*corner == -1.0f) return HeaderResult::Failed;
  }
  std::optional<float> cellSize = text.readHeaderFloat("cellsize ");
  if (!cellSize) return missing("cellsize ");
  if (*cellSize == -1.0f) return HeaderResult::Failed;
  header.cellSize = *cellSize;
  std::optional<long> noData = text.readHeaderInt("NODATA_value ");
  if (!noData) return missing("NODATA_value ");
  if (*noData == -1) return HeaderResult::Failed;
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

// The end of the data came after the height at (row, column); an end before
// the first height counts as row 0, column 0 as well. That is fine only right
// after the grid's last height.
int endOfAscData(const ElevationText& text, const char* headerEnd, const AscHeader& header, long row, long column) {
  if (row + 1 == header.rows && column + 1 == header.columns) return allHeightsRead();
  const char* at = text.position();
  std::size_t shown = std::min(static_cast<std::size_t>(at - headerEnd), strnlen(at, kRemainderShown));
  std::fputs("bad float values in asc file\n", stderr);
  std::fprintf(stderr, "%ldx%ld\n", row, column);
  std::fprintf(stderr, "%.*s\n\n", static_cast<int>(shown), at);
  return 1;
}

int readAscHeights(ElevationText& text, const AscHeader& header, ElevationGrid& grid, KelFileIO& file) {
  const char* headerEnd = text.position();
  const char* p = skipAscBlanks(headerEnd);
  text.setPosition(p);
  if (*p == '\0') return endOfAscData(text, headerEnd, header, 0, 0);
  float* heights = grid.heights;
  const long columns = std::max(header.columns, 0L);
  for (long r = 0; r < header.rows; ++r) {
    showProgressDot();
    if (keyPressed()) return 1;  // abandoned: nothing is saved
    AscRow row = readAscRow(p, heights, columns);
    heights += row.stored;
    text.setPosition(p);
    file.io_Done(p);  // nothing behind is read again
    if (row.atEnd) return endOfAscData(text, headerEnd, header, r, row.stored - 1);
  }
  return allHeightsRead();
}

// The xyz layout: the row length is measured on the first row, then every
// point's height is taken in order, its x and y ignored.
int readXyzHeights(ElevationText& text, ElevationGrid& grid, KelFileIO& file) {
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
    file.io_Done(text.position());  // the rewind is behind us
    showProgressDot();
  }
  return 0;
}

}  // namespace

int readElevationFile(Vorlan& project, const char* fileName) {
  const std::string shown = utfConvertors::convert_if_local_codepage(fileName);
  ElevationGrid& grid = *project.pew_get_elevations();
  KelFileIO file;
  // Text from a pipe is held whole; endless input stops at a size no grid
  // of this project's could use.
  const std::size_t limit = std::size_t{grid.columns} * grid.rows * kMostBytesAPoint + (std::size_t{1} << 20);
  file.io_SetPipeLimit(limit);
  if (!fileName || !file.io_OpenFile(fileName, nullptr, 1)) {
    bool tooLong = errno == EFBIG;
    std::fprintf(stderr, "cannot read input file %s\n", shown.c_str());
    if (tooLong)
      std::fprintf(stderr, "%s: more than %zu bytes of text for a grid of %u x %u points; nothing was imported\n",
                   shown.c_str(), limit, grid.columns, grid.rows);
    return 1;
  }
  std::printf("Importing elevations from %s...\n", shown.c_str());
  ElevationText text(file.io_GetAddress(), shown);
  AscHeader header;
  switch (readAscHeader(text, header)) {
    case HeaderResult::NotAsc: return readXyzHeights(text, grid, file);
    case HeaderResult::Failed: return 1;
    case HeaderResult::Read: break;
  }
  if (!fitsGrid(header, grid, project.pew_get_gridsize())) {
    std::fputs("Grid dimensions are not the same\n", stderr);
    return 1;
  }
  return readAscHeights(text, header, grid, file);
}

int importElevations(Vorlan& project, const char* fileName) {
  if (!confirmAction("Import Elevations")) return 1;
  // The file is released before the project is written.
  if (readElevationFile(project, fileName) != 0) return 1;
  return saveProject(nullptr);
}
