#include "elevation_export.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "system/export_file.h"
#include "system/file_string.h"
#include "height_text.h"
#include "text/utf_convertors.h"

namespace {

// Text is put together here in large pieces and handed to the writer a
// piece at a time, so that each height costs its formatting and little else.
class PieceWriter {
 public:
  static constexpr std::size_t kSize = std::size_t{1} << 18;

  explicit PieceWriter(TextWriter& out) : out_(out), buffer_(new char[kSize]) {}
  ~PieceWriter() { flush(); }
  PieceWriter(const PieceWriter&) = delete;
  PieceWriter& operator=(const PieceWriter&) = delete;

  // Where the next `length` chars (at most kSize) may be written; done()
  // takes the end of what was written.
  char* room(std::size_t length) {
    if (kSize - used_ < length) flush();
    return buffer_.get() + used_;
  }
  void done(char* end) { used_ = static_cast<std::size_t>(end - buffer_.get()); }
  void flush() {
    out_.put(std::string_view(buffer_.get(), used_));
    used_ = 0;
  }

 private:
  TextWriter& out_;
  std::unique_ptr<char[]> buffer_;
  std::size_t used_ = 0;
};

char* putText(char* p, std::string_view text) {
  std::memcpy(p, text.data(), text.size());
  return p + text.size();
}

void writeAscHeader(TextWriter& out, const ElevationGrid& grid, double cellSize) {
  out.put("ncols ");
  out.putUnsigned(grid.columns);
  out.put("\r\nnrows ");
  out.putUnsigned(grid.rows);
  out.put("\r\nxllcorner 0.0\r\nyllcorner 0.0\r\ncellsize ");
  out.putFixed(cellSize, 1);
  out.put("\r\nNODATA_value -9999\r\n");
}

// "%.2f " after each height but the row's last, "%.2f\r\n" after that, and
// an empty line after every row.
void writeAscRows(TextWriter& out, const ElevationGrid& grid) {
  PieceWriter piece(out);
  const float* height = grid.heights;
  for (std::uint32_t r = 0; r < grid.rows; ++r) {
    for (std::uint32_t c = 0; c < grid.columns; ++c) {
      char* p = piece.room(kHeightTextCapacity + 4);
      p = formatHeight(p, *height++);
      if (c + 1 < grid.columns) {
        *p++ = ' ';
      } else {
        p = putText(p, "\r\n");
      }
      piece.done(p);
    }
    piece.done(putText(piece.room(2), "\r\n"));
  }
}

// Lines "%11.2f %11.2f %11.2f\r\n" of x, y and height. Every x of a row and
// the y of each row are the same few numbers over and over, so each is
// formatted once and copied after that.
void writeXyzPoints(TextWriter& out, const ElevationGrid& grid, double cellSize) {
  if (grid.columns == 0) return;
  std::vector<std::string> xText(grid.columns);
  for (std::uint32_t c = 0; c < grid.columns; ++c) xText[c] = fixedText(c * cellSize, 2, 11) + ' ';
  PieceWriter piece(out);
  const float* height = grid.heights;
  for (std::uint32_t r = 0; r < grid.rows; ++r) {
    const std::string yText = fixedText(r * cellSize, 2, 11) + ' ';
    for (std::uint32_t c = 0; c < grid.columns; ++c) {
      char* p = piece.room(xText[c].size() + yText.size() + kHeightTextCapacity + 2);
      p = putText(p, xText[c]);
      p = putText(p, yText);
      p = formatHeight(p, *height++, 11);
      piece.done(putText(p, "\r\n"));
    }
  }
}

}  // namespace

int writeElevationGrid(TextWriter& out, const ElevationGrid& grid, float cellSize, unsigned format) {
  if (format != kElevationAsc && format != kElevationXyz) return 1;
  const double spacing = cellSize;
  if (format == kElevationAsc) {
    writeAscHeader(out, grid, spacing);
    writeAscRows(out, grid);
  } else {
    writeXyzPoints(out, grid, spacing);
  }
  return 0;
}

int exportElevations(Vorlan& project, const char* fileName, unsigned format) {
  if (!fileName || !*fileName) {
    std::fputs("no output file\n", stderr);
    return 1;
  }
  const std::string shown = utfConvertors::convert_if_local_codepage(fileName);
  ExportFile file;
  if (!file.openOrSay(fileName, project.fileName().c_str(), "cannot create output file %s\n")) return 1;
  std::printf("Exporting elevations to %s in %s format...", shown.c_str(), format == kElevationAsc ? "asc" : "xyz");
  std::fflush(stdout);  // the line is completed only when the file is written

  int result;
  int error;
  {
    TextWriter out(file.stream());
    result = writeElevationGrid(out, *project.pew_get_elevations(), project.pew_get_gridsize(), format);
    error = out.close();
  }
  // A half-written export is worse than none: the old file (or none) stays.
  if (result == 0 && error == 0) error = file.finish(true);
  else file.finish(false);
  if (error != 0) {
    std::fprintf(stderr, "cannot write output file %s: %s\n", shown.c_str(), std::strerror(error));
    result = 1;
  }
  std::fputs("Done\n", stdout);
  return result;
}
