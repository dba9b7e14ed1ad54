#include "project/template_table.h"

#include <algorithm>

PewObjectTemplate* TemplateTable::find(std::uint32_t id) const {
  auto it = byId_.find(id);
  return it == byId_.end() ? nullptr : it->second.first;
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
  if (entry.holders++ == 0) entry.first = t;
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
  ++generation_;
}

std::uint32_t TemplateTable::maxId() const {
  std::uint32_t highest = 0;
  for (const auto& [id, entry] : byId_) highest = std::max(highest, id);
  return highest;
}

void TemplateTable::rebuildUsage(const PewObjects& objects) {
  for (auto& [id, entry] : byId_) entry.objects = 0;
  // Objects of one template tend to come in runs: remember the last lookup.
  std::uint32_t lastId = 0;
  IdEntry* lastEntry = nullptr;
  bool haveLast = false;
  objects.forEachSlot([&](const PewObject& o) {
    if (!o.refersToTemplate()) return;
    if (!haveLast || o.templateId() != lastId) {
      auto it = byId_.find(o.templateId());
      lastEntry = it == byId_.end() ? nullptr : &it->second;
      lastId = o.templateId();
      haveLast = true;
    }
    if (lastEntry) ++lastEntry->objects;
  });
  usageGeneration_ = generation_;
  usageObjectChanges_ = objects.changeCount();
}

std::uint32_t TemplateTable::usage(const PewObjectTemplate* t, const PewObjects& objects) {
  if (!t) return 0;
  if (usageGeneration_ != generation_ || usageObjectChanges_ != objects.changeCount()) rebuildUsage(objects);
  auto it = byId_.find(t->templateId);
  return it == byId_.end() ? 0 : it->second.objects;
}
