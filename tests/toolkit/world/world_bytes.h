// Builds world files for tests byte by byte from the documented layout, so
// the writer's output can be compared with an independent expectation and
// the checker can be fed hand-made and damaged files.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

struct WorldBytes {
  std::vector<unsigned char> bytes;

  WorldBytes& raw(const void* data, std::size_t n) {
    auto* p = static_cast<const unsigned char*>(data);
    bytes.insert(bytes.end(), p, p + n);
    return *this;
  }
  WorldBytes& i32(std::int32_t v) { return raw(&v, 4); }
  WorldBytes& u32(std::uint32_t v) { return raw(&v, 4); }
  WorldBytes& u16(std::uint16_t v) { return raw(&v, 2); }
  WorldBytes& f32(float v) { return raw(&v, 4); }
  WorldBytes& text(const std::string& s) { return raw(s.data(), s.size()); }

  // Signature, land and terrain grids of the same size, and the cell size.
  WorldBytes& header(std::int32_t columns, std::int32_t rows, float cellSize, const char* signature = "8WVR") {
    return text(signature).i32(columns).i32(rows).i32(columns).i32(rows).f32(cellSize);
  }
  WorldBytes& object(const std::vector<float>& transform, std::int32_t id, const std::string& name) {
    for (float v : transform) f32(v);
    return i32(id).i32(static_cast<std::int32_t>(name.size())).text(name);
  }
  WorldBytes& terminator() {
    for (int i = 0; i < 12; ++i) u32(0x7FC00000u);
    return i32(0x7FFFFFFF).i32(0);
  }
};

inline const std::vector<float> kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};
