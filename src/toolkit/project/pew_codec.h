// The project file codec: the content of a .pew file as the store keeps it,
// and the functions that read and write it. Everything we do not interpret
// (unknown header values, the grid's trailing values, the editor's tail) is
// kept as read, so a file written back unchanged is byte-identical.
//
// The header and the templates are decoded; the rest stays in the file's
// bytes (`file`) until it is needed: the objects are handles to their
// records there, the heights are copied out only when the grid is asked
// for, and the tail is written back from there.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "system/byte_sink.h"
#include "system/byte_source.h"
#include "system/mapped_file.h"
#include "text/gen_string.h"
#include "project/pew_object.h"
#include "project/template_table.h"

struct PewHeader {
  char signature[7] = {'P', 'O', 'S', 'E', 'W', '6', '0'};
  std::uint32_t valueA = 0;
  std::uint32_t valueB = 0;
  GenString dataPath;
  GenString objectPath;
  float gridSpacing = 10.0f;
  float valueC = 400.0f;
  GenString valueD;
  std::uint32_t valueE = 0;
};

struct ProjectContent {
  PewHeader header;
  std::uint32_t legacyTextureCount = 0;
  TemplateTable templates;
  std::uint16_t noTerrains = 1, noForests = 1, noRoadNetworks = 1;
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  // The heights, rows * columns, row 0 first: in the file's bytes at
  // `heightsInFile` until heights() copies them out.
  const unsigned char* heightsInFile = nullptr;
  // The columns * rows / 16 values after the heights, kept as the file's
  // bytes: nothing reads them, a save writes them back.
  const unsigned char* extra = nullptr;
  std::size_t extraBytes = 0;
  std::uint32_t afterExtra = 0;
  PewObjects objects;
  // The editor's data after the objects.
  const unsigned char* tail = nullptr;
  std::size_t tailSize = 0;
  MappedFile file;  // the bytes read; objects, heights and tail point into them

  std::vector<float>& heights();
  // The heights' bytes, copied out or not.
  const void* heightBytes() const { return heightsCopied_ ? static_cast<const void*>(heights_.data()) : heightsInFile; }
  // Hands the heights' bytes to `f(bytes, count)` a piece of up to 256 K
  // heights at a time, row 0 first, without copying them out; `f` returns
  // false to stop, and so does this. Heights still in the file's bytes have
  // their memory given back piece by piece (the system keeps the file's
  // pages cached), so one pass over a large grid holds little of it.
  template <typename F>
  bool forEachHeightPiece(F&& f) {
    constexpr std::size_t kPiece = std::size_t{1} << 18;
    const std::size_t total = std::size_t{columns} * rows;
    const auto* bytes = static_cast<const unsigned char*>(heightBytes());
    for (std::size_t done = 0; done < total;) {
      std::size_t n = total - done < kPiece ? total - done : kPiece;
      if (!f(bytes + done * sizeof(float), n)) return false;
      done += n;
      if (!heightsCopied_) file.giveBackRange(bytes, done * sizeof(float));
    }
    return true;
  }
  // An empty project with a grid of zero heights, as made from nothing.
  void makeEmpty(std::uint32_t columns, std::uint32_t rows, float spacing);

 private:
  std::vector<float> heights_;
  bool heightsCopied_ = false;
  std::vector<unsigned char> emptyTail_;
  std::vector<unsigned char> emptyExtra_;
};

// Where and why a file could not be read.
struct DecodeFailure {
  int status = 0;
  std::uint64_t offset = 0;
  std::string block;  // e.g. "template 3 of 10"
  std::string what;   // what was found, and what was expected
};

// Decodes `out.file`.
bool decodeProject(ProjectContent& out, DecodeFailure& failure);
void encodeProject(const ProjectContent& content, ByteSink& out);

// Smallest sizes in the file, used to check counts before allocating.
constexpr std::uint64_t kMinTemplateBytes = 146;
constexpr std::uint64_t kMinSlotBytes = 2;
constexpr std::uint64_t kTemplateFixedBytes = 118;      // bounds .. road flag
constexpr std::uint64_t kRoadFramesBytes = 2 * 12 * 4;  // two frames of 12 floats
