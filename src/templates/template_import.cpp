#include "template_import.h"

#include <cstdio>
#include <string>
#include <unordered_set>

#include "driver/console.h"
#include "driver/save_project.h"
#include "text/ascii_case.h"
#include "text/utf_convertors.h"

namespace {

// Model file names are the same model when fs_CompareFilenameExtOnly says
// so: the whole name, ASCII case ignored, '/' taken as '\'. Folding each
// name that way once lets the duplicate test use a hash set: one lookup per
// library class instead of a walk over the whole table.
std::string foldedModelName(const char* name) {
  std::string key(name ? name : "");
  for (char& c : key) c = c == '/' ? '\\' : foldAscii(c);
  return key;
}

std::string shown(const std::string& text) { return utfConvertors::convert_if_local_codepage(text.c_str()); }

// The model file names the project holds, as the duplicate test sees them.
std::unordered_set<std::string> heldModelNames(Vorlan& project) {
  std::unordered_set<std::string> held;
  unsigned count = 0;
  PewObjectTemplate* t = project.pew_get_template(&count);
  held.reserve(count);
  for (; t; t = t->next) held.insert(foldedModelName(t->strModelFilename.Get()));
  return held;
}

// Reports a library class that does not fit, naming the file and the class.
void reportClassProblem(const char* fileName, const rap_entry* cls, const std::string& problem) {
  std::string text;
  formatText(text, "error: %s: template class %s: %s\n", fileName, cls->name.Get(), problem.c_str());
  std::fputs(shown(text).c_str(), stderr);
}

}  // namespace

int importTemplates(Vorlan& project, Tovisk& reader, const char* fileName, bool keepExisting) {
  const char* name = fileName ? fileName : "";
  std::string title;
  formatText(title, "Importing Templates from %s", name);
  if (!confirmAction(title.c_str())) return 1;

  // The whole text is read before anything changes.
  int code = reader.rap_Create(name, 0, nullptr, nullptr, 0, nullptr);
  if (code != 0) {
    std::fprintf(stderr, "%s\n", shown(reader.ErrorString(code)).c_str());
    return code;
  }
  for (const std::string& warning : reader.Warnings()) std::fprintf(stderr, "%s\n", shown(warning).c_str());
  if (reader.WarningCount() > reader.Warnings().size()) {
    std::fprintf(stderr, "%s: %zu more warnings\n", shown(name).c_str(), reader.WarningCount() - reader.Warnings().size());
  }
  if (!keepExisting) {
    std::printf("Removing existing templates (if any) and objects(if any)\n");
    project.pew_delete_templates();
  }
  std::printf("adding template objects.......\n");
  int highest = project.pew_get_max_template_id();
  if (highest == -1) {
    std::fputs("No Pew Data available\n", stderr);
    return 1;
  }
  rap_entry* library = reader.rap_get_class("ObjectTemplate");
  if (!library) {
    std::fputs("class ObjectTemplate not defined\n", stderr);
    return 1;
  }

  std::uint32_t nextId = static_cast<std::uint32_t>(highest);
  std::unordered_set<std::string> held = heldModelNames(project);
  int processed = 0, duplicates = 0;
  bool added = false;
  std::string problem;
  for (rap_entry* cls = library->rpe_get_class(nullptr); cls; cls = cls->rpe_get_next_class()) {
    if (cls->IsDeclaredOnly()) continue;  // "class Name;" declares, it is no template
    rap_entry* modelFile = cls->rpe_get_entry("strModelFilename", 1000);
    if (!modelFile) {
      std::fputs("No 'strModelFilename' found in template\n", stderr);
      return 1;
    }
    if (modelFile->IsClass() || modelFile->IsArray()) {
      reportClassProblem(name, cls, "'strModelFilename' must be a single value");
      return 1;
    }
    if (held.count(foldedModelName(modelFile->value.Get()))) {
      std::printf("duplication ignored %s\n", shown(modelFile->value.Get()).c_str());
      ++duplicates;
      ++processed;
      continue;
    }
    PewObjectTemplate* t = project.pew_add_template(static_cast<int>(++nextId));
    for (rap_entry* e : classEntries(cls)) {
      if (fillTemplateEntry(e, t, &problem)) continue;
      // A name that is no key stops the import without a word of its own.
      if (!problem.empty()) reportClassProblem(name, cls, problem);
      return 1;
    }
    held.insert(foldedModelName(t->strModelFilename.Get()));
    added = true;
    ++processed;
  }
  std::printf("Done, %d processed, %d duplicates (ignored)\n", processed, duplicates);
  if (added) return saveProject(nullptr);
  std::fputs("no template has been added, so pew is untouched\n", stderr);
  return 0;
}
