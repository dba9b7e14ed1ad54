#include "config/config_tree.h"

ConfigTree::ConfigTree() { root_ = NewClass(""); }

rap_entry* ConfigTree::Allocate(rap_entry::Kind kind, std::string_view name) {
  if (blocks_.empty() || used_ == kBlockEntries) {
    blocks_.emplace_back(new rap_entry[kBlockEntries]);
    used_ = 0;
  }
  rap_entry* entry = &blocks_.back()[used_++];
  ++made_;
  entry->kind_ = kind;
  if (!name.empty()) entry->name.Set(name);
  return entry;
}

rap_entry* ConfigTree::NewClass(std::string_view name) {
  rap_entry* entry = Allocate(rap_entry::Kind::kClass, name);
  classData_.emplace_back();
  entry->data_ = &classData_.back();
  return entry;
}

rap_entry* ConfigTree::NewValue(std::string_view name) {
  return Allocate(rap_entry::Kind::kValue, name);
}

rap_entry* ConfigTree::NewArray(std::string_view name) {
  return Allocate(rap_entry::Kind::kArray, name);
}

void ConfigTree::Append(rap_entry* parent, rap_entry* child) {
  child->next_ = nullptr;
  child->prev_ = parent->last_;
  if (parent->last_) {
    parent->last_->next_ = child;
  } else {
    parent->first_ = child;
  }
  parent->last_ = child;
  ++parent->count_;
  if (parent->data_ && parent->data_->index) {
    parent->data_->index->emplace(FoldConfigName(child->name.View()), child);
  }
}

void ConfigTree::Remove(rap_entry* parent, rap_entry* child) {
  // The child found by name in `parent` (as the parser does): unlinked in
  // constant time, however many siblings it has.
  rap_entry* before = child->prev_;
  (before ? before->next_ : parent->first_) = child->next_;
  (child->next_ ? child->next_->prev_ : parent->last_) = before;
  child->next_ = nullptr;
  child->prev_ = nullptr;
  --parent->count_;
  if (parent->data_ && parent->data_->index) {
    auto it = parent->data_->index->find(FoldConfigName(child->name.View()));
    if (it != parent->data_->index->end() && it->second == child) parent->data_->index->erase(it);
  }
}

void ConfigTree::ClearChildren(rap_entry* parent) {
  parent->first_ = nullptr;
  parent->last_ = nullptr;
  parent->count_ = 0;
  if (parent->data_) parent->data_->index.reset();
}

bool ConfigTree::CopyElements(const rap_entry* from, rap_entry* to, std::size_t maxEntries) {
  // Array nesting is bounded by the parser, and so is this recursion.
  for (const rap_entry* e = from->first_; e; e = e->next_) {
    if (made_ >= maxEntries) return false;
    rap_entry* copy = Allocate(e->kind_, e->name.View());
    copy->value = e->value;
    Append(to, copy);
    if (e->IsArray() && !CopyElements(e, copy, maxEntries)) return false;
  }
  return true;
}

const std::string* ConfigTree::FileName(const std::string& name) {
  // Entries come file by file, so the last name is nearly always the one.
  if (fileNames_.empty() || fileNames_.back() != name) fileNames_.push_back(name);
  return &fileNames_.back();
}

void ConfigTree::Warn(std::string text) {
  if (++warningCount_ <= kMaxWarnings) warnings_.push_back(std::move(text));
}
