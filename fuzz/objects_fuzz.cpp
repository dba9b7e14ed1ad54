// Fuzz target of the object import's reading step (readObjectRecords): the
// input is the import file, read into a small project opened from memory.
// Whatever the bytes, the reader returns 0 or 1 and leaves the project
// consistent: every object refers to a template the project has, template
// ids stay unique, the templates and objects that were there stay, and the
// project still writes out and reads back.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <set>
#include <vector>

#include "fixture_builder.h"
#include "fuzz_support.h"
#include "objects/object_import.h"
#include "status.h"
#include "text/text_writer.h"
#include "project/vorlan.h"

namespace {

std::vector<unsigned char> projectBytes;
std::uint32_t projectSlots = 0;
unsigned projectTemplates = 0;

// Two templates, one with a name that differs from a likely record name only
// by case, and a few objects, so records can match, miss and add templates.
std::vector<unsigned char> makeProject() {
  ProjectFixture f;
  f.grid(4, 4, 10);
  f.addTemplate(1, "data\\house.p3d", "house");
  f.addTemplate(7, "Tree.p3d", "tree");
  f.addObject(1).at(10, 20, 0).heading(45);
  f.addObject(7).at(5, 5, 1).named("front");
  f.addDeleted(1);
  return f.bytes();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::keepSanitizerReports();
  fuzz::scratchFolder();
  projectBytes = makeProject();
  Vorlan project;
  if (project.pew_Open("fixture.pew", 0, fuzz::sink, projectBytes.data(), projectBytes.size()) != status::kOk)
    fuzz::fail("the fixture project does not open: %s", fuzz::lastMessage.c_str());
  projectSlots = project.pew_get_objects()->slotCount();
  project.pew_get_template(&projectTemplates);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string input = fuzz::scratchFolder() + "/import.txt";
  static const std::string copy = fuzz::scratchFolder() + "/copy.pew";
  fuzz::writeFile(input, std::string_view(reinterpret_cast<const char*>(data), size));

  Vorlan project;
  FUZZ_CHECK(project.pew_Open("fixture.pew", 0, fuzz::sink, projectBytes.data(), projectBytes.size()) ==
                 status::kOk,
             "the fixture project does not open");
  int result;
  {
    fuzz::StdioToNull quiet;
    FILE* file = std::fopen(input.c_str(), "rb");
    FUZZ_CHECK(file != nullptr, "cannot read %s", input.c_str());
    static TextWriter echo(stdout);  // one buffer for the whole run
    result = readObjectRecords(project, file, echo, "import.txt", false);
    echo.flush();
    std::fclose(file);
  }
  FUZZ_CHECK(result == 0 || result == 1, "result %d", result);

  // Template ids are unique and the fixture's templates are still there.
  std::set<std::uint32_t> ids;
  unsigned count = 0;
  for (PewObjectTemplate* t = project.pew_get_template(&count); t; t = t->next) {
    FUZZ_CHECK(ids.insert(t->templateId).second, "template id %u twice", t->templateId);
  }
  FUZZ_CHECK(ids.size() == count, "%zu templates in the list, %u counted", ids.size(), count);
  FUZZ_CHECK(ids.count(1) == 1 && ids.count(7) == 1, "a template of the project went missing");
  FUZZ_CHECK(count >= projectTemplates, "%u templates left of %u", count, projectTemplates);

  // Every valid object refers to one of them; none of the old ones is gone.
  PewObjects& objects = *project.pew_get_objects();
  for (PewObject* o = objects.pewobject_GetFirstValid(); o; o = objects.pewobject_GetNextValid(o)) {
    FUZZ_CHECK(ids.count(o->templateId()) == 1, "an object refers to the missing template %u", o->templateId());
  }
  FUZZ_CHECK(objects.slotCount() >= projectSlots, "%u object slots left of %u", objects.slotCount(), projectSlots);

  // And the project still writes and reads back. Large imports are written
  // only now and then: the write is the slow part and adds nothing new.
  if (objects.slotCount() < 64 || (size > 0 && (data[0] & 0x0F) == 0)) {
    FUZZ_CHECK(project.pew_Create(copy.c_str(), 0) == status::kOk, "the project does not write");
    Vorlan again;
    FUZZ_CHECK(again.pew_Open(copy.c_str(), 0, fuzz::sink, nullptr, 0) == status::kOk,
               "the written project does not open: %s", fuzz::lastMessage.c_str());
    FUZZ_CHECK(again.pew_get_objects()->slotCount() == objects.slotCount(), "object count changed on the way");
  }
  return 0;
}
