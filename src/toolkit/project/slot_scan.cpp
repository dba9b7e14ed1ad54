#include "project/slot_scan.h"

#include <new>
#include <system_error>

namespace {

using slot_scan::slotSize;

// A boundary is taken where this many slots in a row look like the slots
// editors write (valid flag 0 or 1, short names ending in a NUL), at least
// half of them valid: a run of zero bytes inside a record reads as deleted
// slots, but not for long.
constexpr int kProbeSlots = 32;
constexpr std::size_t kLongestProbedName = 256;
// How far past the middle a boundary is looked for.
constexpr std::size_t kSearchBytes = std::size_t{64} << 10;

// The flag and the name's length are checked before the byte behind the
// name is read: most places fail on them, and that byte may lie anywhere in
// the file, on a page not read yet.
bool looksLikeBoundary(const unsigned char* p, const unsigned char* end) {
  using namespace pew_record;
  int valid = 0;
  for (int k = 0; k < kProbeSlots; ++k) {
    const auto left = static_cast<std::size_t>(end - p);
    if (left < kName) return false;
    std::uint16_t flag;
    std::memcpy(&flag, p, sizeof flag);
    if (flag == 0) {
      p += 2;
      continue;
    }
    std::uint32_t nameLength;
    std::memcpy(&nameLength, p + kNameLength, sizeof nameLength);
    if (flag != 1 || nameLength > kLongestProbedName) return false;
    const std::size_t size = slotSize(p, left);
    if (size == 0) return false;
    ++valid;
    p += size;
  }
  return valid >= kProbeSlots / 2;
}

}  // namespace

SlotScan::SlotScan(const unsigned char* begin, const unsigned char* end)
    : end_(end),
      limit_(static_cast<std::size_t>(end - begin) >= slot_scan::minSlotBytes
                 ? static_cast<std::size_t>(end - begin) / 2 / slot_scan::kBytesPerEntry + 1
                 : 0),
      slots_(limit_),
      templateCounts_(limit_ == 0 ? 0 : kCountedIds) {
  if (limit_ == 0) return;
  const unsigned char* middle = begin + (end - begin) / 2;
  const unsigned char* last = middle + std::min(kSearchBytes, static_cast<std::size_t>(end - middle));
  for (const unsigned char* p = middle; p < last; ++p) {
    if (looksLikeBoundary(p, end)) {
      start_ = p;
      break;
    }
  }
  if (!start_) return;
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    start_ = nullptr;  // no thread to spare: the reader goes alone
  }
}

void SlotScan::run() {
  using namespace pew_record;
  constexpr std::size_t kAhead = 8192;
  const unsigned char* p = start_;
  std::size_t n = 0;
  std::int64_t runHighest = kNoId;
  try {
    for (; n < limit_; ++n) {
      if (n % 4096 == 0 && stopped_.load(std::memory_order_relaxed)) break;
      const auto left = static_cast<std::size_t>(end_ - p);
      if (left > kAhead) __builtin_prefetch(p + kAhead);
      const std::size_t size = slotSize(p, left);
      if (size == 0) break;
      Slot& slot = slots_[n];
      slot.record = reinterpret_cast<std::uint64_t>(p);
      if (size == 2) {
        slot.record |= kDeleted;
      } else {
        slot.objectId = slot_scan::slotObjectId(p);
        slot.templateId = slot_scan::slotTemplateId(p, size);
        ++countOf(slot.templateId);  // a template id past the flat table may take memory
        runHighest = std::max<std::int64_t>(runHighest, slot.objectId);
      }
      p += size;
      if ((n + 1) % kIdRun == 0) {
        runHighestIds_.push_back(runHighest);
        runHighest = kNoId;
      }
    }
  } catch (const std::bad_alloc&) {
    n = 0;  // nothing found: the reader goes alone
    p = start_;
  }
  found_ = n;
  scanEnd_ = p;
}

std::size_t SlotScan::finish() {
  if (thread_.joinable()) thread_.join();
  return found_;
}

std::size_t SlotScan::find(const unsigned char* p) const {
  // The slots lie in address order.
  const auto wanted = reinterpret_cast<std::uint64_t>(p);
  std::size_t low = 0, high = found_;
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    if ((slots_[middle].record & ~kDeleted) < wanted) low = middle + 1;
    else high = middle;
  }
  return low < found_ && (slots_[low].record & ~kDeleted) == wanted ? low : found_;
}

std::int64_t SlotScan::highestId(std::size_t from, std::size_t to) const {
  std::int64_t highest = kNoId;
  auto visit = [&](std::size_t i) {
    if (valid(i)) highest = std::max<std::int64_t>(highest, slots_[i].objectId);
  };
  std::size_t i = from;
  for (; i < to && i % kIdRun != 0; ++i) visit(i);
  for (; i + kIdRun <= to; i += kIdRun) highest = std::max(highest, runHighestIds_[i / kIdRun]);
  for (; i < to; ++i) visit(i);
  return highest;
}

void SlotScan::stop() {
  stopped_.store(true, std::memory_order_relaxed);
  if (thread_.joinable()) thread_.join();
}
