#include "template_reduction.h"

#include <cstdio>
#include <string>

#include "driver/console.h"
#include "driver/save_project.h"

int reduceTemplates(Vorlan& project) {
  if (!confirmAction("Reducing templates")) return 1;
  int removed = 0;
  // Whether a template is used is answered from per-id counts that the store
  // builds in one pass over the objects, and a removal is O(1): the walk
  // stays linear in templates plus objects.
  for (PewObjectTemplate* t = project.pew_get_template(static_cast<unsigned*>(nullptr)); t;) {
    PewObjectTemplate* next = t->next;  // t may be freed below
    if (!project.pew_template_used_in_objects(t)) {
      if (!project.pew_delete_template(t)) {
        // What was removed so far stays removed in memory but is not saved.
        std::fputs("Cannot delete chain\n", stderr);
        return 1;
      }
      ++removed;
    }
    t = next;
  }
  if (removed == 0) {
    std::printf("There were no unused templates to remove\n");
    return 0;
  }
  std::string message;
  formatText(message, "%d templates removed\n", removed);
  return saveProject(message.c_str());
}

int deleteTemplates(Vorlan& project) {
  if (!confirmAction("Deleting Templates")) return 1;
  project.pew_delete_templates();
  return saveProject("Templates AND Objects Deleted\n");
}

int reduceObjectsAndTemplates(Vorlan& project, const std::function<int()>& reduceObjects) {
  if (reduceObjects() != 0) return 1;
  return reduceTemplates(project);
}
