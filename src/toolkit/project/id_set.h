// IdSet: a set of 32-bit object IDs kept in one flat open-addressing table,
// about eight bytes an ID, so that millions of IDs can be checked for
// repeats in a single pass without a heap node per entry.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class IdSet {
 public:
  // Adds the ID; false when it was already in the set.
  bool insert(std::int32_t id) {
    auto key = static_cast<std::uint32_t>(id);
    if (key == kEmpty) {
      if (holdsEmptyKey_) return false;
      holdsEmptyKey_ = true;
      ++count_;
      return true;
    }
    if ((count_ + 1) * 2 > slots_.size()) grow();
    std::size_t mask = slots_.size() - 1;
    for (std::size_t i = slotOf(key);; i = (i + 1) & mask) {
      if (slots_[i] == key) return false;
      if (slots_[i] == kEmpty) {
        slots_[i] = key;
        ++count_;
        return true;
      }
    }
  }
  std::size_t size() const { return count_; }
  // Prepares for about `n` IDs so that the table does not grow on the way.
  void reserve(std::size_t n);
  void clear();

 private:
  // Marks a free slot. The ID with these bits (-1) is kept as a flag.
  static constexpr std::uint32_t kEmpty = 0xFFFFFFFFu;
  std::size_t slotOf(std::uint32_t key) const {
    // Fibonacci hashing spreads runs of consecutive IDs over the table.
    return static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ull) >> shift_);
  }
  void grow();
  void rehash(std::size_t slotCount);

  std::vector<std::uint32_t> slots_;
  unsigned shift_ = 64;
  std::size_t count_ = 0;
  bool holdsEmptyKey_ = false;
};
