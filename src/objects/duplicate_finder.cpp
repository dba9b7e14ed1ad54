#include "duplicate_finder.h"

#include <algorithm>
#include <cstring>

#include "system/zeroed_memory.h"

namespace {

// The bytes that make two objects twins: the template id and the transform.
struct TwinKey {
  std::uint64_t words[6];
  std::uint32_t templateId;

  explicit TwinKey(const PewObject& o) : templateId(o.templateId()) {
    const Matrix4 transform = o.transform();
    static_assert(sizeof(transform) == sizeof(words));
    std::memcpy(words, &transform, sizeof(words));
  }
  bool operator==(const TwinKey& other) const {
    return templateId == other.templateId && std::memcmp(words, other.words, sizeof(words)) == 0;
  }
  std::uint64_t hash() const {
    std::uint64_t h = templateId * 0x9E3779B97F4A7C15ull;
    for (std::uint64_t w : words) {
      h = (h ^ w) * 0xBF58476D1CE4E5B9ull;
      h ^= h >> 31;
    }
    h *= 0x94D049BB133111EBull;
    return h ^ (h >> 29);
  }
};

}  // namespace

std::vector<TwinPair> findLaterTwins(std::span<const PewObject* const> objects) {
  const std::size_t n = objects.size();
  std::vector<TwinPair> pairs;
  if (n < 2) return pairs;

  // Open addressing with linear probing, at most 62% full: a hash picks its
  // first slot by a multiplication, so the table need not be a power of two
  // (13 bytes an object; the power of two above twice the objects took 16 to
  // 32). A slot holds the object index plus 1 (0: empty) and, above it, 32 bits
  // of the hash, so most probes settle without reading the object.
  const std::size_t capacity = n + n / 2 + n / 8 + 8;
  ZeroedArray<std::uint64_t> slots(capacity);  // tens of megabytes: on huge pages, zeroed by the system
  auto home = [&](std::uint64_t h) {
    return static_cast<std::size_t>((static_cast<unsigned __int128>(h) * capacity) >> 64);
  };

  // From the back: a group's slot always holds its nearest member seen so
  // far, which is the first twin behind the object now in hand; the pairs
  // come out last first. The slots are fetched from memory a few objects
  // ahead, as most lookups miss the caches; the hashes of the objects in
  // between wait in a small ring.
  constexpr std::size_t kAhead = 16;
  std::uint64_t ahead[kAhead];
  auto prepare = [&](std::size_t k) {
    const std::uint64_t h = TwinKey(*objects[k]).hash();
    __builtin_prefetch(&slots[home(h)]);
    ahead[k % kAhead] = h;
  };
  for (std::size_t k = n; k-- > 0 && n - k <= kAhead;) prepare(k);

  for (std::size_t i = n; i-- > 0;) {
    const std::uint64_t h = ahead[i % kAhead];
    if (i >= kAhead) prepare(i - kAhead);
    const std::uint64_t tag = h >> 32;
    for (std::size_t s = home(h);; s = s + 1 == capacity ? 0 : s + 1) {
      std::uint64_t& slot = slots[s];
      if (slot == 0) {
        slot = (tag << 32) | (i + 1);
        break;
      }
      if ((slot >> 32) == tag) {
        std::uint32_t j = static_cast<std::uint32_t>(slot) - 1;
        if (TwinKey(*objects[j]) == TwinKey(*objects[i])) {
          pairs.push_back({static_cast<std::uint32_t>(i), j});
          slot = (tag << 32) | (i + 1);
          break;
        }
      }
    }
  }
  std::reverse(pairs.begin(), pairs.end());
  return pairs;
}
