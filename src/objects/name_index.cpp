#include "name_index.h"

#include <cstring>
#include <utility>

#include "system/zeroed_memory.h"

NameIndex::NameIndex() : slots_(static_cast<Slot*>(mapZeroed(64 * sizeof(Slot)))), slotCount_(64) {}

NameIndex::~NameIndex() { unmapZeroed(slots_, slotCount_ * sizeof(Slot)); }

std::uint64_t NameIndex::hash(std::string_view key) {
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15ull;
  std::uint64_t h = key.size() * kMultiplier;
  const char* p = key.data();
  std::size_t n = key.size();
  for (; n >= 8; p += 8, n -= 8) {
    std::uint64_t w;
    std::memcpy(&w, p, sizeof w);
    h = (h ^ w) * kMultiplier;
    h ^= h >> 29;
  }
  if (n > 0) {
    std::uint64_t w = 0;
    std::memcpy(&w, p, n);
    h = (h ^ w) * kMultiplier;
  }
  h ^= h >> 32;
  h *= 0xD6E8FEB86659FD93ull;
  return h ^ (h >> 32);
}

std::string_view NameIndex::keyAt(std::uint64_t offset) const {
  std::uint32_t length;
  std::memcpy(&length, keys_.data() + offset, sizeof length);
  return std::string_view(keys_.data() + offset + sizeof length, length);
}

// The slot that holds `key`, or the empty slot where it would go.
std::size_t NameIndex::locate(std::string_view key, std::uint64_t h) const {
  const std::size_t mask = slotCount_ - 1;
  const std::uint32_t tag = tagOf(h);
  for (std::size_t s = h & mask;; s = (s + 1) & mask) {
    const Slot& slot = slots_[s];
    if (slot.tag == 0) return s;
    if (slot.tag == tag && keyAt(slot.offset) == key) return s;
  }
}

std::uint64_t NameIndex::prefetch(std::string_view key) const {
  std::uint64_t h = hash(key);
  __builtin_prefetch(&slots_[h & (slotCount_ - 1)]);
  return h;
}

const std::uint32_t* NameIndex::find(std::string_view key, std::uint64_t h) const {
  const Slot& slot = slots_[locate(key, h)];
  return slot.tag != 0 ? &slot.value : nullptr;
}

bool NameIndex::insert(std::string_view key, std::uint32_t value) {
  std::uint64_t h = hash(key);
  std::size_t s = locate(key, h);
  if (slots_[s].tag != 0) return false;
  if (2 * (size_ + 1) > slotCount_) {
    grow();
    s = locate(key, h);
  }
  slots_[s] = Slot{tagOf(h), value, keys_.size()};
  const auto length = static_cast<std::uint32_t>(key.size());
  keys_.append(reinterpret_cast<const char*>(&length), sizeof length);
  keys_.append(key);
  ++size_;
  return true;
}

void NameIndex::grow() {
  Slot* old = std::exchange(slots_, static_cast<Slot*>(mapZeroed(2 * slotCount_ * sizeof(Slot))));
  const std::size_t oldCount = std::exchange(slotCount_, 2 * slotCount_);
  const std::size_t mask = slotCount_ - 1;
  for (std::size_t i = 0; i < oldCount; ++i) {
    const Slot& slot = old[i];
    if (slot.tag == 0) continue;
    std::size_t s = hash(keyAt(slot.offset)) & mask;
    while (slots_[s].tag != 0) s = (s + 1) & mask;
    slots_[s] = slot;
  }
  unmapZeroed(old, oldCount * sizeof(Slot));
}
