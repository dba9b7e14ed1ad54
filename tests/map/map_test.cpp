#include <png.h>

#include <gtest/gtest.h>

#include "map/map_program.h"
#include "map/object_dots.h"
#include "map/relief.h"
#include "project_description.h"
#include "stream_capture.h"
#include "temp_dir.h"

namespace {

// The picture in a PNG file, read back with libpng; empty when it is not one.
Picture readPng(const std::string& name) {
  Picture picture;
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, name.c_str())) return picture;
  image.format = PNG_FORMAT_RGB;
  picture.width = image.width;
  picture.height = image.height;
  picture.rgb.resize(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr)) picture.rgb.clear();
  return picture;
}

Rgb at(Picture& p, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t* c = p.pixel(x, y);
  return {c[0], c[1], c[2]};
}

Captured runWith(std::vector<std::string> words) {
  words.insert(words.begin(), "vorlan-map");
  std::vector<char*> argv;
  for (std::string& w : words) argv.push_back(w.data());
  return captureRun([&] { return runMap(static_cast<int>(argv.size()), argv.data()); });
}

}  // namespace

// The project of north_up.txt: water, a peak and one object of each kind.
TEST(Map, DrawsGroundAndObjectsNorthUp) {
  TempDir dir;
  describedProject(TEST_DATA_DIR "/north_up.txt").writeTo(dir.file("map.pew"));

  Captured run = runWith({dir.file("map")});  // the picture goes beside the project
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "not drawn: 1 object deleted, 2 objects outside the grid\n" + dir.file("map.png") +
                            ": 4 x 3 pixels, 10 metres per pixel, 5 objects drawn\n");
  Picture p = readPng(dir.file("map.png"));
  ASSERT_EQ(p.width, 4u);
  ASSERT_EQ(p.height, 3u);

  const struct {
    std::uint32_t x, y;
    Rgb colour;
  } dots[] = {{1, 0, {0x10, 0x80, 0xFF}}, {2, 2, kNaturalDot}, {0, 1, kArtificialDot},
              {3, 1, kRoadDot},           {2, 1, kMissingTemplateDot}};
  for (const auto& d : dots) EXPECT_EQ(at(p, d.x, d.y), d.colour) << d.x << "," << d.y;

  Rgb water = at(p, 0, 2), peak = at(p, 3, 2);
  EXPECT_GT(water.b, water.r + 60) << "the south-west corner is water";
  EXPECT_GT(water.b, water.g);
  EXPECT_GT(peak.r + peak.g + peak.b, 3 * 220) << "the south-east corner is the white peak";
}

// A grid of one height is drawn in one colour; grids over the largest side
// are averaged down (here heights of -10 and 10 side by side average to a
// flat 0, where single points would give stripes of water and land).
TEST(Map, FlatAndAveragedGrids) {
  const struct {
    std::uint32_t columns, rows;
    float even, odd;  // heights of the even and the odd columns
    std::uint32_t width, height;
  } cases[] = {
      {1, 1, 0, 0, 1, 1},          {3, 2, 25, 25, 3, 2},         {2, 3, -4, -4, 2, 3},
      {4098, 2, -10, 10, 2049, 1}, {2, 8192, -10, 10, 1, 4096}, {2, 8193, -10, 10, 1, 2731},
  };
  for (const auto& c : cases) {
    std::vector<float> heights(std::size_t{c.columns} * c.rows);
    for (std::size_t i = 0; i < heights.size(); ++i) heights[i] = (i % c.columns) % 2 ? c.odd : c.even;
    ElevationGrid grid{c.columns, c.rows, heights.data()};
    Picture p = drawRelief(grid, 10);
    ASSERT_EQ(p.width, c.width) << c.columns << " x " << c.rows;
    ASSERT_EQ(p.height, c.height);
    std::vector<float> flatHeights(9, (c.even + c.odd) / 2);  // the middle of a flat 3 x 3 grid
    Picture flat = drawRelief(ElevationGrid{3, 3, flatHeights.data()}, 10);
    for (std::uint32_t y = 0; y < p.height; ++y)
      for (std::uint32_t x = 0; x < p.width; ++x) ASSERT_EQ(at(p, x, y), at(flat, 1, 1)) << x << "," << y;
  }
}

// The light comes from the north-west: a slope facing it is lighter than flat
// ground and one facing away darker, and slopes as steep at the same angle to
// the light (one rising to the east, one to the south) look the same.
TEST(Map, SlopesAreShadedByTheirAngleToTheLight) {
  auto centre = [](std::vector<float> heights) {  // 3 x 3 rows from the south; the peak is 10 in each
    ElevationGrid grid{3, 3, heights.data()};
    Picture p = drawRelief(grid, 10);
    const Rgb c = at(p, 1, 1);
    return c.r + c.g + c.b;
  };
  const int flat = centre({10, 5, 5, 5, 5, 5, 5, 5, 5});
  const int risingEast = centre({0, 5, 10, 0, 5, 10, 0, 5, 10}), risingSouth = centre({10, 10, 10, 5, 5, 5, 0, 0, 0});
  const int risingWest = centre({10, 5, 0, 10, 5, 0, 10, 5, 0}), risingNorth = centre({0, 0, 0, 5, 5, 5, 10, 10, 10});
  EXPECT_GT(risingEast, flat);
  EXPECT_LT(risingWest, flat);
  EXPECT_EQ(risingEast, risingSouth);
  EXPECT_EQ(risingWest, risingNorth);
  EXPECT_EQ(centre({10, 10, 10, 10, 10, 10, 10, 10, 10}), 3 * 255) << "flat ground at the top is white";
}
