// IdSet: a set of 32-bit object IDs kept in one flat open-addressing table,
// about eight bytes an ID, so that millions of IDs can be checked for
// repeats in a single pass without a heap node per entry. When the range of
// the IDs is known beforehand and dense (projects number their objects from
// 1 up), a bitmap over that range takes its place at a bit an ID.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class IdSet {
 public:
  // Adds the ID; false when it was already in the set.
  bool insert(std::int32_t id) {
    if (!bits_.empty() && id >= lowest_ && id <= highest_) {
      auto bit = static_cast<std::uint64_t>(std::int64_t{id} - lowest_);
      std::uint64_t& word = bits_[bit >> 6];
      std::uint64_t mask = std::uint64_t{1} << (bit & 63);
      if (word & mask) return false;
      word |= mask;
      ++count_;
      return true;
    }
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
  // Prepares for `n` IDs from `lowest` to `highest`: a bitmap over the range
  // when it costs no more than the table would, else reserve(n).
  void reserve(std::size_t n, std::int32_t lowest, std::int32_t highest);
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
  std::vector<std::uint64_t> bits_;  // the bitmap over lowest_..highest_, when in use
  std::int32_t lowest_ = 0, highest_ = -1;
  unsigned shift_ = 64;
  std::size_t count_ = 0;
  bool holdsEmptyKey_ = false;
};
