#include "fuzz_support.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <fcntl.h>
#include <sanitizer/allocator_interface.h>
#include <sanitizer/common_interface_defs.h>
#include <unistd.h>

namespace fuzz {

int messageCount = 0;
std::string lastMessage;

bool sink(const char* format, ...) {
  ++messageCount;
  char text[4096];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  lastMessage = text;
  return true;
}

namespace {

std::string folder;

void removeFolder() {
  std::error_code ec;
  if (!folder.empty()) std::filesystem::remove_all(folder, ec);
}

// Bytes in use and the highest value seen since the last begin. The hooks
// run inside every allocation, so they only add and compare.
std::atomic<std::int64_t> inUse{0};
std::atomic<std::int64_t> base{0};
std::atomic<std::int64_t> peak{0};

void onMalloc(const volatile void*, std::size_t size) {
  std::int64_t now = inUse.fetch_add(static_cast<std::int64_t>(size)) + static_cast<std::int64_t>(size);
  if (now > peak.load(std::memory_order_relaxed)) peak.store(now, std::memory_order_relaxed);
}

void onFree(const volatile void* pointer) {
  // Called before the block is released, while its size is still known.
  inUse.fetch_sub(static_cast<std::int64_t>(__sanitizer_get_allocated_size(const_cast<const void*>(pointer))));
}

}  // namespace

const std::string& scratchFolder() {
  if (folder.empty()) {
    std::error_code ec;
    std::string parent = std::filesystem::is_directory("/dev/shm", ec) ? "/dev/shm" : "/tmp";
    folder = parent + "/vorlan-fuzz-" + std::to_string(::getpid());
    std::filesystem::create_directories(folder);
    std::atexit(removeFolder);
  }
  return folder;
}

std::vector<unsigned char> readFile(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const std::string& name, std::string_view bytes) {
  std::ofstream out(name, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void installHeapWatch() {
  static bool installed = false;
  if (!installed) installed = __sanitizer_install_malloc_and_free_hooks(onMalloc, onFree) != 0;
}

void beginHeapWatch() {
  base = inUse.load();
  peak = base.load();
}

std::size_t heapPeakSinceBegin() {
  std::int64_t above = peak.load() - base.load();
  return above > 0 ? static_cast<std::size_t>(above) : 0;
}

namespace {
int realStderr = STDERR_FILENO;
int nullFd = -1;
}  // namespace

void keepSanitizerReports() {
  if (realStderr == STDERR_FILENO) {
    int copy = ::dup(STDERR_FILENO);
    if (copy >= 0) {
      realStderr = copy;
      __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(copy)));
    }
  }
}

StdioToNull::StdioToNull() {
  if (nullFd < 0) nullFd = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  std::fflush(stdout);
  std::fflush(stderr);
  savedOut_ = ::dup(STDOUT_FILENO);
  savedErr_ = ::dup(STDERR_FILENO);
  ::dup2(nullFd, STDOUT_FILENO);
  ::dup2(nullFd, STDERR_FILENO);
}

StdioToNull::~StdioToNull() {
  std::fflush(stdout);
  std::fflush(stderr);
  ::dup2(savedOut_, STDOUT_FILENO);
  ::dup2(savedErr_, STDERR_FILENO);
  ::close(savedOut_);
  ::close(savedErr_);
}

void fail(const char* format, ...) {
  va_list args;
  va_start(args, format);
  char text[4096];
  int n = std::vsnprintf(text, sizeof text - 1, format, args);
  va_end(args);
  std::size_t length = n < 0 ? 0 : std::min(static_cast<std::size_t>(n), sizeof text - 2);
  text[length++] = '\n';
  // Straight to the saved descriptor: standard error may be /dev/null now.
  (void)!::write(realStderr, text, length);
  std::abort();
}

}  // namespace fuzz
