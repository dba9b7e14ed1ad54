// Measures the text conversions of the exports and imports against
// snprintf and strtod: a 4096 x 4096 grid of heights as "%.2f " text, and
// object positions as "%f;" text. Prints MB/s of text for each and checks
// that both sides produce the same bytes and values.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "text/number_text.h"
#include "text/text_writer.h"

namespace {

double seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

void report(const char* what, std::size_t bytes, double libraryTime, double ourTime) {
  double mb = static_cast<double>(bytes) / 1e6;
  std::printf("%-34s %9.1f MB/s (C library %7.1f MB/s, %5.1fx)\n", what, mb / ourTime, mb / libraryTime,
              libraryTime / ourTime);
}

// Terrain-like heights stored as float, as a grid keeps them.
std::vector<double> makeHeights(std::size_t count) {
  std::vector<double> heights(count);
  std::mt19937 random(1);
  std::normal_distribution<float> step(0.0f, 0.8f);
  float h = 120.0f;
  for (double& v : heights) {
    h += step(random);
    if (h < -40.0f || h > 2400.0f) h = 120.0f;
    v = h;
  }
  return heights;
}

// Formats every value with the given printf format and a trailing separator.
void formatBoth(const char* what, const std::vector<double>& values, const char* format, int precision, char separator) {
  std::string library(values.size() * 24, '\0');
  std::string ours(values.size() * 24, '\0');
  auto start = std::chrono::steady_clock::now();
  char* p = library.data();
  for (double v : values) p += std::snprintf(p, 64, format, v);
  library.resize(static_cast<std::size_t>(p - library.data()));
  double libraryTime = seconds(start);

  start = std::chrono::steady_clock::now();
  p = ours.data();
  for (double v : values) {
    p = formatFixed(p, v, precision);
    *p++ = separator;
  }
  ours.resize(static_cast<std::size_t>(p - ours.data()));
  double ourTime = seconds(start);
  report(what, ours.size(), libraryTime, ourTime);
  if (ours != library) std::printf("  MISMATCH with snprintf\n");

  start = std::chrono::steady_clock::now();
  double librarySum = 0;
  char* end = library.data();
  for (std::size_t i = 0; i < values.size(); ++i) librarySum += std::strtod(end + (i ? 1 : 0), &end);
  libraryTime = seconds(start);

  start = std::chrono::steady_clock::now();
  double ourSum = 0;
  const char* stop = ours.c_str();
  for (std::size_t i = 0; i < values.size(); ++i) ourSum += parseDouble(stop + (i ? 1 : 0), &stop);
  ourTime = seconds(start);
  report("  reading it back", ours.size(), libraryTime, ourTime);
  if (ourSum != librarySum || stop != ours.c_str() + (end - library.data())) std::printf("  MISMATCH with strtod\n");
}

void writeGridFile(const std::vector<double>& heights) {
  const char* name = "/dev/null";
  auto start = std::chrono::steady_clock::now();
  std::FILE* file = std::fopen(name, "w");
  for (double v : heights) std::fprintf(file, "%.2f ", v);
  std::fclose(file);
  double libraryTime = seconds(start);

  start = std::chrono::steady_clock::now();
  file = std::fopen(name, "w");
  TextWriter writer(file);
  for (double v : heights) {
    writer.putFixed(v, 2);
    writer.put(' ');
  }
  int error = writer.close();
  std::fclose(file);
  double ourTime = seconds(start);
  std::size_t bytes = 0;
  char text[64];
  for (double v : heights) bytes += static_cast<std::size_t>(formatFixed(text, v, 2) - text) + 1;
  report("grid to /dev/null: TextWriter", bytes, libraryTime, ourTime);
  if (error) std::printf("  write error %d\n", error);
}

}  // namespace

int main() {
  std::vector<double> heights = makeHeights(std::size_t{4096} * 4096);
  formatBoth("4096 x 4096 heights as \"%.2f \"", heights, "%.2f ", 2, ' ');
  writeGridFile(heights);

  std::vector<double> positions(4000000);
  std::mt19937_64 random(2);
  std::uniform_real_distribution<double> coordinate(0.0, 20480.0);
  for (double& v : positions) v = coordinate(random);
  formatBoth("1M objects x 4 as \"%f;\"", positions, "%f;", 6, ';');
  return 0;
}
