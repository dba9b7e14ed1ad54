#include "object_maintenance.h"

#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

#include "driver/console.h"
#include "driver/save_project.h"
#include "duplicate_finder.h"
#include "system/zeroed_memory.h"
#include "text/text_writer.h"
#include "text/utf_convertors.h"

int deleteObjects(Vorlan& project) {
  if (!confirmAction("Deleting Objects")) return 1;
  project.pew_delete_objects();
  return saveProject("Objects Deleted\n");
}

namespace {

// The model file name of each template id as the console shows it.
class ShownModels {
 public:
  explicit ShownModels(Vorlan& project) : project_(project) {}
  const std::string& of(std::uint32_t id) {
    auto it = names_.find(id);
    if (it == names_.end()) {
      PewObjectTemplate* t = project_.pew_get_template(static_cast<int>(id));
      // A damaged project may name a template it lacks; say so in its place.
      std::string shown = t ? utfConvertors::convert_if_local_codepage(t->strModelFilename.Get())
                            : "(no template " + std::to_string(id) + ")";
      it = names_.emplace(id, std::move(shown)).first;
    }
    return it->second;
  }

 private:
  Vorlan& project_;
  std::unordered_map<std::uint32_t, std::string> names_;
};

}  // namespace

int listDuplicates(Vorlan& project) {
  std::fputs("listing duplicate objects...\n", stdout);
  PewObjects& objects = *project.pew_get_objects();
  // Millions of handles: memory on huge pages, not grown piece by piece.
  ZeroedArray<const PewObject*> room(objects.slotCount());
  std::size_t count = 0;
  for (PewObject* o = objects.pewobject_GetFirstValid(); o; o = objects.pewobject_GetNextValid(o)) room[count++] = o;
  const std::span<const PewObject* const> valid(&room[0], count);
  const std::vector<TwinPair> twins = findLaterTwins(valid);

  ShownModels models(project);
  int found = 0;
  std::fflush(stdout);
  {
    TextWriter out(stdout);
    for (const TwinPair& pair : twins) {
      const PewObject& a = *valid[pair.first];
      ++found;
      out.put(models.of(a.templateId()));
      out.put(": ID ");
      out.putInt(a.objectId());
      out.put(" and ");
      out.putInt(valid[pair.twin]->objectId());
      out.put(" @ location ");
      out.putFixed(a.transform().X(), 2);
      out.put('x');
      out.putFixed(a.transform().Y(), 2);
      out.put('\n');
    }
  }
  if (found != 0) std::printf("at least %d duplicates found\n", found);
  else std::fputs("no duplicates found\n", stdout);
  return 0;
}

int removeDuplicates(Vorlan& project) {
  std::fputs("removing duplicate objects...\n", stdout);
  if (!confirmAction(nullptr)) return 1;
  // A later object B duplicates A when it has A's template id, A's very
  // position storage (the position members themselves, not equal values)
  // and A's orientation (Matrix4::mtx4_GetOrientation). Every object keeps
  // its position in its own record, so no object behind A shares it, and
  // the pairwise walk, which would cost the square of the object count,
  // can only end without a duplicate: nothing is removed. The project is
  // saved all the same.
  (void)project;
  return saveProject("no duplicates found\n");
}

int reduceObjects(Vorlan& project) {
  if (!confirmAction("Reducing objects...")) return 1;
  PewObjects& objects = *project.pew_get_objects();
  int count = 0;
  for (PewObject* o = objects.pewobject_GetFirstInvalid(); o;) {
    ++count;
    PewObject* position = objects.pewobjects_DeleteObject(o);
    std::fputc('.', stdout);
    o = objects.pewobject_GetInvalid(position);
  }
  if (count == 0) {
    std::fputs("\nthere were no deleted objects to remove\n", stdout);
    return 0;
  }
  std::string message;
  formatText(message, "\n%d unusable Object entries Removed\n", count);
  return saveProject(message.c_str());
}

int addOffsets(Vorlan& project, float east, float north, float height) {
  if (!confirmAction("Adding offsets")) return 1;
  PewObjects& objects = *project.pew_get_objects();
  for (PewObject* o = objects.pewobject_GetFirstValid(); o; o = objects.pewobject_GetNextValid(o)) {
    Matrix4 t = o->transform();
    t.mtx4_SetPosition(t.X() + east, t.Height() + height, t.Y() + north);
    o->setTransform(t);
  }
  return saveProject("Offsets added to all Objects\n");
}
