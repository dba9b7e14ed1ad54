// PewObject: one placed object of a project, and PewObjects, the project's
// object list.
//
// A project holds millions of objects, so the list does not copy them: an
// object's record stays in the bytes of the file as read (the project's
// mapped file), packed exactly as the file lays it out, and a PewObject is an
// 8-byte handle to those bytes. Objects added later get records of the same
// layout in the list's own arena. Reading a field decodes it from the record;
// writing one writes the record, so a save can copy every untouched run of
// records straight from the old file.
//
// Handles live in blocks that never move, so a pointer handed out stays good
// for as long as the project is loaded. Deleting an object leaves an erased
// handle that every walk skips and that the writer leaves out; this keeps
// deletion O(1) and a full reduction linear.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "project/matrix4.h"

// Offsets of the fields in a record (valid records; a deleted slot is the
// 2-byte flag alone).
namespace pew_record {
constexpr std::size_t kValidFlag = 0, kUnknownFlag = 2, kObjectId = 4, kTransform = 8, kUnnamedDouble = 56,
                      kNameLength = 64, kName = 68;
// The fields after the name, from its end.
constexpr std::size_t kRelativeHeight = 0, kUnnamedA = 4, kUnnamedB = 8, kTemplateId = 12;
constexpr std::size_t kFixedBytes = 84;  // a valid record without its name's bytes
}  // namespace pew_record

class PewObject {
 public:
  std::uint16_t validFlag() const { return marked() ? 0 : get<std::uint16_t>(pew_record::kValidFlag); }
  std::int32_t objectId() const { return get<std::int32_t>(pew_record::kObjectId); }
  Matrix4 transform() const { return get<Matrix4>(pew_record::kTransform); }
  // The instance name's bytes, without the NUL the file stores.
  std::string_view instanceName() const {
    std::uint32_t n = nameLength();
    return n == 0 ? std::string_view() : std::string_view(reinterpret_cast<const char*>(record() + pew_record::kName), n - 1);
  }
  float relativeHeight() const { return get<float>(afterName() + pew_record::kRelativeHeight); }
  std::int32_t unnamedA() const { return get<std::int32_t>(afterName() + pew_record::kUnnamedA); }
  std::uint32_t templateId() const { return get<std::uint32_t>(afterName() + pew_record::kTemplateId); }

  void setTransform(const Matrix4& m) { set(pew_record::kTransform, m); }
  void setRelativeHeight(float v) { set(afterName() + pew_record::kRelativeHeight, v); }
  void setUnnamedA(std::int32_t v) { set(afterName() + pew_record::kUnnamedA, v); }
  void setTemplateId(std::uint32_t v) { set(afterName() + pew_record::kTemplateId, v); }
  // A slot read as a 2-byte deleted slot refers to no template; an object
  // marked invalid since still does.
  bool refersToTemplate() const { return bits_ != 0 && (marked() || get<std::uint16_t>(0) != 0); }
  bool erased() const { return bits_ == 0; }
  // The record's bytes as they are saved, and how many (2 for an invalid object).
  const unsigned char* record() const { return reinterpret_cast<const unsigned char*>(bits_ & kPointer); }
  std::size_t savedSize() const { return validFlag() == 0 ? 2 : storedSize(); }
  // The size of the record as it lies in memory.
  std::size_t storedSize() const {
    return get<std::uint16_t>(0) == 0 ? 2 : pew_record::kFixedBytes + nameLength();
  }

 private:
  friend class PewObjects;
  static constexpr std::uint64_t kPointer = (std::uint64_t{1} << 56) - 1;
  static constexpr std::uint64_t kMarked = std::uint64_t{1} << 63;

  bool marked() const { return (bits_ & kMarked) != 0; }
  unsigned char* mutableRecord() const { return reinterpret_cast<unsigned char*>(bits_ & kPointer); }
  std::uint32_t nameLength() const { return get<std::uint32_t>(pew_record::kNameLength); }
  std::size_t afterName() const { return pew_record::kName + nameLength(); }
  template <typename T>
  T get(std::size_t at) const {
    T value;
    std::memcpy(&value, record() + at, sizeof(T));
    return value;
  }
  template <typename T>
  void set(std::size_t at, const T& value) {
    std::memcpy(mutableRecord() + at, &value, sizeof(T));
  }

  std::uint64_t bits_ = 0;  // the record's address, and kMarked; 0 once erased
};

static_assert(sizeof(PewObject) == 8, "a handle is 8 bytes a slot");

class PewObjects {
 public:
  PewObjects() = default;
  PewObjects(const PewObjects&) = delete;
  PewObjects& operator=(const PewObjects&) = delete;
  ~PewObjects() { clear(); }

  // All records held, valid and invalid (the file's slot count).
  std::uint32_t slotCount() const { return static_cast<std::uint32_t>(size_ - erased_); }

  PewObject* pewobject_GetFirstValid();
  PewObject* pewobject_GetNextValid(PewObject* object);
  PewObject* pewobject_GetFirstInvalid();
  // Removes the object for good and returns the position from which
  // pewobject_GetInvalid continues the search for invalid objects.
  PewObject* pewobjects_DeleteObject(PewObject* object);
  PewObject* pewobject_GetInvalid(PewObject* position);
  // Appends a valid object with a fresh ID, an identity transform, an empty
  // instance name, relative height 0, the unnamed members 1.0, -1, -1 and
  // template id 0.
  PewObject* AddPewObject();
  // Clears the object's valid flag: it keeps its place, its ID and its
  // template until a reduction deletes it, and is saved as a deleted slot.
  void markInvalid(PewObject* object);
  // Gives the object a new instance name (its record moves to the arena when
  // the name's length changes).
  void setInstanceName(PewObject* object, std::string_view name);

  // For the codec: appends a handle to a record that lies in memory the
  // project keeps for as long as the list holds it; no ID is assigned.
  void appendRecord(unsigned char* record);
  // The same for `n` records at once, recordAt(k) the k-th of them.
  template <typename F>
  void appendRecords(std::size_t n, F&& recordAt) {
    for (std::size_t k = 0; k < n;) {
      if ((size_ >> kBlockShift) == blocks_.size()) addBlock();
      PewObject* block = blocks_[size_ >> kBlockShift];
      const std::size_t from = size_ & (kBlockSize - 1), count = std::min(n - k, kBlockSize - from);
      for (std::size_t i = 0; i < count; ++i) block[from + i].bits_ = reinterpret_cast<std::uintptr_t>(recordAt(k + i));
      size_ += count;
      k += count;
    }
    changes_ += n;
    usageChanges_ += n;
  }
  // For the codec, once it has appended every record of a file: they lie
  // in the `n` bytes at `records`, one after another.
  void noteRecordsRead(const unsigned char* records, std::size_t n) {
    readRecords_ = records;
    readBytes_ = n;
    readChanges_ = changes_;
  }
  // Those bytes while the list is still exactly as read (no slot added,
  // deleted, marked or moved since), so that a save can write them in one
  // piece without a walk; otherwise null.
  const unsigned char* recordsAsRead(std::size_t& n) const {
    n = readBytes_;
    return changes_ == readChanges_ ? readRecords_ : nullptr;
  }
  void noteId(std::int32_t id);
  void clear();
  template <typename F>
  void forEachSlot(F&& f) const {
    forEachSlotIn(0, size_, [&](std::size_t, const PewObject& o) { f(o); });
  }
  // Handles have positions [0, positionCount()), in the list's order; an
  // erased one keeps its position until the list is rebuilt. Positions let
  // two threads share a walk, and a table name an object in 4 bytes.
  std::size_t positionCount() const { return size_; }
  const PewObject& atPosition(std::size_t i) const { return blocks_[i >> kBlockShift][i & (kBlockSize - 1)]; }
  // f(position, object) for every handle not erased in [from, to).
  template <typename F>
  void forEachSlotIn(std::size_t from, std::size_t to, F&& f) const {
    while (from < to) {
      const PewObject* block = blocks_[from >> kBlockShift];
      const std::size_t blockEnd = std::min(to, ((from >> kBlockShift) + 1) << kBlockShift);
      for (; from < blockEnd; ++from) {
        const PewObject& o = block[from & (kBlockSize - 1)];
        if (!o.erased()) f(from, o);
      }
    }
  }
  // Bumped by every change of membership or validity; lets the store know
  // when its per-template usage counts must be rebuilt.
  std::uint64_t changeCount() const { return changes_; }
  // Bumped only by the changes that can change which templates the objects
  // use and how many are valid: not by removing deleted slots, which refer
  // to no template, nor by renaming, so that a reduction keeps the counts.
  std::uint64_t usageChangeCount() const { return usageChanges_; }

 private:
  static constexpr std::size_t kBlockShift = 18;  // 262144 handles, 2 MB a block (one huge page)
  static constexpr std::size_t kBlockSize = std::size_t{1} << kBlockShift;
  static constexpr std::uintptr_t kBlockBytes = kBlockSize * sizeof(PewObject);
  PewObject& at(std::size_t i) { return blocks_[i >> kBlockShift][i & (kBlockSize - 1)]; }
  std::size_t indexOf(const PewObject* object) const;
  PewObject* findValid(std::size_t from);
  PewObject* findInvalid(std::size_t from);
  unsigned char* arenaRecord(std::size_t bytes);
  std::int32_t freshId();
  static PewObject* newBlock();
  void addBlock();
  static void freeBlock(PewObject* block);

  // Blocks are aligned to their size, so a handle's block is found from its
  // address alone, and the block's number from this map.
  std::vector<PewObject*> blocks_;
  std::unordered_map<std::uintptr_t, std::size_t> blockNumbers_;
  std::size_t size_ = 0;
  std::size_t erased_ = 0;
  // Records of added objects, in chunks that never move.
  struct Arena {
    std::vector<unsigned char*> chunks;
    std::vector<std::unique_ptr<unsigned char[]>> large;
    Arena() = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;
    ~Arena() { release(); }
    void release();
  } arena_;
  std::size_t arenaUsed_ = 0, arenaRoom_ = 0;
  std::int64_t maxId_ = 0;  // highest object ID in the list; new IDs start at 1
  std::uint64_t changes_ = 0;
  std::uint64_t usageChanges_ = 0;
  const unsigned char* readRecords_ = nullptr;
  std::size_t readBytes_ = 0;
  std::uint64_t readChanges_ = ~std::uint64_t{0};
  // Once the highest ID is taken, new IDs fill the gaps from the lowest up:
  // the IDs held, sorted, and how far the search has come. Valid while the
  // list has changed only by the additions that took those IDs.
  std::vector<std::int32_t> gapIds_;
  std::size_t gapIndex_ = 0;
  std::int64_t gapCandidate_ = 0;
  std::uint64_t gapChanges_ = ~std::uint64_t{0};
};
