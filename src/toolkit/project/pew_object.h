// PewObject: one placed object of a project, and PewObjects, the project's
// object list.
//
// The list stores records in fixed-size blocks: contiguous for fast walks,
// and a record never moves once added, so a pointer handed out stays good for
// as long as the project is loaded. Deleting a record leaves a tombstone that
// every walk skips and that the writer leaves out; this keeps deletion O(1)
// and a full reduction linear.
#pragma once

#include <cstdint>
#include <vector>

#include "text/gen_string.h"
#include "project/matrix4.h"

struct PewObject {
  std::uint16_t validFlag = 1;     // 1 in use; 0 marked deleted but still stored
  std::uint16_t unknownFlag = 0;   // kept as read; 0 for new objects
  std::int32_t objectId = 0;       // unique within the project, assigned by the list
  Matrix4 transform = Matrix4::Identity();
  double unnamedDouble = 1.0;      // 1.0 for new objects
  GenString instanceName;
  float relativeHeight = 0.0f;
  std::int32_t unnamedA = -1;
  std::int32_t unnamedB = -1;
  std::uint32_t templateId = 0;    // the "model index" of the object's template

  // The list's own bookkeeping.
  std::uint32_t slotIndex = 0;
  std::uint8_t state = 0;
  static constexpr std::uint8_t kNoTemplate = 1;  // read as a 2-byte deleted slot
  static constexpr std::uint8_t kErased = 2;      // removed from the list
  bool refersToTemplate() const { return (state & (kNoTemplate | kErased)) == 0; }
  bool erased() const { return (state & kErased) != 0; }
};

class PewObjects {
 public:
  PewObjects() = default;
  PewObjects(const PewObjects&) = delete;
  PewObjects& operator=(const PewObjects&) = delete;

  // All records held, valid and invalid (the file's slot count).
  std::uint32_t slotCount() const { return static_cast<std::uint32_t>(size_ - erased_); }

  PewObject* pewobject_GetFirstValid();
  PewObject* pewobject_GetNextValid(PewObject* object);
  PewObject* pewobject_GetFirstInvalid();
  // Removes the object for good and returns the position from which
  // pewobject_GetInvalid continues the search for invalid objects.
  PewObject* pewobjects_DeleteObject(PewObject* object);
  PewObject* pewobject_GetInvalid(PewObject* position);
  // Appends a valid object with a fresh ID and an identity transform.
  PewObject* AddPewObject();

  // For the codec and the store.
  PewObject* appendRecord();  // a default record, no ID assigned
  void noteId(std::int32_t id);
  void clear();
  template <typename F>
  void forEachSlot(F&& f) const {
    for (std::size_t i = 0; i < size_; ++i) {
      const PewObject& o = at(i);
      if (!o.erased()) f(o);
    }
  }
  template <typename F>
  void forEachSlot(F&& f) {
    for (std::size_t i = 0; i < size_; ++i) {
      PewObject& o = at(i);
      if (!o.erased()) f(o);
    }
  }
  // Bumped by every change of membership; lets the store know when its
  // per-template usage counts must be rebuilt.
  std::uint64_t changeCount() const { return changes_; }

 private:
  static constexpr std::size_t kBlockShift = 14;  // 16384 records a block
  static constexpr std::size_t kBlockSize = std::size_t{1} << kBlockShift;
  PewObject& at(std::size_t i) { return blocks_[i >> kBlockShift][i & (kBlockSize - 1)]; }
  const PewObject& at(std::size_t i) const { return blocks_[i >> kBlockShift][i & (kBlockSize - 1)]; }
  PewObject* findValid(std::size_t from);
  PewObject* findInvalid(std::size_t from);
  std::int32_t freshId();

  std::vector<std::vector<PewObject>> blocks_;
  std::size_t size_ = 0;
  std::size_t erased_ = 0;
  std::int64_t maxId_ = 0;  // highest object ID in the list; new IDs start at 1
  std::uint64_t changes_ = 0;
  // Once the highest ID is taken, new IDs fill the gaps from the lowest up:
  // the IDs held, sorted, and how far the search has come. Valid while the
  // list has changed only by the additions that took those IDs.
  std::vector<std::int32_t> gapIds_;
  std::size_t gapIndex_ = 0;
  std::int64_t gapCandidate_ = 0;
  std::uint64_t gapChanges_ = ~std::uint64_t{0};
};
