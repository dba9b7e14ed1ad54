// SlotScan: the second half of a big project's object slots, indexed by a
// second thread while the reader indexes the first half.
//
// Where a slot starts follows only from the slot before it, so the thread
// guesses a boundary from what slots look like, near the middle of the bytes
// from the first slot to the end of the file (the editor's data behind the
// slots is short), and walks on from there. The reader uses that work only
// from a slot where its own walk lands on one the thread found: from the same
// byte both walks see the same slots, so a wrong guess costs time, never a
// wrong index.
#pragma once

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <thread>
#include <unordered_map>
#include <vector>

#include "project/pew_object.h"
#include "system/zeroed_memory.h"

namespace slot_scan {

// The bytes of the slot at `p`, with `left` bytes of the file from it: 2 for
// a deleted slot, 84 plus its name for a valid one; 0 when the slot does
// not fit or its name does not end in a NUL.
inline std::size_t slotSize(const unsigned char* p, std::size_t left) {
  using namespace pew_record;
  if (left < 2) return 0;
  std::uint16_t valid;
  std::memcpy(&valid, p, sizeof valid);
  if (valid == 0) return 2;
  if (left < kName) return 0;
  std::uint32_t nameLength;
  std::memcpy(&nameLength, p + kNameLength, sizeof nameLength);
  const std::size_t need = kFixedBytes + std::size_t{nameLength};
  if (need > left || (nameLength != 0 && p[kName + nameLength - 1] != 0)) return 0;
  return need;
}

// The object ID and the template id of a valid slot of `size` bytes at `p`.
inline std::int32_t slotObjectId(const unsigned char* p) {
  std::int32_t id;
  std::memcpy(&id, p + pew_record::kObjectId, sizeof id);
  return id;
}
inline std::uint32_t slotTemplateId(const unsigned char* p, std::size_t size) {
  using namespace pew_record;
  std::uint32_t id;
  std::memcpy(&id, p + size - (kFixedBytes - kName) + kTemplateId, sizeof id);
  return id;
}

// Fewer bytes from the first slot on than this are read by the reader
// alone. Tests lower it.
inline std::size_t minSlotBytes = std::size_t{16} << 20;
// The thread takes at most one slot for this many bytes it may walk: its
// entries below cost at most 40% of those bytes in memory.
constexpr std::size_t kBytesPerEntry = 40;

}  // namespace slot_scan

class SlotScan {
 public:
  // One slot as the thread found it.
  struct Slot {
    std::uint64_t record;  // its address; kDeleted set for a deleted slot
    std::uint32_t templateId;
    std::int32_t objectId;
  };
  static constexpr std::uint64_t kDeleted = std::uint64_t{1} << 63;

  // Starts the thread on the bytes [begin, end) (the first slot to the end
  // of the file), when they are many and a boundary turns up near the
  // middle.
  SlotScan(const unsigned char* begin, const unsigned char* end);
  ~SlotScan() { stop(); }
  SlotScan(const SlotScan&) = delete;
  SlotScan& operator=(const SlotScan&) = delete;

  // The first byte of the thread's first slot; null when it did not start.
  const unsigned char* start() const { return start_; }
  // Waits for the thread and returns how many slots it found, in order,
  // up to the first one that does not fit or the limit.
  std::size_t finish();
  const Slot& operator[](std::size_t i) const { return slots_[i]; }
  // The index of the slot that starts at `p`, or finish()'s count when no
  // slot found does (after finish()).
  std::size_t find(const unsigned char* p) const;
  // What the thread counted as it went, so that the reader need not visit
  // the slots it takes (after finish()). f(template id, count) for the valid
  // slots among [from, to), once an id; call once.
  template <typename F>
  void countTemplates(std::size_t from, std::size_t to, F&& f);
  // The highest object ID of the valid slots among [from, to), or kNoId.
  std::int64_t highestId(std::size_t from, std::size_t to) const;
  static constexpr std::int64_t kNoId = INT64_MIN;
  // Where the slot after slot `i` starts (after finish()).
  const unsigned char* after(std::size_t i) const {
    return i + 1 < found_ ? reinterpret_cast<const unsigned char*>(slots_[i + 1].record & ~kDeleted) : scanEnd_;
  }
  // Tells the thread its work is not wanted, and waits for it.
  void stop();

 private:
  void run();
  std::uint32_t& countOf(std::uint32_t templateId) {
    return templateId < kCountedIds ? templateCounts_[templateId] : otherTemplateCounts_[templateId];
  }
  bool valid(std::size_t i) const { return (slots_[i].record & kDeleted) == 0; }

  // Template ids below this are counted in a flat table, others in a map.
  static constexpr std::uint32_t kCountedIds = 1u << 16;
  // The highest ID is kept for each run of this many slots.
  static constexpr std::size_t kIdRun = 4096;

  const unsigned char* start_ = nullptr;
  const unsigned char* end_ = nullptr;
  std::size_t limit_ = 0;
  ZeroedArray<Slot> slots_;
  std::size_t found_ = 0;
  const unsigned char* scanEnd_ = nullptr;
  ZeroedArray<std::uint32_t> templateCounts_;
  std::unordered_map<std::uint32_t, std::uint32_t> otherTemplateCounts_;
  std::vector<std::int64_t> runHighestIds_;  // of slots [r * kIdRun, (r + 1) * kIdRun)
  std::atomic<bool> stopped_{false};
  std::thread thread_;
};

template <typename F>
void SlotScan::countTemplates(std::size_t from, std::size_t to, F&& f) {
  // The thread counted every slot it found: those not taken come off.
  for (std::size_t i = 0; i < std::min(from, found_); ++i)
    if (valid(i)) --countOf(slots_[i].templateId);
  for (std::size_t i = to; i < found_; ++i)
    if (valid(i)) --countOf(slots_[i].templateId);
  for (std::uint32_t id = 0; id < kCountedIds; ++id)
    if (templateCounts_[id] != 0) f(id, templateCounts_[id]);
  for (const auto& [id, n] : otherTemplateCounts_)
    if (n != 0) f(id, n);
}
