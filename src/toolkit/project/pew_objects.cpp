#include <algorithm>
#include <climits>
#include <cstdlib>

#include "project/pew_object.h"
#include "system/zeroed_memory.h"

namespace {

// 2 MB of memory on a huge page: millions of handles or records then cost a
// few page faults instead of thousands.
constexpr std::size_t kHugeBytes = std::size_t{2} << 20;

void* hugeChunk() { return mapZeroed(kHugeBytes); }

}  // namespace

PewObject* PewObjects::newBlock() {
  static_assert(kBlockBytes == kHugeBytes);
  return static_cast<PewObject*>(hugeChunk());
}

void PewObjects::freeBlock(PewObject* block) { unmapZeroed(block, kBlockBytes); }

void PewObjects::Arena::release() {
  for (unsigned char* chunk : chunks) unmapZeroed(chunk, kHugeBytes);
  chunks.clear();
  large.clear();
}

void PewObjects::addBlock() {
  PewObject* block = newBlock();
  blockNumbers_[reinterpret_cast<std::uintptr_t>(block)] = blocks_.size();
  blocks_.push_back(block);
}

void PewObjects::appendRecord(unsigned char* record) {
  if ((size_ >> kBlockShift) == blocks_.size()) addBlock();
  PewObject& o = at(size_);
  o.bits_ = reinterpret_cast<std::uintptr_t>(record);
  ++size_;
  ++changes_;
  ++usageChanges_;
}

std::size_t PewObjects::indexOf(const PewObject* object) const {
  auto address = reinterpret_cast<std::uintptr_t>(object);
  std::uintptr_t block = address & ~(kBlockBytes - 1);
  return (blockNumbers_.at(block) << kBlockShift) + (address - block) / sizeof(PewObject);
}

void PewObjects::noteId(std::int32_t id) { maxId_ = std::max<std::int64_t>(maxId_, id); }

std::int32_t PewObjects::freshId() {
  if (maxId_ < INT32_MAX) return static_cast<std::int32_t>(maxId_ + 1);
  // The highest ID is taken: the lowest non-negative ID nobody holds. The
  // held IDs are gathered and sorted once; later calls go on from where the
  // last one stopped, so that adding many objects stays linear.
  if (gapChanges_ != changes_) {
    gapIds_.clear();
    forEachSlot([&](const PewObject& o) {
      if (o.refersToTemplate()) gapIds_.push_back(o.objectId());  // deleted slots carry no ID
    });
    std::sort(gapIds_.begin(), gapIds_.end());
    gapIndex_ = 0;
    gapCandidate_ = 0;
  }
  while (gapIndex_ < gapIds_.size() && gapIds_[gapIndex_] <= gapCandidate_) {
    if (gapIds_[gapIndex_] == gapCandidate_) ++gapCandidate_;
    ++gapIndex_;
  }
  return static_cast<std::int32_t>(gapCandidate_);
}

unsigned char* PewObjects::arenaRecord(std::size_t bytes) {
  // A record is at most kFixedBytes plus a name of up to 4 GB; one larger
  // than a chunk gets memory of its own.
  if (bytes > kHugeBytes) {
    arena_.large.emplace_back(new unsigned char[bytes]);
    return arena_.large.back().get();
  }
  if (arenaRoom_ - arenaUsed_ < bytes) {
    arena_.chunks.push_back(static_cast<unsigned char*>(hugeChunk()));
    arenaUsed_ = 0;
    arenaRoom_ = kHugeBytes;
  }
  unsigned char* record = arena_.chunks.back() + arenaUsed_;
  arenaUsed_ += bytes;
  return record;
}

namespace {

// A new object's empty name is stored as a lone NUL.
constexpr std::uint32_t kNewNameLength = 1;

// A new object's record: valid, the ID given, an identity transform, the
// empty name, and the usual values after it.
void fillNewRecord(unsigned char* r, std::int32_t id) {
  using namespace pew_record;
  auto put = [r](std::size_t at, auto value) { std::memcpy(r + at, &value, sizeof value); };
  put(kValidFlag, std::uint16_t{1});
  put(kUnknownFlag, std::uint16_t{0});
  put(kObjectId, id);
  put(kTransform, Matrix4::Identity());
  put(kUnnamedDouble, 1.0);
  put(kNameLength, kNewNameLength);
  std::memset(r + kName, 0, kNewNameLength);
  auto putAfterName = [r](std::size_t at, auto value) {
    std::memcpy(r + kName + kNewNameLength + at, &value, sizeof value);
  };
  putAfterName(kRelativeHeight, 0.0f);
  putAfterName(kUnnamedA, std::int32_t{-1});
  putAfterName(kUnnamedB, std::int32_t{-1});
  putAfterName(kTemplateId, std::uint32_t{0});
}

}  // namespace

PewObject* PewObjects::AddPewObject() {
  std::int32_t id = freshId();
  bool fillingGaps = maxId_ == INT32_MAX;
  unsigned char* record = arenaRecord(pew_record::kFixedBytes + kNewNameLength);
  fillNewRecord(record, id);
  appendRecord(record);
  noteId(id);
  if (fillingGaps) {
    ++gapCandidate_;  // taken now
    gapChanges_ = changes_;
  }
  return &at(size_ - 1);
}

void PewObjects::markInvalid(PewObject* object) {
  if (!object || object->erased() || object->marked()) return;
  object->bits_ |= PewObject::kMarked;
  ++changes_;
  ++usageChanges_;
}

void PewObjects::setInstanceName(PewObject* object, std::string_view name) {
  if (!object || object->erased() || object->storedSize() == 2) return;
  std::uint32_t oldLength = object->nameLength();
  auto newLength = static_cast<std::uint32_t>(name.size() + 1);
  unsigned char* r = object->mutableRecord();
  if (oldLength != newLength) {
    // Head, new name, then the fields that followed the old name.
    unsigned char* moved = arenaRecord(pew_record::kFixedBytes + newLength);
    std::memcpy(moved, r, pew_record::kName);
    std::memcpy(moved + pew_record::kName + newLength, r + pew_record::kName + oldLength,
                pew_record::kFixedBytes - pew_record::kName);  // the fields after the name
    std::memcpy(moved + pew_record::kNameLength, &newLength, sizeof newLength);
    object->bits_ = (object->bits_ & PewObject::kMarked) | reinterpret_cast<std::uintptr_t>(moved);
    r = moved;
    ++changes_;  // the records no longer lie as read
  }
  if (!name.empty()) std::memcpy(r + pew_record::kName, name.data(), name.size());
  r[pew_record::kName + name.size()] = 0;
}

void PewObjects::clear() {
  for (PewObject* block : blocks_) freeBlock(block);
  blocks_.clear();
  blockNumbers_.clear();
  arena_.release();
  arenaUsed_ = arenaRoom_ = 0;
  size_ = 0;
  erased_ = 0;
  maxId_ = 0;
  ++changes_;
  ++usageChanges_;
}

PewObject* PewObjects::findValid(std::size_t from) {
  for (std::size_t i = from; i < size_; ++i) {
    PewObject& o = at(i);
    if (!o.erased() && o.validFlag() != 0) return &o;
  }
  return nullptr;
}

PewObject* PewObjects::findInvalid(std::size_t from) {
  for (std::size_t i = from; i < size_; ++i) {
    PewObject& o = at(i);
    if (!o.erased() && o.validFlag() == 0) return &o;
  }
  return nullptr;
}

PewObject* PewObjects::pewobject_GetFirstValid() { return findValid(0); }

PewObject* PewObjects::pewobject_GetNextValid(PewObject* object) {
  if (!object) return nullptr;
  // Within a block the next handle is the next one in memory; only a walk
  // that crosses into another block looks the block's number up.
  PewObject* o = object + 1;
  const auto next = reinterpret_cast<std::uintptr_t>(o);
  if (next % kBlockBytes != 0) {
    PewObject* last = &at(size_ - 1);
    const bool lastBlock = next / kBlockBytes == reinterpret_cast<std::uintptr_t>(last) / kBlockBytes;
    PewObject* end = lastBlock ? last + 1 : reinterpret_cast<PewObject*>((next / kBlockBytes + 1) * kBlockBytes);
    for (; o < end; ++o)
      if (!o->erased() && o->validFlag() != 0) return o;
    if (lastBlock) return nullptr;
    return findValid(indexOf(end - 1) + 1);
  }
  return findValid(indexOf(object) + 1);
}

PewObject* PewObjects::pewobject_GetFirstInvalid() { return findInvalid(0); }

PewObject* PewObjects::pewobject_GetInvalid(PewObject* position) {
  return position ? findInvalid(indexOf(position) + 1) : findInvalid(0);
}

PewObject* PewObjects::pewobjects_DeleteObject(PewObject* object) {
  if (!object || object->erased()) return object;
  if (object->refersToTemplate()) ++usageChanges_;
  object->bits_ = 0;
  ++erased_;
  ++changes_;
  return object;
}
