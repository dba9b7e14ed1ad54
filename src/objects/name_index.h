// NameIndex: a flat hash map from byte strings (model names) to 32-bit
// values. The keys are kept one after another in one buffer and the slots
// are 16 bytes each, so the names that a file uses again and again stay in
// the processor's caches however many one-off names join them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class NameIndex {
 public:
  NameIndex();

  // The value of `key`, or null when it has none.
  const std::uint32_t* find(std::string_view key) const;
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

  std::vector<Slot> slots_;
  std::string keys_;
  std::size_t size_ = 0;
};
