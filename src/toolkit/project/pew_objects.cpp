#include "project/pew_object.h"

#include <algorithm>
#include <climits>

PewObject* PewObjects::appendRecord() {
  // A block's room is reserved whole, so its records never move, but a
  // record is built only when it is appended: a small project touches only
  // the memory its records use.
  if ((size_ >> kBlockShift) == blocks_.size()) blocks_.emplace_back().reserve(kBlockSize);
  PewObject& o = blocks_.back().emplace_back();
  o.slotIndex = static_cast<std::uint32_t>(size_);
  ++size_;
  ++changes_;
  return &o;
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
      if (o.refersToTemplate()) gapIds_.push_back(o.objectId);  // deleted slots carry no ID
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

PewObject* PewObjects::AddPewObject() {
  std::int32_t id = freshId();
  bool fillingGaps = maxId_ == INT32_MAX;
  PewObject* o = appendRecord();
  o->objectId = id;
  noteId(id);
  if (fillingGaps) {
    ++gapCandidate_;  // taken now
    gapChanges_ = changes_;
  }
  return o;
}

void PewObjects::clear() {
  blocks_.clear();
  size_ = 0;
  erased_ = 0;
  maxId_ = 0;
  ++changes_;
}

PewObject* PewObjects::findValid(std::size_t from) {
  for (std::size_t i = from; i < size_; ++i) {
    PewObject& o = at(i);
    if (o.validFlag != 0 && !o.erased()) return &o;
  }
  return nullptr;
}

PewObject* PewObjects::findInvalid(std::size_t from) {
  for (std::size_t i = from; i < size_; ++i) {
    PewObject& o = at(i);
    if (o.validFlag == 0 && !o.erased()) return &o;
  }
  return nullptr;
}

PewObject* PewObjects::pewobject_GetFirstValid() { return findValid(0); }

PewObject* PewObjects::pewobject_GetNextValid(PewObject* object) {
  return object ? findValid(std::size_t{object->slotIndex} + 1) : nullptr;
}

PewObject* PewObjects::pewobject_GetFirstInvalid() { return findInvalid(0); }

PewObject* PewObjects::pewobject_GetInvalid(PewObject* position) {
  return position ? findInvalid(std::size_t{position->slotIndex} + 1) : findInvalid(0);
}

PewObject* PewObjects::pewobjects_DeleteObject(PewObject* object) {
  if (!object || object->erased()) return object;
  object->state |= PewObject::kErased;
  object->validFlag = 0;
  object->instanceName.Clear();
  ++erased_;
  ++changes_;
  return object;
}
