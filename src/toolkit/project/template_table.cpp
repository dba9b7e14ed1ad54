#include "project/template_table.h"

#include <algorithm>

PewObjectTemplate* TemplateTable::find(std::uint32_t id) const {
  IdEntry* e = entry(id);
  return e ? e->first : nullptr;
}

void TemplateTable::indexId(std::uint32_t id, IdEntry* e) {
  if (id >= dense_.size()) {
    if (id >= denseLimit()) return;  // a far id lives in the map alone
    // Grow by doubling (within the limit) and fill the new range from the map.
    std::size_t size = std::min(std::max<std::size_t>(std::size_t{id} + 1, dense_.size() * 2), denseLimit());
    dense_.assign(size, nullptr);
    for (auto& [held, entry] : byId_)
      if (held < size) dense_[held] = &entry;
  }
  dense_[id] = e;
}

PewObjectTemplate* TemplateTable::add(std::uint32_t id) {
  auto* t = new PewObjectTemplate();
  t->templateId = id;
  return adopt(t);
}

PewObjectTemplate* TemplateTable::adopt(PewObjectTemplate* t) {
  t->next = nullptr;
  t->prev_ = last_;
  if (last_) last_->next = t;
  else first_ = t;
  last_ = t;
  ++count_;
  IdEntry& entry = byId_[t->templateId];
  if (entry.holders++ == 0) {
    entry.first = t;
    indexId(t->templateId, &entry);
  }
  // Objects may already refer to this id: the counts must be rebuilt.
  ++generation_;
  return t;
}

bool TemplateTable::remove(PewObjectTemplate* t) {
  if (!t) return false;
  auto it = byId_.find(t->templateId);
  if (it == byId_.end()) return false;
  IdEntry& entry = it->second;
  if (entry.holders == 1) {
    if (entry.first != t) return false;
    if (t->templateId < dense_.size()) dense_[t->templateId] = nullptr;
    byId_.erase(it);
  } else {
    // Several templates share the id (a damaged table): make sure `t` is one
    // of ours, then pass the index on to the next holder in table order.
    bool member = false;
    for (PewObjectTemplate* p = first_; p && !member; p = p->next) member = (p == t);
    if (!member) return false;
    --entry.holders;
    if (entry.first == t) {
      PewObjectTemplate* n = t->next;
      while (n && n->templateId != t->templateId) n = n->next;
      entry.first = n;
    }
  }
  if (t->prev_) t->prev_->next = t->next;
  else first_ = t->next;
  if (t->next) t->next->prev_ = t->prev_;
  else last_ = t->prev_;
  --count_;
  delete t;
  return true;
}

void TemplateTable::clear() {
  PewObjectTemplate* t = first_;
  while (t) {
    PewObjectTemplate* next = t->next;
    delete t;
    t = next;
  }
  first_ = last_ = nullptr;
  count_ = 0;
  byId_.clear();
  dense_.clear();
  ++generation_;
}

std::uint32_t TemplateTable::maxId() const {
  std::uint32_t highest = 0;
  for (const auto& [id, entry] : byId_) highest = std::max(highest, id);
  return highest;
}

void TemplateTable::rebuildUsage(const PewObjects& objects) {
  for (auto& [id, entry] : byId_) entry.objects = entry.validObjects = 0;
  validObjects_ = 0;
  objects.forEachSlot([&](const PewObject& o) {
    if (o.refersToTemplate()) countObject(o.templateId(), o.validFlag() != 0);
  });
  usageCounted(objects);
}

void TemplateTable::refreshUsage(const PewObjects& objects) {
  if (usageGeneration_ != generation_ || usageObjectChanges_ != objects.usageChangeCount()) rebuildUsage(objects);
}

void TemplateTable::usageCounted(const PewObjects& objects) {
  usageGeneration_ = generation_;
  usageObjectChanges_ = objects.usageChangeCount();
}

std::uint32_t TemplateTable::usage(const PewObjectTemplate* t, const PewObjects& objects) {
  if (!t) return 0;
  refreshUsage(objects);
  const IdEntry* e = entry(t->templateId);
  return e ? e->objects : 0;
}

// The counts are per id, so a template removed since they were made takes
// its objects out of the sum below by itself: only the table's ids count.
TemplateTable::ValidObjects TemplateTable::validObjects(const PewObjects& objects) {
  refreshUsage(objects);
  std::uint32_t withTemplate = 0;
  for (const auto& [id, entry] : byId_) withTemplate += entry.validObjects;
  return {validObjects_, validObjects_ - withTemplate};
}
