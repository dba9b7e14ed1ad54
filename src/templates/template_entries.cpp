// How one entry of a template class fills its template (fillTemplateEntry),
// with the two nested classes: the road frames and the artificial objects.
#include <algorithm>
#include <cstdio>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "driver/console.h"
#include "text/number_text.h"
#include "text/utf_convertors.h"
#include "template_import.h"

namespace {

// A frame of a road's named selections, made as the identity before its
// values are read. They are kept for the whole run, as the editor keeps its
// own, and the template receives copies of their values.
struct RoadTransform : Chain {
  float values[12] = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};
};

Chains& roadTransforms() {
  static Chains transforms;
  return transforms;
}

constexpr int kMaxBaseDepth = 256;

// A numeric key's value that is no number (a word, a quoted text) is read
// as 0 or as far as it goes, as the editor does; the maker is told where.
void warnIfNoNumber(const rap_entry* e, const char* key, double readAs) {
  const char* text = e->value.Get();
  const char* end = text;
  parseDouble(text, &end);
  while (*end == ' ' || *end == '\t') ++end;
  if (end != text && *end == '\0') return;
  std::string message;
  formatText(message, "%s: warning: '%s' in %s is not a number: read as %.9g\n", e->rpe_where().c_str(), text, key,
             readAs);
  std::fputs(utfConvertors::convert_if_local_codepage(message.c_str()).c_str(), stderr);
}

float readFloat(const rap_entry* element, const char* key) {
  auto value = static_cast<float>(parseDouble(element->value.Get(), nullptr));
  warnIfNoNumber(element, key, value);
  return value;
}

int readInt(const rap_entry* e, const char* key) {
  int value = e->value.str_atoi();
  warnIfNoNumber(e, key, value);
  return value;
}

// Numbers of the pairs are read as doubles and keep only float precision.
double readNarrowed(const rap_entry* element, const char* key) { return static_cast<double>(readFloat(element, key)); }

bool isSingleValue(const rap_entry* e) { return !e->IsClass() && !e->IsArray(); }

// The first `needed` elements of an array entry, or false with the problem
// told when it is no array or holds fewer.
bool takeElements(rap_entry* entry, int needed, const rap_entry** out, std::string* problem) {
  if (!entry->IsArray()) {
    formatText(*problem, "'%s' must be an array of %d values", entry->name.Get(), needed);
    return false;
  }
  if (entry->get_count() < needed) {
    formatText(*problem, "'%s' holds %d values where %d are needed", entry->name.Get(), entry->get_count(), needed);
    return false;
  }
  const rap_entry* e = entry->rpe_get_entry(nullptr, 1000);
  for (int i = 0; i < needed; ++i, e = e->rpe_get_next()) out[i] = e;
  return true;
}

bool fillVector(rap_entry* entry, Vector3& v, std::string* problem) {
  const rap_entry* e[3];
  if (!takeElements(entry, 3, e, problem)) return false;
  const char* key = entry->name.Get();
  v.x = readFloat(e[0], key);
  v.y = readFloat(e[1], key);
  v.z = readFloat(e[2], key);
  return true;
}

// The bounds: x and y; the pair's flag stays as it is.
bool fillBounds(rap_entry* entry, XYPair& pair, std::string* problem) {
  const rap_entry* e[2];
  if (!takeElements(entry, 2, e, problem)) return false;
  pair.x = readNarrowed(e[0], entry->name.Get());
  pair.y = readNarrowed(e[1], entry->name.Get());
  return true;
}

// The random spreads: x, y and the 16-bit flag.
bool fillSpread(rap_entry* entry, XYPair& pair, std::string* problem) {
  const rap_entry* e[3];
  if (!takeElements(entry, 3, e, problem)) return false;
  const char* key = entry->name.Get();
  pair.x = readNarrowed(e[0], key);
  pair.y = readNarrowed(e[1], key);
  pair.flag = static_cast<std::uint16_t>(readInt(e[2], key));
  return true;
}

// Up to 12 values of an array into a frame, from its first value on; a
// shorter array leaves the rest of the identity in place.
void fillFrame(const rap_entry* array, Matrix4& frame) {
  float* values = frame.data();
  int i = 0;
  for (rap_entry* e = const_cast<rap_entry*>(array)->rpe_get_entry(nullptr, 1000); e && i < 12;
       e = e->rpe_get_next())
    values[i++] = readFloat(e, array->name.IsEmpty() ? "LodNamedSelections" : array->name.Get());
}

bool fillRoadFrames(rap_entry* entry, PewObjectTemplate& t, std::string* problem) {
  if (!entry->IsClass()) {
    formatText(*problem, "'%s' must be a class", entry->name.Get());
    return false;
  }
  t.LodNamedSelections = 1;
  Matrix4* frames[2] = {&t.RoadFrame, &t.XRoadFrame};
  for (Matrix4* frame : frames) {
    auto* transform = new RoadTransform();
    roadTransforms().AddChain(transform);
    std::copy(transform->values, transform->values + 12, frame->data());
  }
  // The two selections are taken by position: " Road" first, then "XRoad".
  std::vector<rap_entry*> selections = classEntries(entry);
  for (std::size_t i = 0; i < selections.size() && i < 2; ++i) fillFrame(selections[i], *frames[i]);
  return true;
}

bool fillArtificialObject(rap_entry* cls, PewObjectTemplate& t, std::string* problem) {
  auto* a = new PewArtificialObject();
  a->StartEndPos.ar_init(12);
  t.ArtificialObjects.AddChain(a);
  for (rap_entry* e : classEntries(cls)) {
    bool isName = e->name.Compare("strName", false);
    if ((isName || e->name.Compare("lbUnknown", false)) && !isSingleValue(e)) {
      formatText(*problem, "'%s' of artificial object %s must be a single value", e->name.Get(), cls->name.Get());
      return false;
    }
    if (isName) {
      a->strName.str_dup(e->value.Get(), false);
    } else if (e->name.Compare("lbUnknown", false)) {
      a->lbUnknown = static_cast<std::uint32_t>(readInt(e, "lbUnknown"));
    } else if (e->name.Compare("StartEndPos", false)) {
      if (!e->IsArray()) {
        formatText(*problem, "'StartEndPos' of artificial object %s must be an array", cls->name.Get());
        return false;
      }
      // Whole points only: three values each.
      std::uint32_t points = static_cast<std::uint32_t>(e->get_count()) / 3;
      auto* values = static_cast<float*>(a->StartEndPos.AllocArray(points));
      const rap_entry* element = e->rpe_get_entry(nullptr, 1000);
      for (std::uint32_t i = 0; i < points * 3 && element; ++i, element = element->rpe_get_next())
        values[i] = readFloat(element, "StartEndPos");
    }
    // Other entries mean nothing here and are passed over.
  }
  return true;
}

bool fillArtificialObjects(rap_entry* entry, PewObjectTemplate& t, std::string* problem) {
  if (!entry->IsClass()) {
    formatText(*problem, "'%s' must be a class", entry->name.Get());
    return false;
  }
  for (rap_entry* e : classEntries(entry)) {
    if (e->IsClass() && !fillArtificialObject(e, t, problem)) return false;
  }
  return true;
}

enum class Key {
  ObjectType,
  MarkerType,
  UnknownFlag,
  OutlineColour,
  ObjectColour,
  ModelFilename,
  ModelName,
  ResolutionCentre,
  GeometryCentre,
  GeometryBounds,
  ResolutionBounds,
  RandomScale,
  RandomRotate,
  RandomOrientation,
  RoadFrames,
  ArtificialObjects,
  None,
};

// The keys in the order they are tried.
constexpr struct {
  const char* name;
  Key key;
} kKeys[] = {
    {"ulObjectType", Key::ObjectType},
    {"ulMarkerType", Key::MarkerType},
    {"sbUnknownFlag", Key::UnknownFlag},
    {"ulOutlineColour", Key::OutlineColour},
    {"ulObjectColour", Key::ObjectColour},
    {"strModelFilename", Key::ModelFilename},
    {"strModelName", Key::ModelName},
    {"ResolutionAutoCenterPos", Key::ResolutionCentre},
    {"GeometryAutoCenterPos", Key::GeometryCentre},
    {"dblxyGeometryBounds", Key::GeometryBounds},
    {"dblxyResolutionBounds", Key::ResolutionBounds},
    {"dblxyRandomScale", Key::RandomScale},
    {"dblxyRandomRotate", Key::RandomRotate},
    {"dblxyRandomOrientation", Key::RandomOrientation},
    {"LodNamedSelections", Key::RoadFrames},
    {"ArtificialObjects", Key::ArtificialObjects},
};

Key keyOf(const rap_entry* entry) {
  for (const auto& k : kKeys)
    if (entry->name.Compare(k.name, false)) return k.key;
  return Key::None;
}

}  // namespace

bool fillTemplateEntry(rap_entry* entry, PewObjectTemplate* t, std::string* problem) {
  problem->clear();
  Key key = keyOf(entry);
  if (key == Key::None) return false;
  if (key <= Key::ModelName && !isSingleValue(entry)) {
    formatText(*problem, "'%s' must be a single value", entry->name.Get());
    return false;
  }
  auto integer = [&] { return static_cast<std::uint32_t>(readInt(entry, entry->name.Get())); };
  switch (key) {
    case Key::ObjectType: t->ulObjectType = integer(); return true;
    case Key::MarkerType: t->ulMarkerType = integer(); return true;
    case Key::UnknownFlag: t->sbUnknownFlag = static_cast<std::uint16_t>(integer()); return true;
    case Key::OutlineColour: t->ulOutlineColour = integer(); return true;
    case Key::ObjectColour: t->ulObjectColour = integer(); return true;
    case Key::ModelFilename: t->strModelFilename.str_dup(entry->value.Get(), false); return true;
    case Key::ModelName: t->strModelName.str_dup(entry->value.Get(), false); return true;
    case Key::ResolutionCentre: return fillVector(entry, t->ResolutionAutoCenterPos, problem);
    case Key::GeometryCentre: return fillVector(entry, t->GeometryAutoCenterPos, problem);
    case Key::GeometryBounds: return fillBounds(entry, t->dblxyGeometryBounds, problem);
    case Key::ResolutionBounds: return fillBounds(entry, t->dblxyResolutionBounds, problem);
    case Key::RandomScale: return fillSpread(entry, t->dblxyRandomScale, problem);
    case Key::RandomRotate: return fillSpread(entry, t->dblxyRandomRotate, problem);
    case Key::RandomOrientation: return fillSpread(entry, t->dblxyRandomOrientation, problem);
    case Key::RoadFrames: return fillRoadFrames(entry, *t, problem);
    case Key::ArtificialObjects: return fillArtificialObjects(entry, *t, problem);
    case Key::None: break;
  }
  return false;
}

std::vector<rap_entry*> classEntries(rap_entry* cls) {
  std::vector<rap_entry*> entries;
  if (!cls) return entries;
  if (!cls->rpe_get_base()) {
    for (rap_entry* e = cls->rpe_get_entry(nullptr, 1000); e; e = e->rpe_get_next()) entries.push_back(e);
    return entries;
  }
  // From the class itself down its base chain, each level keeps the entries
  // that no class nearer to `cls` has already given; then the levels are
  // laid out deepest base first.
  // A class that deletes an inherited name ("delete Name;") hides it from
  // the levels below.
  std::vector<std::vector<rap_entry*>> levels;
  std::vector<const rap_entry*> nearer;
  std::unordered_set<std::string> given;
  auto hidden = [&](const rap_entry* e) {
    if (given.count(FoldConfigName(e->name.View()))) return true;
    for (const rap_entry* c : nearer)
      if (c->rpe_deletes(e->name.View())) return true;
    return false;
  };
  for (int depth = 0; cls && depth < kMaxBaseDepth; ++depth, cls = cls->rpe_get_base()) {
    std::vector<rap_entry*> level;
    for (rap_entry* e = cls->rpe_get_entry(nullptr, 1000); e; e = e->rpe_get_next())
      if (!hidden(e)) level.push_back(e);
    for (rap_entry* e : level) given.insert(FoldConfigName(e->name.View()));
    levels.push_back(std::move(level));
    nearer.push_back(cls);
  }
  for (auto level = levels.rbegin(); level != levels.rend(); ++level)
    entries.insert(entries.end(), level->begin(), level->end());
  return entries;
}
