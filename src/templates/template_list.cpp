// The template listing: one line per template, in table order.
#include <cstdio>

#include "statistics.h"

namespace {

const char* objectTypeName(std::uint32_t type) {
  switch (type) {
    case kObjectTypeNatural: return "Natural";
    case kObjectTypeArtificial: return "Artificial";
    default: return "unknown";  // roads included: the road flag marks those
  }
}

const char* markerName(std::uint32_t marker) {
  switch (marker) {
    case kMarkerRectangle: return "rectangle";
    case kMarkerEllipse: return "ellipse";
    default: return "unknown";
  }
}

}  // namespace

int listTemplates(Vorlan& project, int separator) {
  const char sep = static_cast<char>(separator);
  int total = 0, used = 0;
  std::fputs("//***************Templates*************\n", stdout);
  for (PewObjectTemplate* t = project.pew_get_template(nullptr); t; t = t->next) {
    if (project.pew_template_used_in_objects(t)) {
      ++used;
      std::fputc('*', stdout);
    }
    std::printf("%s%c%s%c%s%c%s", t->strModelFilename.Get(), sep, t->strModelName.Get(), sep,
                objectTypeName(t->ulObjectType), sep, markerName(t->ulMarkerType));
    if (t->LodNamedSelections != 0) std::printf("%cROAD", sep);
    std::fputc('\n', stdout);
    ++total;
  }
  std::fputs("* = used\n", stdout);
  std::printf("total templates= %d. Total used =%d\n", total, used);
  return 0;
}
