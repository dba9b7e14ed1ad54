// Fuzz target of the world checker, and of the world writer against it.
//
// Any bytes given to the checker get a checker status (sound, not a world,
// damaged) and exactly one message, within a small memory budget; reading
// from memory never runs short, so "cannot read" would be a miscount.
//
// Bytes that open as a project are also made into a world: when the writer
// accepts the project, the checker must accept the file it writes, with the
// same number of objects.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fuzz_support.h"
#include "world/morvik.h"
#include "status.h"
#include "project/vorlan.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::installHeapWatch();
  fuzz::scratchFolder();
  return 0;
}

namespace {

void checkWorldBytes(const unsigned char* bytes, std::size_t size) {
  Morvik world;
  fuzz::messageCount = 0;
  fuzz::beginHeapWatch();
  int s = world.wrp_Open("fuzz.wrp", 0, fuzz::quietSink, bytes, size);
  std::size_t used = fuzz::heapPeakSinceBegin();
  FUZZ_CHECK(used <= fuzz::memoryBudget(size), "%zu bytes of input used %zu bytes of memory", size, used);
  FUZZ_CHECK(s == status::kOk || s == status::kNotWorld || s == status::kDamagedWorld, "status %d", s);
  FUZZ_CHECK(fuzz::messageCount == 1, "%d messages", fuzz::messageCount);
  FUZZ_CHECK(!world.IsBuilt(), "checking built a world");
}

// The project in `bytes`, when it is one, made into a world and checked.
void writeAndCheck(const unsigned char* bytes, std::size_t size) {
  static const std::string file = fuzz::scratchFolder() + "/made.wrp";
  Vorlan project;
  if (project.pew_Open("fuzz.pew", 0, fuzz::quietSink, bytes, size) != status::kOk) return;
  Morvik world;
  fuzz::messageCount = 0;
  int s = world.wrp_CreateFromPew(8, &project, fuzz::quietSink);
  if (s != status::kOk) {
    FUZZ_CHECK(s == status::kWorldUnsupported || s == status::kWorldBadObject, "status %d", s);
    FUZZ_CHECK(!world.IsBuilt(), "a refused project left a world built");
    return;
  }
  FUZZ_CHECK(world.wrp_Create(file.c_str(), 8) == status::kOk, "the world cannot be written");
  Morvik checker;
  s = checker.wrp_Open(file.c_str(), 0, fuzz::keepingSink, nullptr, 0);
  FUZZ_CHECK(s == status::kOk, "the checker refuses a written world with status %d: %s", s,
             fuzz::lastMessage.c_str());

  // Every valid object of the project is in the file, and nothing else.
  std::size_t valid = 0;
  PewObjects& objects = *project.pew_get_objects();
  for (PewObject* o = objects.pewobject_GetFirstValid(); o; o = objects.pewobject_GetNextValid(o)) ++valid;
  FUZZ_CHECK(valid == world.objectCount(), "%zu objects, %zu in the world", valid, world.objectCount());
  std::string count = ", " + std::to_string(valid) + " objects\n";
  const std::string& summary = fuzz::lastMessage;
  FUZZ_CHECK(summary.size() >= count.size() && summary.compare(summary.size() - count.size(), count.size(), count) == 0,
             "the checker's summary \"%s\" does not count %zu objects", summary.c_str(), valid);

  // The same file from memory gives the same answer.
  std::vector<unsigned char> written = fuzz::readFile(file);
  checkWorldBytes(written.data(), written.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const unsigned char none = 0;
  const unsigned char* bytes = size > 0 ? data : &none;
  checkWorldBytes(bytes, size);
  if (size >= 5 && std::memcmp(bytes, "POSEW", 5) == 0) writeAndCheck(bytes, size);
  return 0;
}
