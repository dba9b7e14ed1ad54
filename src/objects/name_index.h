// NameIndex: a flat hash map from byte strings (model names) to 32-bit
// values. The keys are kept one after another in one buffer and the slots
// are 16 bytes each, so the names that a file uses again and again stay in
// the processor's caches however many one-off names join them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class NameIndex {
 public:
  NameIndex();
  ~NameIndex();
  NameIndex(const NameIndex&) = delete;
  NameIndex& operator=(const NameIndex&) = delete;

  // The value of `key`, or null when it has none.
  const std::uint32_t* find(std::string_view key) const { return find(key, hash(key)); }
  // The same in two steps, for a caller with other work to do in between:
  // ask for the slot of `key` now, while the memory it lies in is fetched.
  std::uint64_t prefetch(std::string_view key) const;
  const std::uint32_t* find(std::string_view key, std::uint64_t h) const;
  // Gives `key` the value unless it has one already; returns whether it was
  // added.
  bool insert(std::string_view key, std::uint32_t value);
  std::size_t size() const { return size_; }

 private:
  struct Slot {
    std::uint32_t tag = 0;     // upper hash bits; 0 marks an empty slot
    std::uint32_t value = 0;
    std::uint64_t offset = 0;  // the key in keys_: its length (4 bytes), then its bytes
  };
  std::string_view keyAt(std::uint64_t offset) const;
  static std::uint64_t hash(std::string_view key);
  static std::uint32_t tagOf(std::uint64_t h) { return static_cast<std::uint32_t>(h >> 32) | 1u; }
  std::size_t locate(std::string_view key, std::uint64_t h) const;
  void grow();

  // A power of two of slots, zeroed memory from the system: large tables sit
  // on huge pages.
  Slot* slots_ = nullptr;
  std::size_t slotCount_ = 0;
  std::string keys_;
  std::size_t size_ = 0;
};
