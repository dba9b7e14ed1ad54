#include "relief.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr int kRampSteps = 1024;

struct Stop {
  float at;
  float r, g, b;
};

// Green at sea level, brown half-way up, white at the top.
constexpr Stop kLand[] = {{0.0f, 82, 150, 70}, {0.5f, 150, 110, 62}, {1.0f, 255, 255, 255}};
// Light blue at the shore, deep blue at the lowest point.
constexpr Stop kWater[] = {{0.0f, 100, 165, 230}, {1.0f, 20, 55, 140}};

template <std::size_t N>
std::array<Rgb, kRampSteps> makeRamp(const Stop (&stops)[N]) {
  std::array<Rgb, kRampSteps> ramp;
  for (int i = 0; i < kRampSteps; ++i) {
    float t = static_cast<float>(i) / (kRampSteps - 1);
    std::size_t k = 1;
    while (k + 1 < N && t > stops[k].at) ++k;
    const Stop& a = stops[k - 1];
    const Stop& b = stops[k];
    float f = (t - a.at) / (b.at - a.at);
    auto mix = [f](float x, float y) { return static_cast<std::uint8_t>(std::lround(x + (y - x) * f)); };
    ramp[i] = {mix(a.r, b.r), mix(a.g, b.g), mix(a.b, b.b)};
  }
  return ramp;
}

// Position 0..1 on a ramp as its index; `scale` maps a height to 0..1 and
// is 0 when the range is empty, so a grid of one height is drawn flat.
inline int rampIndex(float height, float scale) {
  int i = static_cast<int>(height * scale * (kRampSteps - 1) + 0.5f);
  return std::clamp(i, 0, kRampSteps - 1);
}

// Averages each factor x factor block of grid points into one height, in
// the grid's own order (row 0 in the south).
std::vector<float> averageBlocks(const ElevationGrid& grid, std::uint32_t factor, std::uint32_t width,
                                 std::uint32_t height) {
  std::vector<float> out(static_cast<std::size_t>(width) * height);
  std::vector<double> sum(width);
  std::vector<std::uint32_t> count(width);
  for (std::uint32_t br = 0; br < height; ++br) {
    std::fill(sum.begin(), sum.end(), 0.0);
    std::fill(count.begin(), count.end(), 0u);
    std::uint32_t lastRow = std::min<std::uint64_t>(grid.rows, std::uint64_t{br + 1} * factor);
    for (std::uint32_t r = br * factor; r < lastRow; ++r) {
      const float* row = grid.heights + static_cast<std::size_t>(r) * grid.columns;
      for (std::uint32_t c = 0; c < grid.columns; ++c) {
        if (!std::isfinite(row[c])) continue;
        sum[c / factor] += row[c];
        ++count[c / factor];
      }
    }
    std::transform(sum.begin(), sum.end(), count.begin(), out.begin() + static_cast<std::ptrdiff_t>(br) * width,
                   [](double total, std::uint32_t points) {
                     return points ? static_cast<float>(total / points) : std::numeric_limits<float>::quiet_NaN();
                   });
  }
  return out;
}

}  // namespace

std::uint32_t pictureFactor(std::uint32_t columns, std::uint32_t rows) {
  std::uint32_t side = std::max(columns, rows);
  return side <= kLargestPictureSide ? 1 : (side - 1) / kLargestPictureSide + 1;
}

Picture drawRelief(const ElevationGrid& grid, float spacing) {
  Picture picture;
  if (grid.columns == 0 || grid.rows == 0 || !grid.heights) return picture;
  const std::uint32_t factor = pictureFactor(grid.columns, grid.rows);
  const std::uint32_t width = (grid.columns - 1) / factor + 1;
  const std::uint32_t height = (grid.rows - 1) / factor + 1;
  picture.width = width;
  picture.height = height;
  picture.factor = factor;
  picture.rgb.resize(static_cast<std::size_t>(width) * height * 3);

  std::vector<float> averaged;
  const float* heights = grid.heights;
  if (factor > 1) {
    averaged = averageBlocks(grid, factor, width, height);
    heights = averaged.data();
  }
  float low = 0, high = 0;
  for (std::size_t i = 0, n = static_cast<std::size_t>(width) * height; i < n; ++i) {
    if (!std::isfinite(heights[i])) continue;
    low = std::min(low, heights[i]);
    high = std::max(high, heights[i]);
  }
  const float landScale = high > 0 ? 1.0f / high : 0.0f;
  const float waterScale = low < 0 ? 1.0f / low : 0.0f;
  static const std::array<Rgb, kRampSteps> land = makeRamp(kLand);
  static const std::array<Rgb, kRampSteps> water = makeRamp(kWater);

  // Light from the north-west, 45 degrees above the horizon (x east, y
  // north, z up). A flat pixel is lit by kLightZ and keeps its colour;
  // slopes towards the light are brightened, those away from it darkened.
  constexpr float kLightX = -0.5f, kLightY = 0.5f, kLightZ = 0.70710678f;
  double metresPerPixel = static_cast<double>(spacing) * factor;
  if (!(metresPerPixel > 0) || !std::isfinite(metresPerPixel)) metresPerPixel = 1;
  const float step = static_cast<float>(metresPerPixel);

  for (std::uint32_t y = 0; y < height; ++y) {
    const std::uint32_t r = height - 1 - y;  // the picture's top row is the grid's northern one
    const std::uint32_t north = r + 1 < height ? r + 1 : r, south = r > 0 ? r - 1 : r;
    const float* row = heights + static_cast<std::size_t>(r) * width;
    const float* rowN = heights + static_cast<std::size_t>(north) * width;
    const float* rowS = heights + static_cast<std::size_t>(south) * width;
    const float dy = static_cast<float>(north - south) * step;
    std::uint8_t* out = picture.pixel(0, y);
    for (std::uint32_t x = 0; x < width; ++x, out += 3) {
      const float h = row[x];
      if (!std::isfinite(h)) {
        out[0] = out[1] = out[2] = 0;
        continue;
      }
      const std::uint32_t east = x + 1 < width ? x + 1 : x, west = x > 0 ? x - 1 : x;
      auto around = [h](float v) { return std::isfinite(v) ? v : h; };
      const float dx = static_cast<float>(east - west) * step;
      const float slopeX = dx > 0 ? (around(row[east]) - around(row[west])) / dx : 0.0f;
      const float slopeY = dy > 0 ? (around(rowN[x]) - around(rowS[x])) / dy : 0.0f;
      const float lit = (kLightZ - slopeX * kLightX - slopeY * kLightY) /
                        std::sqrt(slopeX * slopeX + slopeY * slopeY + 1.0f);
      const float shade = std::clamp(0.3f + 0.7f * lit / kLightZ, 0.0f, 1.25f);
      const Rgb base = h < 0 ? water[rampIndex(h, waterScale)] : land[rampIndex(h, landScale)];
      out[0] = static_cast<std::uint8_t>(std::min(255.0f, base.r * shade + 0.5f));
      out[1] = static_cast<std::uint8_t>(std::min(255.0f, base.g * shade + 0.5f));
      out[2] = static_cast<std::uint8_t>(std::min(255.0f, base.b * shade + 0.5f));
    }
  }
  return picture;
}
