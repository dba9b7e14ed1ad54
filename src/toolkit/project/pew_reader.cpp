// Reading a project file. Every count is checked against the bytes left in
// the file before anything is allocated for it, and the first problem is
// reported with the block it was found in and its byte offset.
#include <cinttypes>
#include <cstdio>
#include <memory>

#include "project/pew_codec.h"
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
  Decoder(ByteSource& in, ProjectContent& out, DecodeFailure& failure)
      : in_(in), out_(out), failure_(failure) {}

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
  bool tail();

  ByteSource& in_;
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
  out_.heights.resize(cells);
  out_.extra.resize(cells / 16);
  if (!in_.readBytes(out_.heights.data(), cells * 4) || !in_.readBytes(out_.extra.data(), cells / 16 * 4))
    return shortage(need);
  return get(out_.afterExtra);
}

bool Decoder::objects() {
  block_ = "object slot count";
  std::uint32_t count = 0;
  if (!get(count) || !checkCount(count, kMinSlotBytes, "slot count")) return false;
  PewObjects& list = out_.objects;
  constexpr std::size_t kFixedHead = 2 + 2 + 4 + 48 + 8 + 4;  // up to the name's length
  constexpr std::size_t kFixedTail = 4 + 4 + 4 + 4;
  for (std::uint32_t i = 0; i < count; ++i) {
    auto slotBlock = [&] { block_ = "object slot " + std::to_string(i + 1) + " of " + std::to_string(count); };
    if (!in_.ensure(2)) {
      slotBlock();
      return shortage(2);
    }
    std::uint16_t valid = 0;
    std::memcpy(&valid, in_.cursor(), 2);
    PewObject* o = list.appendRecord();
    if (valid == 0) {
      in_.advance(2);
      o->validFlag = 0;
      o->state = PewObject::kNoTemplate;
      continue;
    }
    if (!in_.ensure(kFixedHead)) {
      slotBlock();
      return shortage(kFixedHead);
    }
    const unsigned char* p = in_.cursor();
    o->validFlag = valid;
    std::memcpy(&o->unknownFlag, p + 2, 2);
    std::memcpy(&o->objectId, p + 4, 4);
    std::memcpy(o->transform.data(), p + 8, 48);
    std::memcpy(&o->unnamedDouble, p + 56, 8);
    std::uint32_t nameLength = 0;
    std::memcpy(&nameLength, p + 64, 4);
    if (nameLength == 0) {
      in_.advance(kFixedHead);
      o->instanceName.SetStoredBare(true);
    } else if (nameLength == 1 && in_.ensure(kFixedHead + 1) && in_.cursor()[kFixedHead] == 0) {
      in_.advance(kFixedHead + 1);  // the usual empty name: a lone NUL
    } else {
      in_.advance(kFixedHead - 4);
      slotBlock();
      block_ += " (ID " + std::to_string(o->objectId) + "), instance name";
      if (!getText(o->instanceName)) return false;
    }
    if (!in_.ensure(kFixedTail)) {
      slotBlock();
      return shortage(kFixedTail);
    }
    p = in_.cursor();
    std::memcpy(&o->relativeHeight, p, 4);
    std::memcpy(&o->unnamedA, p + 4, 4);
    std::memcpy(&o->unnamedB, p + 8, 4);
    std::memcpy(&o->templateId, p + 12, 4);
    in_.advance(kFixedTail);
    list.noteId(o->objectId);
  }
  return true;
}

bool Decoder::tail() {
  block_ = "editor data";
  std::uint64_t n = in_.remaining();
  out_.tail.resize(static_cast<std::size_t>(n));
  if (n > 0 && !in_.readBytes(out_.tail.data(), static_cast<std::size_t>(n))) return shortage(n);
  return true;
}

}  // namespace

bool decodeProject(ByteSource& in, ProjectContent& out, DecodeFailure& failure) {
  return Decoder(in, out, failure).run();
}

void ProjectContent::makeEmpty(std::uint32_t c, std::uint32_t r, float spacing) {
  header = PewHeader();
  header.gridSpacing = spacing;
  legacyTextureCount = 0;
  templates.clear();
  noTerrains = noForests = noRoadNetworks = 1;
  columns = c;
  rows = r;
  heights.assign(std::size_t{c} * r, 0.0f);
  extra.assign(std::size_t{c} * r / 16, 0.0f);
  afterExtra = 0;
  objects.clear();
  tail.assign(24, 0);  // six u32 zeros: an editor tail with nothing in it
}
