#include "png_file.h"

#include <png.h>
#include <zlib.h>

#include <csetjmp>
#include <cstring>

namespace {

// libpng reports an error by calling this and expects it not to return:
// keep the text and jump back to writePng.
struct ErrorText {
  char text[256] = "";
};

void onError(png_structp png, png_const_charp message) {
  auto* error = static_cast<ErrorText*>(png_get_error_ptr(png));
  std::snprintf(error->text, sizeof error->text, "%s", message);
  png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

}  // namespace

bool writePng(FILE* stream, const Picture& picture, std::string& problem) {
  ErrorText error;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, onError, onWarning);
  if (!png) {
    problem = "cannot set up the PNG writer";
    return false;
  }
  png_infop info = png_create_info_struct(png);
  // Nothing between here and the end may need a destructor: an error jumps
  // back over it.
  if (!info || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    problem = info ? error.text : "cannot set up the PNG writer";
    return false;
  }
  png_init_io(png, stream);
  png_set_IHDR(png, info, picture.width, picture.height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  // A 4096 x 4096 map is 50 MB of pixels, and trying every filter on every
  // row at the default level costs several times the reading of the
  // project. One cheap filter (each row less the one above) and run-length
  // matching only keep it cheap: relief changes little from row to row, and
  // flat ground and water become long runs of zeros.
  png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_UP);
  png_set_compression_level(png, 1);
  png_set_compression_strategy(png, Z_RLE);
  png_write_info(png, info);
  const std::size_t stride = static_cast<std::size_t>(picture.width) * 3;
  for (std::uint32_t y = 0; y < picture.height; ++y)
    png_write_row(png, const_cast<png_bytep>(picture.rgb.data() + y * stride));
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return true;
}
