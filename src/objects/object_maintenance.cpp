#include "object_maintenance.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

#include "driver/console.h"
#include "driver/save_project.h"
#include "duplicate_finder.h"
#include "objects/two_threads.h"
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
  const PewObjects& objects = *project.pew_get_objects();
  const std::vector<TwinPair> twins = findLaterTwins(objects);

  // The pairs lie far apart in the project and each record is likely a miss
  // in every cache. Fetched in a loop that does nothing else, many misses are
  // under way at once; fetched between the formatting of lines, one at a time
  // (seven times slower on the benchmark project). The lines go a block at
  // a time: while one block is written, a second thread fetches the next.
  struct Line {
    std::uint32_t templateId;
    std::int32_t id, twinId;
    double x, y;
  };
  constexpr std::size_t kBlockLines = std::size_t{1} << 14;
  std::vector<Line> blocks[2];
  auto fetch = [&](std::size_t block, std::vector<Line>& lines) {
    const std::size_t from = block * kBlockLines, to = std::min(twins.size(), from + kBlockLines);
    lines.resize(to - from);
    for (std::size_t k = from; k < to; ++k) {
      const PewObject& a = objects.atPosition(twins[k].first);
      const Matrix4 at = a.transform();
      lines[k - from] = {a.templateId(), a.objectId(), objects.atPosition(twins[k].twin).objectId(), at.X(), at.Y()};
    }
  };

  ShownModels models(project);
  std::fflush(stdout);
  {
    TextWriter out(stdout);
    auto write = [&](const std::vector<Line>& lines) {
      for (const Line& line : lines) {
        out.put(models.of(line.templateId));
        out.put(": ID ");
        out.putInt(line.id);
        out.put(" and ");
        out.putInt(line.twinId);
        out.put(" @ location ");
        out.putFixed(line.x, 2);
        out.put('x');
        out.putFixed(line.y, 2);
        out.put('\n');
      }
    };
    const std::size_t blockCount = (twins.size() + kBlockLines - 1) / kBlockLines;
    if (blockCount > 0) fetch(0, blocks[0]);
    for (std::size_t b = 0; b < blockCount; ++b) {
      const bool more = b + 1 < blockCount;
      runBoth(more, [&](int part) {
        if (part == 0) write(blocks[b % 2]);
        else if (more) fetch(b + 1, blocks[(b + 1) % 2]);
      });
    }
  }
  const int found = static_cast<int>(twins.size());
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
