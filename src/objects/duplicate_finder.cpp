#include "duplicate_finder.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>

#include "objects/two_threads.h"
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
    return (h ^ h >> 32) & twin_search::hashBits;
  }
};

// Below this many positions a second thread costs more than it saves.
constexpr std::size_t kTwoThreadsFrom = std::size_t{1} << 16;

// A valid object as the search takes it: its position and its key's hash.
struct Entry {
  std::uint32_t position, hashLow, hashHigh;
  std::uint64_t hash() const { return std::uint64_t{hashHigh} << 32 | hashLow; }
};

// The objects sorted into parts by the low bits of their hash (twins share
// a part), each part small enough for its hash table to stay in a
// processor's own cache. Each of the two walks of the first pass files its
// half of the list in chunks of its own, so a part's objects are in list
// order: the first walk's chunks, then the second's.
class Parts {
 public:
  static constexpr std::size_t kChunk = 256;  // entries
  // About this many objects a part at most: a table of 16-byte slots, 62%
  // full, then takes under 700 KB.
  static constexpr std::size_t kMembers = 24576;

  explicit Parts(std::size_t positions)
      : count_(std::bit_ceil(std::max<std::size_t>(1, positions / kMembers))),
        entries_((positions / kChunk + 2 * count_ + 1) * kChunk) {
    for (auto& walk : lists_) walk.resize(count_);
  }
  std::size_t count() const { return count_; }
  void add(int walk, std::uint32_t position, std::uint64_t hash) {
    List& list = lists_[walk][hash & (count_ - 1)];
    if (list.next == list.end) {
      list.chunks.push_back(nextChunk_.fetch_add(1, std::memory_order_relaxed));
      list.next = &entries_[list.chunks.back() * kChunk];
      list.end = list.next + kChunk;
    }
    *list.next++ = {position, static_cast<std::uint32_t>(hash), static_cast<std::uint32_t>(hash >> 32)};
  }
  std::size_t members(std::size_t part) const { return lists_[0][part].size() + lists_[1][part].size(); }
  // f(entry) for the part's objects from the last to the first.
  template <typename F>
  void forEachFromBack(std::size_t part, F&& f) const {
    for (int walk : {1, 0}) {
      const List& list = lists_[walk][part];
      for (std::size_t c = list.chunks.size(); c-- > 0;) {
        const Entry* chunk = &entries_[list.chunks[c] * kChunk];
        for (const Entry* e = c + 1 == list.chunks.size() ? list.next : chunk + kChunk; e-- != chunk;) f(*e);
      }
    }
  }

 private:
  struct List {
    std::vector<std::uint32_t> chunks;
    Entry* next = nullptr;  // where the next entry goes in the last chunk
    Entry* end = nullptr;   // the last chunk's end
    std::size_t size() const {
      return chunks.empty() ? 0 : chunks.size() * kChunk - static_cast<std::size_t>(end - next);
    }
  };
  std::size_t count_;
  ZeroedArray<Entry> entries_;
  std::vector<List> lists_[2];
  std::atomic<std::uint32_t> nextChunk_{0};
};

// A slot of a table: a hash, the position of the group's nearest member so
// far, and which of the table's uses (counted from 1) it belongs to: a slot
// of an earlier part is empty, so the table need not be cleared for the
// next one.
struct Slot {
  std::uint64_t hash;
  std::uint32_t position, use;
};

// The slots of a table for `members` objects: at most 62% full.
std::size_t tableSlots(std::size_t members) { return members + members / 2 + members / 8 + 8; }

// Searches one part from its last object to its first: a group's slot holds
// its nearest member seen so far, which is the first twin behind the object
// in hand. Objects of equal hashes count as twins unless `exact`, when their
// keys are compared as well.
void searchPart(const PewObjects& objects, const Parts& parts, std::size_t part, bool exact,
                ZeroedArray<Slot>& table, std::uint32_t use, std::vector<TwinPair>& pairs) {
  const std::size_t members = parts.members(part);
  if (members < 2) return;
  // Open addressing with linear probing; the home slot comes from the
  // hash's high bits, the part from its low ones.
  const std::size_t capacity = tableSlots(members);
  parts.forEachFromBack(part, [&](const Entry& e) {
    const std::uint64_t h = e.hash();
    for (std::size_t s = ((h >> 32) * capacity) >> 32;; s = s + 1 == capacity ? 0 : s + 1) {
      Slot& slot = table[s];
      if (slot.use != use) {
        slot = {h, e.position, use};
        return;
      }
      if (slot.hash == h) {
        const std::uint32_t j = slot.position;
        if (!exact || TwinKey(objects.atPosition(j)) == TwinKey(objects.atPosition(e.position))) {
          pairs.push_back({e.position, j});
          slot.position = e.position;
          return;
        }
      }
    }
  });
}

// Sorts pairs by their first position (each appears once), by its low and
// then its high 16 bits.
void sortByFirst(std::vector<TwinPair>& pairs) {
  std::vector<TwinPair> sorted(pairs.size());
  std::vector<std::size_t> start(std::size_t{1} << 16 | 1);
  for (int shift : {0, 16}) {
    std::fill(start.begin(), start.end(), 0);
    for (const TwinPair& p : pairs) ++start[(p.first >> shift & 0xFFFF) + 1];
    for (std::size_t d = 1; d < start.size(); ++d) start[d] += start[d - 1];
    for (const TwinPair& p : pairs) sorted[start[p.first >> shift & 0xFFFF]++] = p;
    pairs.swap(sorted);
  }
}

// Searches every part, the threads taking them one at a time with a table
// each; returns the pairs found in the order of the list.
std::vector<TwinPair> searchParts(const PewObjects& objects, const Parts& parts, bool two, bool exact) {
  std::size_t largest = 0;
  for (std::size_t p = 0; p < parts.count(); ++p) largest = std::max(largest, parts.members(p));
  std::atomic<std::size_t> nextPart{0};
  std::vector<TwinPair> found[2];
  runBoth(two, [&](int thread) {
    ZeroedArray<Slot> table(tableSlots(largest));
    std::uint32_t uses = 0;
    for (std::size_t p; (p = nextPart.fetch_add(1)) < parts.count();)
      searchPart(objects, parts, p, exact, table, ++uses, found[thread]);
  });
  std::vector<TwinPair> pairs = std::move(found[0]);
  pairs.insert(pairs.end(), found[1].begin(), found[1].end());
  sortByFirst(pairs);
  return pairs;
}

// Whether every pair is a pair of twins, the two halves of the pairs on
// two threads when they are many.
bool allTwins(const PewObjects& objects, const std::vector<TwinPair>& pairs, bool two) {
  std::atomic<bool> alike{true};
  runBoth(two && pairs.size() >= kTwoThreadsFrom, [&](int half) {
    const std::size_t from = half == 0 ? 0 : pairs.size() / 2, to = half == 0 ? pairs.size() / 2 : pairs.size();
    // The records lie anywhere: a pair's handles are fetched 16 pairs ahead,
    // its records 8 ahead.
    constexpr std::size_t kHandlesAhead = 16, kRecordsAhead = 8;
    auto fetchRecord = [&](std::uint32_t position) {
      const unsigned char* r = objects.atPosition(position).record();
      __builtin_prefetch(r);
      __builtin_prefetch(r + 64);
      __builtin_prefetch(r + 128);
    };
    for (std::size_t k = from; k < to && alike; ++k) {
      if (k + kHandlesAhead < to) {
        __builtin_prefetch(&objects.atPosition(pairs[k + kHandlesAhead].first));
        __builtin_prefetch(&objects.atPosition(pairs[k + kHandlesAhead].twin));
      }
      if (k + kRecordsAhead < to) {
        fetchRecord(pairs[k + kRecordsAhead].first);
        fetchRecord(pairs[k + kRecordsAhead].twin);
      }
      if (!(TwinKey(objects.atPosition(pairs[k].first)) == TwinKey(objects.atPosition(pairs[k].twin)))) alike = false;
    }
  });
  return alike;
}

}  // namespace

std::vector<TwinPair> findLaterTwins(const PewObjects& objects) {
  // A position and a position plus 1 fit 32 bits: a list holds far fewer
  // handles than 8-byte handles in 32 GB, and a file's slot count is 32 bits.
  const std::size_t n = objects.positionCount();
  const bool two = n >= kTwoThreadsFrom;

  // Each thread hashes one half of the list into the parts.
  Parts parts(n);
  runBoth(two, [&](int walk) {
    objects.forEachSlotIn(walk == 0 ? 0 : n / 2, walk == 0 ? n / 2 : n, [&](std::size_t i, const PewObject& o) {
      if (o.validFlag() != 0) parts.add(walk, static_cast<std::uint32_t>(i), TwinKey(o).hash());
    });
  });

  // Objects that are not twins share a 64-bit hash by a chance too small to
  // wait for, so the search trusts the hashes and then checks the pairs it
  // found, in a loop that fetches their records many at a time. Should a
  // pair fail, it searches again comparing the objects at every equal hash.
  std::vector<TwinPair> pairs = searchParts(objects, parts, two, false);
  if (!allTwins(objects, pairs, two)) pairs = searchParts(objects, parts, two, true);
  return pairs;
}
