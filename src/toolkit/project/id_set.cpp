#include "project/id_set.h"

void IdSet::rehash(std::size_t slotCount) {
  std::vector<std::uint32_t> old;
  old.swap(slots_);
  slots_.assign(slotCount, kEmpty);
  shift_ = 64;
  for (std::size_t n = slotCount; n > 1; n >>= 1) --shift_;
  std::size_t mask = slotCount - 1;
  for (std::uint32_t key : old) {
    if (key == kEmpty) continue;
    std::size_t i = slotOf(key);
    while (slots_[i] != kEmpty) i = (i + 1) & mask;
    slots_[i] = key;
  }
}

void IdSet::grow() { rehash(slots_.empty() ? 64 : slots_.size() * 2); }

void IdSet::reserve(std::size_t n) {
  std::size_t want = 64;
  while (want < n * 2) want *= 2;
  if (want > slots_.size()) rehash(want);
}

void IdSet::reserve(std::size_t n, std::int32_t lowest, std::int32_t highest) {
  // The table takes 8 to 16 bytes an ID; the bitmap an eighth of a byte for
  // every number of the range.
  std::uint64_t range = highest >= lowest ? static_cast<std::uint64_t>(std::int64_t{highest} - lowest) + 1 : 0;
  if (count_ != 0 || !bits_.empty() || range == 0 || range / 64 > n) {
    reserve(n);
    return;
  }
  bits_.assign(static_cast<std::size_t>((range + 63) / 64), 0);
  lowest_ = lowest;
  highest_ = highest;
}

void IdSet::clear() {
  std::vector<std::uint32_t>().swap(slots_);
  std::vector<std::uint64_t>().swap(bits_);
  lowest_ = 0;
  highest_ = -1;
  shift_ = 64;
  count_ = 0;
  holdsEmptyKey_ = false;
}
