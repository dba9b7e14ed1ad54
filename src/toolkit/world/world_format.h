// Fixed values of the editable world file (.wrp, signature 8WVR), shared by
// the writer and the checking reader. The file is little-endian and packed:
//
//   signature, land columns and rows, terrain columns and rows (i32),
//   land cell size (f32), terrain heights (f32, row 0 first), land surface
//   indexes (u16, same order), the surface table (i32 count, then entries
//   made of {i32 n, n bytes} runs ended by an i32 0), one record per object
//   (12 f32 transform, i32 ID, i32 n, n bytes of model file name), and a
//   closing record whose name is empty.
#pragma once

#include <cstddef>
#include <cstdint>

namespace wrp {

constexpr int kEditableVersion = 8;
constexpr char kSignature[4] = {'8', 'W', 'V', 'R'};
constexpr std::size_t kHeaderBytes = 4 + 4 * 4 + 4;
constexpr std::size_t kTransformFloats = 12;
constexpr std::size_t kRecordIdAt = kTransformFloats * 4, kRecordNameLengthAt = kRecordIdAt + 4;
constexpr std::size_t kRecordFixedBytes = kRecordNameLengthAt + 4;  // before the name
// The closing record's transform and ID carry no meaning; these are written.
constexpr std::uint32_t kQuietNaNBits = 0x7FC00000u;
constexpr std::int32_t kTerminatorId = 0x7FFFFFFF;

// True for the bits of an infinity or a NaN.
constexpr bool nonFiniteBits(std::uint32_t bits) { return (bits & 0x7F800000u) == 0x7F800000u; }

}  // namespace wrp
