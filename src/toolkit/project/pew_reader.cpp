// Reading a project file. Every count is checked against the bytes left in
// the file before anything is allocated for it, and the first problem is
// reported with the block it was found in and its byte offset.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <memory>

#include "project/pew_codec.h"
#include "project/slot_scan.h"
#include "status.h"

namespace {

std::string printable(const unsigned char* bytes, std::size_t n) {
  std::string out;
  for (std::size_t i = 0; i < n; ++i) {
    unsigned char c = bytes[i];
    if (c >= 0x20 && c < 0x7F && c != '\\') {
      out += static_cast<char>(c);
    } else {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02X", c);
      out += hex;
    }
  }
  return out;
}

std::string decimal(unsigned __int128 value) {
  std::string digits;
  do {
    digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(value % 10)));
    value /= 10;
  } while (value != 0);
  return digits;
}

class Decoder {
 public:
  Decoder(ProjectContent& out, DecodeFailure& failure) : out_(out), failure_(failure) {
    in_.openMemory(out.file.data(), out.file.size());
  }

  bool run() {
    return header() && legacy() && templates() && flags() && grid() && objects() && tail();
  }

 private:
  bool fail(int status, std::uint64_t offset, std::string what) {
    failure_.status = status;
    failure_.offset = offset;
    failure_.block = block_;
    failure_.what = std::move(what);
    return false;
  }
  bool shortage(std::uint64_t need) {
    return fail(status::kDamaged, in_.offset(),
                "the file ends: " + std::to_string(need) + " more bytes needed, " +
                    std::to_string(in_.remaining()) + " left");
  }
  template <typename T>
  bool get(T& value) {
    return in_.read(value) || shortage(sizeof(T));
  }
  bool getText(GenString& text);
  // A count of elements of at least `minBytes` each must fit in the rest of the file.
  bool checkCount(std::uint64_t count, std::uint64_t minBytes, const char* what) {
    if (count * minBytes <= in_.remaining()) return true;
    return fail(status::kDamaged, in_.offset() - 4,
                std::string(what) + " " + std::to_string(count) + " needs at least " +
                    std::to_string(count * minBytes) + " bytes, only " + std::to_string(in_.remaining()) +
                    " left");
  }

  bool header();
  bool legacy();
  bool templates();
  bool oneTemplate(PewObjectTemplate& t);
  bool flags();
  bool grid();
  bool objects();
  bool badSlot(std::uint32_t i, std::uint32_t count, std::size_t at, std::uint32_t nameLength);
  std::uint32_t takeScanned(SlotScan& scan, std::uint32_t wanted, std::size_t& at);
  bool tail();

  ByteSource in_;
  ProjectContent& out_;
  DecodeFailure& failure_;
  std::string block_ = "header";
};

bool Decoder::getText(GenString& text) {
  std::uint64_t at = in_.offset();
  std::uint32_t n = 0;
  if (!get(n)) return false;
  if (n == 0) {
    text.SetStoredBare(true);
    return true;
  }
  if (n > in_.remaining())
    return fail(status::kDamaged, at,
                "a text of " + std::to_string(n) + " bytes, only " + std::to_string(in_.remaining()) + " left");
  if (!in_.ensure(n)) return shortage(n);
  const unsigned char* bytes = in_.cursor();
  if (bytes[n - 1] != 0)
    return fail(status::kDamaged, at, "a text of " + std::to_string(n) + " bytes that does not end in a NUL");
  text.Set(std::string_view(reinterpret_cast<const char*>(bytes), n - 1));
  in_.advance(n);
  return true;
}

bool Decoder::header() {
  if (!in_.ensure(7)) {
    std::size_t n = static_cast<std::size_t>(in_.remaining());
    in_.ensure(n);
    return fail(status::kNotProject, 0,
                "a file of " + std::to_string(n) + " bytes is too short for a signature (POSEW60 or POSEW59)");
  }
  const unsigned char* sig = in_.cursor();
  std::string seen(reinterpret_cast<const char*>(sig), 7);
  if (seen != "POSEW60" && seen != "POSEW59") {
    if (seen.compare(0, 5, "POSEW") == 0)
      return fail(status::kUnsupported, 0,
                  "signature '" + printable(sig, 7) + "': only POSEW60 and POSEW59 are read");
    return fail(status::kNotProject, 0,
                "signature '" + printable(sig, 7) + "' where POSEW60 or POSEW59 was expected");
  }
  std::memcpy(out_.header.signature, sig, 7);
  in_.advance(7);
  PewHeader& h = out_.header;
  return get(h.valueA) && get(h.valueB) && getText(h.dataPath) && getText(h.objectPath) &&
         get(h.gridSpacing) && get(h.valueC) && getText(h.valueD) && get(h.valueE);
}

bool Decoder::legacy() {
  block_ = "legacy texture count";
  std::uint64_t at = in_.offset();
  if (!get(out_.legacyTextureCount)) return false;
  if (out_.legacyTextureCount != 0)
    return fail(status::kUnsupported, at,
                std::to_string(out_.legacyTextureCount) +
                    " legacy textures: projects with legacy content are not supported");
  return true;
}

bool Decoder::templates() {
  block_ = "template count";
  std::uint32_t count = 0;
  if (!get(count) || !checkCount(count, kMinTemplateBytes, "template count")) return false;
  for (std::uint32_t i = 0; i < count; ++i) {
    block_ = "template " + std::to_string(i + 1) + " of " + std::to_string(count);
    // The id comes in the middle of the record: read it whole, then adopt it.
    std::unique_ptr<PewObjectTemplate> t(new PewObjectTemplate());
    if (!oneTemplate(*t)) return false;
    out_.templates.adopt(t.release());
  }
  return true;
}

bool Decoder::oneTemplate(PewObjectTemplate& t) {
  if (!getText(t.strModelFilename) || !getText(t.strModelName) || !get(t.ulObjectType) ||
      !get(t.ulOutlineColour) || !get(t.ulObjectColour))
    return false;
  if (!in_.ensure(kTemplateFixedBytes)) return shortage(kTemplateFixedBytes);
  auto pair = [&](XYPair& p, bool withFlag) {
    return (!withFlag || get(p.flag)) && get(p.x) && get(p.y);
  };
  auto vec = [&](Vector3& v) { return get(v.x) && get(v.y) && get(v.z); };
  if (!pair(t.dblxyGeometryBounds, false) || !get(t.templateId) || !vec(t.GeometryAutoCenterPos) ||
      !pair(t.dblxyResolutionBounds, false) || !vec(t.ResolutionAutoCenterPos) || !get(t.sbUnknownFlag) ||
      !pair(t.dblxyRandomScale, true) || !pair(t.dblxyRandomRotate, true) ||
      !pair(t.dblxyRandomOrientation, true) || !get(t.LodNamedSelections))
    return false;
  if (t.LodNamedSelections != 0 &&
      !(in_.readBytes(t.RoadFrame.data(), 48) && in_.readBytes(t.XRoadFrame.data(), 48)))
    return shortage(kRoadFramesBytes);
  std::uint32_t artificial = 0;
  if (!get(artificial) || !checkCount(artificial, 12, "artificial object count")) return false;
  for (std::uint32_t i = 0; i < artificial; ++i) {
    auto* a = new PewArtificialObject();
    t.ArtificialObjects.AddChain(a);
    std::uint32_t points = 0;
    if (!getText(a->strName) || !get(a->lbUnknown) || !get(points) ||
        !checkCount(points, 12, "artificial object point count"))
      return false;
    a->StartEndPos.ar_init(sizeof(Vector3));
    void* storage = a->StartEndPos.AllocArray(points);
    if (!in_.readBytes(storage, std::size_t{points} * 12)) return shortage(std::size_t{points} * 12);
  }
  return get(t.ulMarkerType);
}

bool Decoder::flags() {
  struct Flag {
    std::uint16_t* value;
    const char* block;
    const char* meaning;
  } all[] = {
      {&out_.noTerrains, "no-legacy-terrains flag", "legacy terrains follow"},
      {&out_.noForests, "no-legacy-forests flag", "legacy forests follow"},
      {&out_.noRoadNetworks, "no-road-networks flag", "an old-style road network follows"},
  };
  for (const Flag& f : all) {
    block_ = f.block;
    std::uint64_t at = in_.offset();
    if (!get(*f.value)) return false;
    if (*f.value == 0)
      return fail(status::kUnsupported, at,
                  std::string("flag 0: ") + f.meaning + ", which this tool cannot read");
  }
  return true;
}

bool Decoder::grid() {
  block_ = "elevation grid";
  std::uint64_t at = in_.offset();
  if (!get(out_.columns) || !get(out_.rows)) return false;
  // Two 32-bit sizes make up to 2^64 cells, and 4.25 bytes a cell can pass
  // 2^64: the size is worked out in 128 bits so that no grid wraps round to
  // a small number that fits the file.
  std::uint64_t cells = std::uint64_t{out_.columns} * out_.rows;
  unsigned __int128 wanted = static_cast<unsigned __int128>(cells) * 4 + (cells / 16) * 4 + 4;
  if (wanted > in_.remaining())
    return fail(status::kDamaged, at,
                "a grid of " + std::to_string(out_.columns) + " x " + std::to_string(out_.rows) + " needs " +
                    decimal(wanted) + " bytes, only " + std::to_string(in_.remaining()) + " left");
  std::uint64_t need = static_cast<std::uint64_t>(wanted);
  if (!in_.ensure(static_cast<std::size_t>(need - 4))) return shortage(need);
  out_.heightsInFile = in_.cursor();
  in_.advance(static_cast<std::size_t>(cells * 4));
  out_.extra = in_.cursor();
  out_.extraBytes = static_cast<std::size_t>(cells / 16 * 4);
  in_.advance(out_.extraBytes);
  return get(out_.afterExtra);
}

bool Decoder::objects() {
  block_ = "object slot count";
  std::uint32_t count = 0;
  if (!get(count) || !checkCount(count, kMinSlotBytes, "slot count")) return false;
  PewObjects& list = out_.objects;
  using namespace pew_record;
  // One pass over the records in place: each is checked, and the list gets
  // a handle to it; nothing is copied. In a big project a second thread
  // takes the second half of what follows (see SlotScan): of the slots, not
  // of the file, whose first part the grid may fill.
  unsigned char* base = out_.file.data();
  std::size_t at = static_cast<std::size_t>(in_.offset());
  const std::size_t end = static_cast<std::size_t>(in_.size());
  SlotScan scan(base + at, base + end);
  std::size_t split = scan.start() ? static_cast<std::size_t>(scan.start() - base) : end + 1;
  constexpr std::size_t kAhead = 8192;
  for (std::uint32_t i = 0; i < count;) {
    if (at >= split) {
      split = end + 1;
      i += takeScanned(scan, count - i, at);
      if (i == count) break;
    }
    std::size_t left = end - at;
    unsigned char* p = base + at;
    // Where a record starts follows from the one before, a chain of loads
    // the processor cannot run ahead on: ask for the bytes some 80 records
    // on (20 left a tenth of the open waiting when memory answers slowly).
    if (left > kAhead) __builtin_prefetch(p + kAhead);
    std::size_t size = slot_scan::slotSize(p, left);
    if (size == 0) {
      std::uint32_t nameLength = 0;
      if (left >= kName) std::memcpy(&nameLength, p + kNameLength, sizeof nameLength);
      return badSlot(i, count, at, nameLength);
    }
    list.appendRecord(p);
    if (size > 2) {
      list.noteId(slot_scan::slotObjectId(p));
      out_.templates.countObject(slot_scan::slotTemplateId(p, size), true);
    }
    at += size;
    ++i;
  }
  list.noteRecordsRead(base + in_.offset(), at - static_cast<std::size_t>(in_.offset()));
  in_.advance(at - static_cast<std::size_t>(in_.offset()));
  // The usage counts are complete: a report need not walk the objects again.
  out_.templates.usageCounted(list);
  return true;
}

// When the slot at `at` is one the second thread indexed, takes it and the
// ones behind it, up to `wanted` in all, as the reader's own walk would
// have (from the same slot both walks see the same slots), and moves `at`
// past them. Fewer when the thread stopped early: the reader goes on from
// there and meets the slot that stopped it itself. Returns how many.
std::uint32_t Decoder::takeScanned(SlotScan& scan, std::uint32_t wanted, std::size_t& at) {
  const unsigned char* here = out_.file.data() + at;
  const std::size_t found = scan.finish();
  const std::size_t first = scan.find(here);
  if (first == found) return 0;  // the walks never met
  const std::size_t n = std::min<std::size_t>(found - first, wanted);
  PewObjects& list = out_.objects;
  list.appendRecords(n, [&](std::size_t k) {
    return reinterpret_cast<unsigned char*>(scan[first + k].record & ~SlotScan::kDeleted);
  });
  scan.countTemplates(first, first + n,
                      [&](std::uint32_t id, std::uint32_t count) { out_.templates.countObjects(id, count); });
  if (const std::int64_t highest = scan.highestId(first, first + n); highest != SlotScan::kNoId)
    list.noteId(static_cast<std::int32_t>(highest));
  at = static_cast<std::size_t>(scan.after(first + n - 1) - out_.file.data());
  return static_cast<std::uint32_t>(n);
}

// Reports the first problem of a slot that does not fit or whose name does
// not end in a NUL, with the same words a field-by-field read would use.
bool Decoder::badSlot(std::uint32_t i, std::uint32_t count, std::size_t at, std::uint32_t nameLength) {
  using namespace pew_record;
  in_.advance(at - static_cast<std::size_t>(in_.offset()));
  block_ = "object slot " + std::to_string(i + 1) + " of " + std::to_string(count);
  if (in_.remaining() < 2) return shortage(2);
  if (in_.remaining() < kName) return shortage(kName);
  std::int32_t id;
  std::memcpy(&id, in_.cursor() + kObjectId, sizeof id);
  if (nameLength != 0) {
    in_.advance(kNameLength);
    std::string slot = block_;
    block_ += " (ID " + std::to_string(id) + "), instance name";
    GenString name;
    if (!getText(name)) return false;
    block_ = slot;
  } else {
    in_.advance(kName);
  }
  return shortage(kFixedBytes - kName);
}

bool Decoder::tail() {
  block_ = "editor data";
  out_.tailSize = static_cast<std::size_t>(in_.remaining());
  out_.tail = in_.cursor();
  return true;
}

}  // namespace

bool decodeProject(ProjectContent& out, DecodeFailure& failure) { return Decoder(out, failure).run(); }

std::vector<float>& ProjectContent::heights() {
  if (!heightsCopied_) {
    heights_.resize(std::size_t{columns} * rows);
    if (heightsInFile && !heights_.empty())
      std::memcpy(heights_.data(), heightsInFile, heights_.size() * sizeof(float));
    heightsCopied_ = true;
  }
  return heights_;
}

void ProjectContent::makeEmpty(std::uint32_t c, std::uint32_t r, float spacing) {
  header = PewHeader();
  header.gridSpacing = spacing;
  legacyTextureCount = 0;
  templates.clear();
  noTerrains = noForests = noRoadNetworks = 1;
  columns = c;
  rows = r;
  heightsInFile = nullptr;
  heights_.assign(std::size_t{c} * r, 0.0f);
  heightsCopied_ = true;
  emptyExtra_.assign(std::size_t{c} * r / 16 * sizeof(float), 0);
  extra = emptyExtra_.data();
  extraBytes = emptyExtra_.size();
  afterExtra = 0;
  objects.clear();
  emptyTail_.assign(24, 0);  // six u32 zeros: an editor tail with nothing in it
  tail = emptyTail_.data();
  tailSize = emptyTail_.size();
}
