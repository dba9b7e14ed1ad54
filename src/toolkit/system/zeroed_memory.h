// Zeroed memory straight from the system, for large tables: a block of 2 MB
// or more is aligned to 2 MB and asks for huge pages, so that a table of
// millions of entries read in random order costs few address translations.
// Untouched parts take no memory.
#pragma once

#include <cstddef>

// Zeroed memory of `bytes` (a multiple of the page size) that starts at a
// 2 MB boundary, without asking for huge pages; null with errno set when
// there is none.
void* mapAligned(std::size_t bytes);
// Returns `bytes` of zeroed memory; throws std::bad_alloc when there is none.
void* mapZeroed(std::size_t bytes);
// Gives back memory from mapZeroed() of the same size.
void unmapZeroed(void* memory, std::size_t bytes);

// An array of `count` values of a type whose all-zero bytes are a value,
// zeroed by the system (no pass over it to clear it), freed with it.
template <typename T>
class ZeroedArray {
 public:
  explicit ZeroedArray(std::size_t count) : data_(static_cast<T*>(mapZeroed(count * sizeof(T)))), count_(count) {}
  ~ZeroedArray() { unmapZeroed(data_, count_ * sizeof(T)); }
  ZeroedArray(const ZeroedArray&) = delete;
  ZeroedArray& operator=(const ZeroedArray&) = delete;
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }
  std::size_t size() const { return count_; }

 private:
  T* data_;
  std::size_t count_;
};
