#include "object_dots.h"

#include <unordered_map>

Rgb dotColour(const PewObjectTemplate* t) {
  if (!t) return kMissingTemplateDot;
  if (t->ulObjectColour != kDefaultColour) {
    const std::uint32_t c = t->ulObjectColour;  // 0x00BBGGRR
    return {static_cast<std::uint8_t>(c), static_cast<std::uint8_t>(c >> 8), static_cast<std::uint8_t>(c >> 16)};
  }
  switch (t->ulObjectType) {
    case kObjectTypeNatural:
      return kNaturalDot;
    case kObjectTypeRoads:
      return kRoadDot;
    default:
      return kArtificialDot;
  }
}

DotCounts drawObjects(Vorlan& project, Picture& picture) {
  DotCounts counts;
  std::unordered_map<std::uint32_t, Rgb> colours;
  for (PewObjectTemplate* t = project.pew_get_template(nullptr); t; t = t->next)
    colours.emplace(t->templateId, dotColour(t));

  const ElevationGrid& grid = *project.pew_get_elevations();
  const double spacing = project.pew_get_gridsize();
  PewObjects* objects = project.pew_get_objects();
  // Neighbouring objects mostly share a template: remember the last one.
  std::uint32_t lastId = 0;
  Rgb lastColour = kMissingTemplateDot;
  bool haveLast = false;
  std::uint64_t valid = 0;
  for (PewObject* o = objects->pewobject_GetFirstValid(); o; o = objects->pewobject_GetNextValid(o)) {
    ++valid;
    const double column = o->transform().X() / spacing, row = o->transform().Y() / spacing;
    if (!(column >= 0 && column < grid.columns && row >= 0 && row < grid.rows) || picture.rgb.empty()) {
      ++counts.outside;
      continue;
    }
    if (!haveLast || o->templateId() != lastId) {
      auto found = colours.find(o->templateId());
      lastColour = found == colours.end() ? kMissingTemplateDot : found->second;
      lastId = o->templateId();
      haveLast = true;
    }
    const auto x = static_cast<std::uint32_t>(column) / picture.factor;
    const auto y = picture.height - 1 - static_cast<std::uint32_t>(row) / picture.factor;
    picture.set(x, y, lastColour);
    ++counts.drawn;
  }
  counts.deleted = objects->slotCount() - valid;
  return counts;
}
