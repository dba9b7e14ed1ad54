// Fuzz target of the project codec. Any bytes either fail to open with a
// reader status and exactly one message, leaving no project loaded, or open;
// a project that opens writes back byte-identical to the input. Either way
// the reader may not use much more memory than the input's size.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fuzz_support.h"
#include "status.h"
#include "project/vorlan.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::installHeapWatch();
  fuzz::scratchFolder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const unsigned char none = 0;
  static const std::string copy = fuzz::scratchFolder() + "/copy.pew";
  const unsigned char* bytes = size > 0 ? data : &none;

  Vorlan project;
  fuzz::messageCount = 0;
  fuzz::beginHeapWatch();
  int s = project.pew_Open("fuzz.pew", 0, fuzz::quietSink, bytes, size);
  std::size_t used = fuzz::heapPeakSinceBegin();
  FUZZ_CHECK(used <= fuzz::memoryBudget(size), "%zu bytes of input used %zu bytes of memory", size, used);

  if (s != status::kOk) {
    FUZZ_CHECK(s == status::kNotProject || s == status::kUnsupported || s == status::kDamaged,
               "status %d", s);
    FUZZ_CHECK(fuzz::messageCount == 1, "%d messages", fuzz::messageCount);
    FUZZ_CHECK(!project.IsLoaded(), "a failed open left a project loaded");
    return 0;
  }
  FUZZ_CHECK(fuzz::messageCount == 0, "%d messages for a sound project", fuzz::messageCount);
  FUZZ_CHECK(project.IsLoaded(), "no project after a successful open");

  // The views the program works with agree with the file.
  ElevationGrid* grid = project.pew_get_elevations();
  FUZZ_CHECK(std::uint64_t{grid->columns} * grid->rows * 4 <= size, "grid larger than the file");
  unsigned templates = 0;
  for (PewObjectTemplate* t = project.pew_get_template(&templates); t; t = t->next) {
    FUZZ_CHECK(project.pew_get_template(static_cast<int>(t->templateId)) != nullptr, "template %u not found",
               t->templateId);
  }

  // Unchanged, it writes back byte for byte.
  FUZZ_CHECK(project.pew_Create(copy.c_str(), 0) == status::kOk, "write-back failed");
  std::vector<unsigned char> written = fuzz::readFile(copy);
  FUZZ_CHECK(written.size() == size, "wrote %zu bytes of %zu", written.size(), size);
  FUZZ_CHECK(size == 0 || std::memcmp(written.data(), bytes, size) == 0, "the written project differs from the input");

  // And what it wrote reads back the same way.
  Vorlan again;
  FUZZ_CHECK(again.pew_Open(copy.c_str(), 0, fuzz::quietSink, nullptr, 0) == status::kOk,
             "the written project does not open from its file");
  return 0;
}
