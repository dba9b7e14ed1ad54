// Checking a world file: one streaming pass that reads strictly within the
// file's bytes, checks every count against what is left before it acts on
// it, and stops at the first problem with its byte offset. Names are skipped,
// not kept; object IDs go into a flat hash set to find repeats.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "system/byte_source.h"
#include "system/mapped_file.h"
#include "project/id_set.h"
#include "text/cstring8.h"
#include "world/morvik.h"
#include "status.h"
#include "world/world_format.h"

namespace {

std::string format(const char* fmt, ...) {
  CString8 text;
  va_list args;
  va_start(args, fmt);
  text.FormatV(fmt, args);
  va_end(args);
  return std::string(text.View());
}

// The four signature bytes as text, unprintable bytes as \xNN.
std::string printable(const unsigned char* bytes) {
  std::string text;
  for (int i = 0; i < 4; ++i) {
    if (bytes[i] >= 0x20 && bytes[i] < 0x7F && bytes[i] != '"' && bytes[i] != '\\')
      text += static_cast<char>(bytes[i]);
    else
      text += format("\\x%02X", bytes[i]);
  }
  return text;
}

double floatOf(std::uint32_t bits) {
  float f;
  std::memcpy(&f, &bits, sizeof f);
  return static_cast<double>(f);
}

class WorldChecker {
 public:
  // `mapped` holds the bytes of `in` when they are a mapped file, else null.
  WorldChecker(ByteSource& in, MappedFile* mapped) : in_(in), mapped_(mapped) {}

  bool run() { return header() && heights() && surfaceIndexes() && surfaceTable() && objects(); }

  // The first problem found.
  int status = status::kOk;
  std::uint64_t offset = 0;
  std::string what;

  // What a sound file holds.
  std::int32_t landColumns = 0, landRows = 0, terrainColumns = 0, terrainRows = 0;
  float cellSize = 0;
  std::int32_t surfaces = 0;
  std::uint64_t objectCount = 0;

 private:
  static constexpr std::size_t kChunk = std::size_t{1} << 20;
  static constexpr std::uint64_t kNone = ~std::uint64_t{0};

  bool fail(int s, std::uint64_t at, std::string text) {
    status = s;
    offset = at;
    what = std::move(text);
    return false;
  }
  // Every count is checked against the file's size before it is read, so a
  // shortage here is a fault of this checker, reported rather than read past.
  bool need(std::size_t n) {
    // The pass never reads back, so a mapped file's memory behind it goes
    // back a megabyte at a time: a large world is not held whole.
    if (mapped_ && in_.offset() - givenBack_ >= kChunk) {
      givenBack_ = in_.offset();
      mapped_->giveBack(static_cast<std::size_t>(givenBack_));
    }
    return in_.ensure(n) || fail(status::kCannotOpen, in_.offset(), "the file could not be read to its stated size");
  }
  template <typename T>
  bool get(T& value) {
    if (!need(sizeof(T))) return false;
    std::memcpy(&value, in_.cursor(), sizeof(T));
    in_.advance(sizeof(T));
    return true;
  }
  bool skip(std::uint64_t n) {
    while (n > 0) {
      std::size_t chunk = n < kChunk ? static_cast<std::size_t>(n) : kChunk;
      if (!need(chunk)) return false;
      in_.advance(chunk);
      n -= chunk;
    }
    return true;
  }

  bool header();
  bool gridSize(std::int32_t& value, const char* field);
  bool heights();
  bool surfaceIndexes();
  bool surfaceTable();
  void objectIdRange(std::size_t& count, std::int32_t& lowest, std::int32_t& highest);
  bool objects();

  ByteSource& in_;
  MappedFile* mapped_;
  std::uint64_t givenBack_ = 0;
  std::uint64_t indexStart_ = 0;
  std::vector<std::uint64_t> firstIndexAt_;  // per surface index value, where it first appears
};

bool WorldChecker::header() {
  std::uint64_t size = in_.size();
  unsigned char signature[4];
  if (size >= 4) {
    if (!need(4)) return false;
    std::memcpy(signature, in_.cursor(), sizeof signature);
    in_.advance(4);
    if (std::memcmp(signature, wrp::kSignature, 4) != 0) {
      std::string seen = printable(signature);
      const char* form = nullptr;
      if (std::memcmp(signature, "4WVR", 4) == 0) form = "an editable world of version 4 (4WVR)";
      if (std::memcmp(signature, "OPRW", 4) == 0) form = "a packed world (OPRW)";
      if (form)
        return fail(status::kNotWorld, 0,
                    format("signature \"%s\": %s; only the editable form 8WVR is read", seen.c_str(), form));
      return fail(status::kNotWorld, 0,
                  format("signature \"%s\" is not a world's; only the editable form 8WVR is read", seen.c_str()));
    }
  }
  if (size < wrp::kHeaderBytes)
    return fail(status::kNotWorld, size,
                format("the file ends after %" PRIu64 " bytes, inside the %zu-byte header", size, wrp::kHeaderBytes));

  if (!gridSize(landColumns, "land columns") || !gridSize(landRows, "land rows") ||
      !gridSize(terrainColumns, "terrain columns") || !gridSize(terrainRows, "terrain rows"))
    return false;
  std::uint64_t at = in_.offset();
  std::uint32_t bits;
  if (!get(bits)) return false;
  cellSize = static_cast<float>(floatOf(bits));
  if (wrp::nonFiniteBits(bits) || !(cellSize > 0))
    return fail(status::kDamagedWorld, at, format("land cell size %g is not a positive number", floatOf(bits)));

  // Both grids must fit in what is left; each product is below 2^62, so the
  // 64-bit sums cannot overflow.
  std::uint64_t heightBytes = std::uint64_t(terrainColumns) * std::uint64_t(terrainRows) * 4;
  std::uint64_t indexBytes = std::uint64_t(landColumns) * std::uint64_t(landRows) * 2;
  if (heightBytes > in_.remaining())
    return fail(status::kDamagedWorld, in_.offset(),
                format("the heights of the %d x %d terrain grid need %" PRIu64 " bytes, but only %" PRIu64
                       " remain", terrainColumns, terrainRows, heightBytes, in_.remaining()));
  if (indexBytes > in_.remaining() - heightBytes)
    return fail(status::kDamagedWorld, in_.offset() + heightBytes,
                format("the surface indexes of the %d x %d land grid need %" PRIu64 " bytes, but only %" PRIu64
                       " remain", landColumns, landRows, indexBytes, in_.remaining() - heightBytes));
  return true;
}

bool WorldChecker::gridSize(std::int32_t& value, const char* field) {
  std::uint64_t at = in_.offset();
  if (!get(value)) return false;
  return value > 0 || fail(status::kDamagedWorld, at, format("%s %d is not positive", field, value));
}

bool WorldChecker::heights() {
  std::uint64_t total = std::uint64_t(terrainColumns) * std::uint64_t(terrainRows);
  std::uint64_t index = 0;
  while (index < total) {
    std::uint64_t left = total - index;
    std::size_t count = left < kChunk / 4 ? static_cast<std::size_t>(left) : kChunk / 4;
    if (!need(count * 4)) return false;
    const unsigned char* p = in_.cursor();
    for (std::size_t i = 0; i < count; ++i) {
      std::uint32_t bits;
      std::memcpy(&bits, p + 4 * i, sizeof bits);
      if (wrp::nonFiniteBits(bits)) {
        std::uint64_t n = index + i;
        return fail(status::kDamagedWorld, in_.offset() + 4 * i,
                    format("the height at column %" PRIu64 ", row %" PRIu64 " is %g, not a finite number",
                           n % std::uint64_t(terrainColumns), n / std::uint64_t(terrainColumns), floatOf(bits)));
      }
    }
    in_.advance(count * 4);
    index += count;
  }
  return true;
}

// The table's count comes after the indexes, so they are checked against it
// later; here each value only records where it first appears.
bool WorldChecker::surfaceIndexes() {
  firstIndexAt_.assign(65536, kNone);
  indexStart_ = in_.offset();
  std::uint64_t left = std::uint64_t(landColumns) * std::uint64_t(landRows);
  while (left > 0) {
    std::size_t count = left < kChunk / 2 ? static_cast<std::size_t>(left) : kChunk / 2;
    if (!need(count * 2)) return false;
    const unsigned char* p = in_.cursor();
    std::uint64_t base = in_.offset();
    for (std::size_t i = 0; i < count; ++i) {
      std::uint16_t v;
      std::memcpy(&v, p + 2 * i, sizeof v);
      if (firstIndexAt_[v] == kNone) firstIndexAt_[v] = base + 2 * i;
    }
    in_.advance(count * 2);
    left -= count;
  }
  return true;
}

bool WorldChecker::surfaceTable() {
  std::uint64_t at = in_.offset();
  if (in_.remaining() < 4)
    return fail(status::kDamagedWorld, at, "the file ends where the surface table's count should be");
  if (!get(surfaces)) return false;
  if (surfaces < 0) return fail(status::kDamagedWorld, at, format("surface table count %d is negative", surfaces));
  // Every entry takes at least its closing 4-byte zero.
  if (std::uint64_t(surfaces) * 4 > in_.remaining())
    return fail(status::kDamagedWorld, at,
                format("surface table count %d needs at least %" PRIu64 " bytes, but only %" PRIu64 " remain",
                       surfaces, std::uint64_t(surfaces) * 4, in_.remaining()));

  std::uint64_t bad = kNone;
  unsigned badValue = 0;
  for (std::uint32_t v = static_cast<std::uint32_t>(surfaces); v < 65536; ++v) {
    if (firstIndexAt_[v] < bad) {
      bad = firstIndexAt_[v];
      badValue = v;
    }
  }
  std::vector<std::uint64_t>().swap(firstIndexAt_);
  if (bad != kNone) {
    std::uint64_t n = (bad - indexStart_) / 2;
    return fail(status::kDamagedWorld, bad,
                format("surface index %u at column %" PRIu64 ", row %" PRIu64
                       " is not below the surface table's count %d (at byte %" PRIu64 ")",
                       badValue, n % std::uint64_t(landColumns), n / std::uint64_t(landColumns), surfaces, at));
  }

  for (std::int32_t entry = 0; entry < surfaces; ++entry) {
    for (;;) {
      std::uint64_t runAt = in_.offset();
      if (in_.remaining() < 4)
        return fail(status::kDamagedWorld, runAt,
                    format("surface entry %d of %d runs past the end of the file", entry, surfaces));
      std::int32_t n;
      if (!get(n)) return false;
      if (n < 0)
        return fail(status::kDamagedWorld, runAt,
                    format("name length %d in surface entry %d is negative", n, entry));
      if (n == 0) break;
      if (std::uint64_t(n) > in_.remaining())
        return fail(status::kDamagedWorld, runAt,
                    format("a name of %d bytes in surface entry %d runs past the end of the file (%" PRIu64
                           " bytes remain)", n, entry, in_.remaining()));
      if (!skip(std::uint64_t(n))) return false;
    }
  }
  return true;
}

// How many object records follow and the range of their IDs, from a walk
// that reads only each record's ID and name length and stops where the check
// will stop, if not before. The set that finds repeated IDs is then a bitmap
// over the range when it is dense, set in order, instead of a table read at
// random: a miss in the caches for every object, most of the check's time.
void WorldChecker::objectIdRange(std::size_t& count, std::int32_t& lowest, std::int32_t& highest) {
  const unsigned char* p = in_.cursor();
  const unsigned char* behind = p;  // a mapped file's memory before this goes back as the walk goes
  std::uint64_t left = in_.remaining();
  while (left >= wrp::kRecordFixedBytes) {
    std::int32_t id, n;
    std::memcpy(&id, p + wrp::kRecordIdAt, sizeof id);
    std::memcpy(&n, p + wrp::kRecordNameLengthAt, sizeof n);
    if (n <= 0 || std::uint64_t(n) > left - wrp::kRecordFixedBytes) break;
    ++count;
    lowest = std::min(lowest, id);
    highest = std::max(highest, id);
    p += wrp::kRecordFixedBytes + std::size_t(n);
    left -= wrp::kRecordFixedBytes + std::size_t(n);
    if (mapped_ && std::size_t(p - behind) >= kChunk) {
      mapped_->giveBackRange(behind, std::size_t(p - behind));
      behind = p;
    }
  }
  if (mapped_) mapped_->giveBackRange(behind, std::size_t(p - behind));
}

bool WorldChecker::objects() {
  IdSet ids;
  std::size_t count = 0;
  std::int32_t lowest = INT32_MAX, highest = INT32_MIN;
  objectIdRange(count, lowest, highest);
  ids.reserve(count, lowest, highest);
  unsigned char record[wrp::kRecordFixedBytes];
  for (;;) {
    std::uint64_t at = in_.offset();
    std::uint64_t left = in_.remaining();
    if (left == 0)
      return fail(status::kDamagedWorld, at,
                  format("the file ends after %" PRIu64 " objects without the closing record (an empty name)",
                         objectCount));
    if (left < sizeof record)
      return fail(status::kDamagedWorld, at,
                  format("object record %" PRIu64 " is cut short: %" PRIu64 " bytes remain of the %zu it needs "
                         "before its name", objectCount + 1, left, sizeof record));
    if (!need(sizeof record)) return false;
    std::memcpy(record, in_.cursor(), sizeof record);
    in_.advance(sizeof record);
    std::int32_t id, n;
    std::memcpy(&id, record + wrp::kRecordIdAt, sizeof id);
    std::memcpy(&n, record + wrp::kRecordNameLengthAt, sizeof n);

    if (n == 0) {  // the closing record; its transform and ID mean nothing
      if (in_.remaining() > 0)
        return fail(status::kDamagedWorld, in_.offset(),
                    format("%" PRIu64 " bytes follow the closing record, which must end the file",
                           in_.remaining()));
      return true;
    }
    std::uint64_t number = objectCount + 1;
    for (std::size_t i = 0; i < wrp::kTransformFloats; ++i) {
      std::uint32_t bits;
      std::memcpy(&bits, record + 4 * i, sizeof bits);
      if (wrp::nonFiniteBits(bits))
        return fail(status::kDamagedWorld, at + 4 * i,
                    format("transform value %zu of object %d (record %" PRIu64 ") is %g, not a finite number",
                           i + 1, id, number, floatOf(bits)));
    }
    if (!ids.insert(id))
      return fail(status::kDamagedWorld, at + wrp::kRecordIdAt,
                  format("object ID %d (record %" PRIu64 ") is used by an earlier object too", id, number));
    if (n < 0)
      return fail(status::kDamagedWorld, at + wrp::kRecordNameLengthAt,
                  format("name length %d of object %d (record %" PRIu64 ") is negative", n, id, number));
    if (std::uint64_t(n) > in_.remaining())
      return fail(status::kDamagedWorld, at + wrp::kRecordNameLengthAt,
                  format("the name of %d bytes of object %d (record %" PRIu64 ") runs past the end of the file (%"
                         PRIu64 " bytes remain)", n, id, number, in_.remaining()));
    if (!skip(std::uint64_t(n))) return false;
    ++objectCount;
  }
}

}  // namespace

int Morvik::wrp_Open(const char* name, int, MessageSink sink, const unsigned char* data, std::size_t dataLength) {
  sink_ = sink;
  std::string file = name && *name ? name : data ? "(memory)" : "(no name)";
  MappedFile mapped;
  ByteSource in;
  // Without data the world is read from the named file; a length without
  // data is the caller's mistake, not a file to read.
  if (data) {
    in.openMemory(data, dataLength);
  } else if (int e = !name || !*name ? ENOENT : dataLength != 0 ? EINVAL : mapped.open(name)) {
    report("%s: cannot open the world file: %s\n", file.c_str(), std::strerror(e));
    return status::kCannotOpen;
  } else {
    in.openMemory(mapped.data(), mapped.size());
  }
  WorldChecker check(in, data ? nullptr : &mapped);
  if (!check.run()) {
    const char* kind = check.status == status::kNotWorld      ? "not an editable world file"
                       : check.status == status::kCannotOpen ? "cannot read the world file"
                                                              : "damaged world file";
    report("%s: %s at byte %" PRIu64 ": %s\n", file.c_str(), kind, check.offset, check.what.c_str());
    return check.status;
  }
  report("%s: sound world 8WVR: land grid %d x %d, terrain grid %d x %d, cell size %g, %d surface entr%s, %" PRIu64
         " objects\n", file.c_str(), check.landColumns, check.landRows, check.terrainColumns, check.terrainRows,
         static_cast<double>(check.cellSize), check.surfaces, check.surfaces == 1 ? "y" : "ies", check.objectCount);
  return status::kOk;
}
