#include "system/zeroed_memory.h"

#include <cstdint>
#include <new>
#include <sys/mman.h>

namespace {

constexpr std::uintptr_t kHugeBytes = std::uintptr_t{2} << 20;

// Whole pages, and at least one: an empty array still has an address.
std::size_t rounded(std::size_t bytes) {
  if (bytes == 0) bytes = 1;
  const std::size_t unit = bytes >= kHugeBytes ? kHugeBytes : 4096;
  return (bytes + unit - 1) / unit * unit;
}

}  // namespace

void* mapAligned(std::size_t bytes) {
  // Map one huge page more than needed and cut the ends so that the block
  // starts at a 2 MB boundary.
  void* p = ::mmap(nullptr, bytes + kHugeBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) return nullptr;
  auto start = reinterpret_cast<std::uintptr_t>(p);
  std::uintptr_t aligned = (start + kHugeBytes - 1) & ~(kHugeBytes - 1);
  if (aligned != start) ::munmap(p, aligned - start);
  std::uintptr_t tail = aligned + bytes;
  if (tail != start + bytes + kHugeBytes) ::munmap(reinterpret_cast<void*>(tail), start + bytes + kHugeBytes - tail);
  return reinterpret_cast<void*>(aligned);
}

void* mapZeroed(std::size_t bytes) {
  const std::size_t size = rounded(bytes);
  if (size < kHugeBytes) {
    void* p = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) throw std::bad_alloc();
    return p;
  }
  void* p = mapAligned(size);
  if (!p) throw std::bad_alloc();
  ::madvise(p, size, MADV_HUGEPAGE);
  return p;
}

void unmapZeroed(void* memory, std::size_t bytes) {
  if (memory) ::munmap(memory, rounded(bytes));
}
