#include "duplicate_finder.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <exception>
#include <system_error>
#include <thread>

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
  // Never 0, which marks a position without a valid object.
  std::uint32_t hash() const {
    std::uint64_t h = templateId * 0x9E3779B97F4A7C15ull;
    for (std::uint64_t w : words) {
      h = (h ^ w) * 0xBF58476D1CE4E5B9ull;
      h ^= h >> 31;
    }
    h *= 0x94D049BB133111EBull;
    const auto top = static_cast<std::uint32_t>(h >> 32);
    return top != 0 ? top : 1;
  }
};

// Below this many positions a second thread costs more than it saves.
constexpr std::size_t kTwoThreadsFrom = std::size_t{1} << 16;

// Runs work(0) on this thread and work(1) on a second one, or after work(0)
// when `two` is false or no thread can be had. An exception of either reaches
// the caller once both are done.
template <typename Work>
void runBoth(bool two, Work&& work) {
  std::exception_ptr failed[2];
  auto guarded = [&](int part) {
    try {
      work(part);
    } catch (...) {
      failed[part] = std::current_exception();
    }
  };
  std::thread second;
  if (two) {
    try {
      second = std::thread(guarded, 1);
    } catch (const std::system_error&) {
    }
  }
  guarded(0);
  if (second.joinable()) second.join();
  else guarded(1);
  for (const std::exception_ptr& e : failed)
    if (e) std::rethrow_exception(e);
}

// The search among the objects whose hash has `half` as its lowest bit (no
// twins lie across halves), `members` of them, in a table of their own.
// Returns the pairs found, last first.
std::vector<TwinPair> searchHalf(const PewObjects& objects, const ZeroedArray<std::uint32_t>& hashes,
                                 std::uint32_t half, std::size_t members) {
  std::vector<TwinPair> pairs;
  if (members < 2) return pairs;
  // Open addressing with linear probing, at most 62% full: a hash picks its
  // first slot by a multiplication, so the table need not be a power of two.
  // A slot of 4 bytes holds the position plus 1 (0: empty) in its low bits
  // and, in the bits the positions leave free, more bits of the hash, so
  // most probes settle without reading the object. Half the bytes of a
  // slot that holds the whole hash: the table is fresh memory, and the
  // system's clearing of its pages costs more than the search in it.
  const std::size_t capacity = members + members / 2 + members / 8 + 8;
  ZeroedArray<std::uint32_t> slots(capacity);  // megabytes: on huge pages, zeroed by the system
  auto home = [&](std::uint32_t h) { return static_cast<std::size_t>((std::uint64_t{h} * capacity) >> 32); };
  // Bit 0 chose the half and the top bits the home slot: the check bits
  // come from just above bit 0. With 2^31 positions or more there are none.
  const int positionBits = std::bit_width(objects.positionCount());
  const std::uint32_t positionMask = positionBits >= 32 ? ~std::uint32_t{0} : (std::uint32_t{1} << positionBits) - 1;
  auto slotFor = [&](std::uint32_t h, std::uint32_t i) {
    return (positionBits >= 32 ? 0 : (h >> 1) << positionBits) | (i + 1);
  };

  // From the back: a group's slot always holds its nearest member seen so
  // far, which is the first twin behind the object now in hand. The slots
  // are fetched from memory a few members ahead, as most lookups miss the
  // caches; the members in between wait in a small ring.
  std::size_t next = objects.positionCount();
  constexpr std::size_t kAhead = 16;
  std::uint32_t ring[kAhead];
  std::size_t taken = 0, queued = 0;
  auto queue = [&] {
    while (next > 0) {
      const std::uint32_t h = hashes[--next];
      if (h == 0 || (h & 1) != half) continue;
      ring[queued++ % kAhead] = static_cast<std::uint32_t>(next);
      __builtin_prefetch(&slots[home(h)]);
      const unsigned char* r = objects.atPosition(next).record();
      __builtin_prefetch(r);
      __builtin_prefetch(r + 64);
      __builtin_prefetch(r + 128);
      return;
    }
  };
  while (queued < kAhead && next > 0) queue();
  while (taken < queued) {
    const std::uint32_t i = ring[taken++ % kAhead];
    queue();
    const std::uint32_t mine = slotFor(hashes[i], i);
    for (std::size_t s = home(hashes[i]);; s = s + 1 == capacity ? 0 : s + 1) {
      std::uint32_t& slot = slots[s];
      if (slot == 0) {
        slot = mine;
        break;
      }
      if (((slot ^ mine) & ~positionMask) == 0) {
        const std::uint32_t j = (slot & positionMask) - 1;
        if (TwinKey(objects.atPosition(j)) == TwinKey(objects.atPosition(i))) {
          pairs.push_back({i, j});
          slot = mine;
          break;
        }
      }
    }
  }
  return pairs;
}

}  // namespace

std::vector<TwinPair> findLaterTwins(const PewObjects& objects) {
  // A position and a position plus 1 fit 32 bits: a list holds far fewer
  // handles than 8-byte handles in 32 GB, and a file's slot count is 32 bits.
  const std::size_t n = objects.positionCount();
  const bool two = n >= kTwoThreadsFrom;

  // Every valid object's hash at its position; each thread hashes one half
  // of the list and counts the members of each half of the search.
  ZeroedArray<std::uint32_t> hashes(n);
  std::size_t members[2][2] = {};
  runBoth(two, [&](int part) {
    std::size_t count[2] = {};
    objects.forEachSlotIn(part == 0 ? 0 : n / 2, part == 0 ? n / 2 : n, [&](std::size_t i, const PewObject& o) {
      if (o.validFlag() == 0) return;
      const std::uint32_t h = TwinKey(o).hash();
      hashes[i] = h;
      ++count[h & 1];
    });
    members[part][0] = count[0];
    members[part][1] = count[1];
  });

  std::vector<TwinPair> found[2];
  runBoth(two, [&](int half) {
    found[half] = searchHalf(objects, hashes, static_cast<std::uint32_t>(half), members[0][half] + members[1][half]);
  });
  std::vector<TwinPair> pairs(found[0].size() + found[1].size());
  std::merge(found[0].rbegin(), found[0].rend(), found[1].rbegin(), found[1].rend(), pairs.begin(),
             [](const TwinPair& a, const TwinPair& b) { return a.first < b.first; });
  return pairs;
}
