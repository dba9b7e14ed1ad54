#include "statistics.h"

#include <string>
#include <unordered_map>

#include "text/ascii_case.h"

StatisticsCounters statistics;

namespace {

// Model file names compare as GenString::Compare(..., false) does: ASCII
// letters without regard to case.
std::string foldedName(const GenString& name) {
  return foldedAscii(name.View());
}

// The store counts the valid objects, and those whose template is missing,
// per template id as it reads the project: no walk over millions of objects.
void countObjects(Vorlan& project) {
  statistics.objectSlots = project.pew_get_objects()->slotCount();
  std::uint32_t missing = 0;
  statistics.usedObjects = project.pew_count_valid_objects(&missing);
  statistics.missing = missing;
}

// Every template T is reported once for each later template that holds the
// same model file name, in table order: k holders of one name give
// k(k-1)/2 lines. Counting the holders of each name first keeps this linear
// in the number of templates plus the lines printed.
void countTemplates(Vorlan& project, MessageSink sink) {
  unsigned count = 0;
  PewObjectTemplate* first = project.pew_get_template(&count);
  statistics.templates = count;
  std::unordered_map<std::string, std::uint32_t> holders;
  for (PewObjectTemplate* t = first; t; t = t->next) ++holders[foldedName(t->strModelFilename)];
  std::unordered_map<std::string, std::uint32_t> seen;
  for (PewObjectTemplate* t = first; t; t = t->next) {
    if (project.pew_template_used_in_objects(t)) ++statistics.usedTemplates;
    std::string key = foldedName(t->strModelFilename);
    std::uint32_t total = holders[key];
    if (total < 2) continue;
    std::uint32_t later = total - ++seen[key];
    for (std::uint32_t i = 0; i < later; ++i) {
      sink("Duplicated Template: %s\r\n", t->strModelFilename.Get());
      ++statistics.duplicated;
    }
  }
}

}  // namespace

int showStatistics(Vorlan& project, MessageSink sink) {
  statistics = StatisticsCounters();
  sink("\r\n=========stats================\r\n");
  project.pew_show_header();
  project.pew_show_tail();
  sink("Calculating used items....\r\n");
  countObjects(project);
  countTemplates(project, sink);
  sink("There are %u objects in the pew.\r\n", statistics.objectSlots);
  if (statistics.objectSlots != 0) sink("%d of them are actually used.\r\n", static_cast<int>(statistics.usedObjects));
  if (statistics.missing != 0) sink(" There are %d 'missing' templates\r\n", static_cast<int>(statistics.missing));
  // Single precision on purpose: 13 slots for 10 objects give 1.2999999523,
  // which stays below the threshold.
  float ratio = static_cast<float>(statistics.objectSlots) / static_cast<float>(statistics.usedObjects);
  if (static_cast<double>(ratio) > 1.3) sink("\tThis pew would benefit from -Reduction\r\n");
  sink("There are %u Templates. %u are used\r\n", statistics.templates, statistics.usedTemplates);
  sink("There are %d duplicated templates\r\n", static_cast<int>(statistics.duplicated));
  sink("===========================\r\n");
  return 0;
}
