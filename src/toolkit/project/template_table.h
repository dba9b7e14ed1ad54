// TemplateTable: the project's templates in table order (a doubly linked
// list under the hood, so removal is O(1)), an index from template id to its
// first holder, and per-id object usage counts.
//
// Objects refer to templates only by id and the program fills an object's
// template id after adding it, so the counts cannot follow every field write.
// Instead they are rebuilt in one pass over the objects the first time they
// are asked for after the object list (or the table) changed: every report
// stays linear however many questions it asks.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "project/pew_object.h"
#include "project/pew_template.h"

class TemplateTable {
 public:
  TemplateTable() = default;
  TemplateTable(const TemplateTable&) = delete;
  TemplateTable& operator=(const TemplateTable&) = delete;
  ~TemplateTable() { clear(); }

  PewObjectTemplate* first() const { return first_; }
  std::uint32_t count() const { return count_; }
  // The first template of the table with this id, or null.
  PewObjectTemplate* find(std::uint32_t id) const;
  // Appends an empty template with this id.
  PewObjectTemplate* add(std::uint32_t id);
  // Appends a template made elsewhere (its id already set) and owns it.
  PewObjectTemplate* adopt(PewObjectTemplate* t);
  // Unlinks and frees the template; false when it is not in this table.
  bool remove(PewObjectTemplate* t);
  void clear();
  // The highest id in the table, 0 when it is empty.
  std::uint32_t maxId() const;

  // Number of objects of `objects` whose template id is `t`'s id.
  std::uint32_t usage(const PewObjectTemplate* t, const PewObjects& objects);
  // The valid objects of `objects`, and how many of them have a template id
  // that no template of the table holds.
  struct ValidObjects {
    std::uint32_t count = 0;
    std::uint32_t withoutTemplate = 0;
  };
  ValidObjects validObjects(const PewObjects& objects);
  // For the reader, which counts while it indexes the objects: one more
  // object refers to `id`; usageCounted() then declares the counts current.
  void countObject(std::uint32_t id, bool valid) {
    if (valid) {
      countObjects(id, 1);
    } else if (IdEntry* e = entry(id)) {
      ++e->objects;
    }
  }
  // `n` more valid objects refer to `id`.
  void countObjects(std::uint32_t id, std::uint32_t n) {
    IdEntry* e = entry(id);
    if (e) {
      e->objects += n;
      e->validObjects += n;
    }
    validObjects_ += n;
  }
  void usageCounted(const PewObjects& objects);

 private:
  struct IdEntry {
    PewObjectTemplate* first = nullptr;  // first holder in table order
    std::uint32_t holders = 0;           // templates with this id
    std::uint32_t objects = 0;           // objects with this id
    std::uint32_t validObjects = 0;      // those of them that are valid
  };
  void rebuildUsage(const PewObjects& objects);
  void refreshUsage(const PewObjects& objects);
  // The entry of an id, or null: small ids (the usual case) through a flat
  // table, the rest through the map.
  IdEntry* entry(std::uint32_t id) const {
    if (id < dense_.size()) return dense_[id];
    auto it = byId_.find(id);
    return it == byId_.end() ? nullptr : const_cast<IdEntry*>(&it->second);
  }
  std::size_t denseLimit() const { return 4 * std::size_t{count_} + 1024; }
  void indexId(std::uint32_t id, IdEntry* e);

  PewObjectTemplate* first_ = nullptr;
  PewObjectTemplate* last_ = nullptr;
  std::uint32_t count_ = 0;
  std::unordered_map<std::uint32_t, IdEntry> byId_;  // nodes never move
  // dense_[id] for every id below its size (up to denseLimit()): the map's
  // entry or null.
  std::vector<IdEntry*> dense_;
  std::uint64_t generation_ = 1;       // bumped when a template is added
  std::uint64_t usageGeneration_ = 0;  // table generation the counts belong to
  std::uint64_t usageObjectChanges_ = ~std::uint64_t{0};
  std::uint32_t validObjects_ = 0;  // valid objects counted with the usage
};
