// How one entry of a template class fills its template (fillTemplateEntry),
// with the two nested classes: the road frames and the artificial objects.
#include <algorithm>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "driver/console.h"
#include "text/number_text.h"
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

float readFloat(const rap_entry* element) { return static_cast<float>(parseDouble(element->value.Get(), nullptr)); }

// Numbers of the pairs are read as doubles and keep only float precision.
double readNarrowed(const rap_entry* element) { return static_cast<double>(readFloat(element)); }

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
  v.x = readFloat(e[0]);
  v.y = readFloat(e[1]);
  v.z = readFloat(e[2]);
  return true;
}

// The bounds: x and y; the pair's flag stays as it is.
bool fillBounds(rap_entry* entry, XYPair& pair, std::string* problem) {
  const rap_entry* e[2];
  if (!takeElements(entry, 2, e, problem)) return false;
  pair.x = readNarrowed(e[0]);
  pair.y = readNarrowed(e[1]);
  return true;
}

// The random spreads: x, y and the 16-bit flag.
bool fillSpread(rap_entry* entry, XYPair& pair, std::string* problem) {
  const rap_entry* e[3];
  if (!takeElements(entry, 3, e, problem)) return false;
  pair.x = readNarrowed(e[0]);
  pair.y = readNarrowed(e[1]);
  pair.flag = static_cast<std::uint16_t>(e[2]->value.str_atoi());
  return true;
}

// Up to 12 values of an array into a frame, from its first value on; a
// shorter array leaves the rest of the identity in place.
void fillFrame(const rap_entry* array, Matrix4& frame) {
  float* values = frame.data();
  int i = 0;
  for (rap_entry* e = const_cast<rap_entry*>(array)->rpe_get_entry(nullptr, 1000); e && i < 12;
       e = e->rpe_get_next())
    values[i++] = readFloat(e);
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
      a->lbUnknown = static_cast<std::uint32_t>(e->value.str_atoi());
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
        values[i] = readFloat(element);
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
  auto integer = [&] { return static_cast<std::uint32_t>(entry->value.str_atoi()); };
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
  std::vector<std::vector<rap_entry*>> levels;
  std::unordered_set<std::string> given;
  for (int depth = 0; cls && depth < kMaxBaseDepth; ++depth, cls = cls->rpe_get_base()) {
    std::vector<rap_entry*> level;
    for (rap_entry* e = cls->rpe_get_entry(nullptr, 1000); e; e = e->rpe_get_next())
      if (!given.count(FoldConfigName(e->name.View()))) level.push_back(e);
    for (rap_entry* e : level) given.insert(FoldConfigName(e->name.View()));
    levels.push_back(std::move(level));
  }
  for (auto level = levels.rbegin(); level != levels.rend(); ++level)
    entries.insert(entries.end(), level->begin(), level->end());
  return entries;
}
