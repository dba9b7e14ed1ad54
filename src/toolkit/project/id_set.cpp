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

void IdSet::clear() {
  std::vector<std::uint32_t>().swap(slots_);
  shift_ = 64;
  count_ = 0;
  holdsEmptyKey_ = false;
}
