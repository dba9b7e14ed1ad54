// Shared by the fuzz targets: a quiet message sink that counts its calls, a
// scratch folder of this process, and a watch on the heap that tells how much
// one input made the code under test allocate at its peak.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

// Message sink for the toolkit: counts the calls and keeps the last text.
extern int messageCount;
extern std::string lastMessage;
bool sink(const char* format, ...);

// A folder of this process under /dev/shm (or /tmp), made on the first call
// and removed with its content at exit.
const std::string& scratchFolder();

std::vector<unsigned char> readFile(const std::string& name);
void writeFile(const std::string& name, std::string_view bytes);

// Heap watch: begin() takes the bytes in use now as the base; peakSince()
// is the highest number of bytes in use above that base since then. Works
// under AddressSanitizer, through its allocation hooks.
void installHeapWatch();
void beginHeapWatch();
std::size_t heapPeakSinceBegin();

// Stops the run with a message that libFuzzer reports as a crash, keeping
// the input that caused it.
[[noreturn]] void fail(const char* format, ...);

// Standard output and standard error go to /dev/null while one of these
// lives, for readers that report every line: a run of millions of inputs
// would otherwise write without bound. Sanitizer reports keep going to the
// real standard error (see keepSanitizerReports).
class StdioToNull {
 public:
  StdioToNull();
  ~StdioToNull();
  StdioToNull(const StdioToNull&) = delete;
  StdioToNull& operator=(const StdioToNull&) = delete;

 private:
  int savedOut_, savedErr_;
};
// Sends sanitizer reports to a copy of standard error taken now, so they are
// seen while StdioToNull is in effect. Call once from LLVMFuzzerInitialize.
void keepSanitizerReports();

// The memory a reader may use for an input of `size` bytes.
inline std::size_t memoryBudget(std::size_t size) { return 64 * size + (std::size_t{8} << 20); }

}  // namespace fuzz

#define FUZZ_CHECK(condition, ...)                                            \
  do {                                                                        \
    if (!(condition)) ::fuzz::fail("check failed: " #condition ": " __VA_ARGS__); \
  } while (0)
