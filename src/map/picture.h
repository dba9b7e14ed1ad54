// Picture: the map as red, green and blue bytes, row by row from the top
// (the northern edge) down, each row from west to east.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct Rgb {
  std::uint8_t r = 0, g = 0, b = 0;
  bool operator==(const Rgb&) const = default;
};

struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  // Grid points per pixel along each side: 1 up to the largest picture,
  // more for larger grids, which are averaged down.
  std::uint32_t factor = 1;
  std::vector<std::uint8_t> rgb;  // width * height * 3 bytes

  std::uint8_t* pixel(std::uint32_t x, std::uint32_t y) {
    return rgb.data() + (static_cast<std::size_t>(y) * width + x) * 3;
  }
  void set(std::uint32_t x, std::uint32_t y, Rgb colour) {
    std::uint8_t* p = pixel(x, y);
    p[0] = colour.r;
    p[1] = colour.g;
    p[2] = colour.b;
  }
};
