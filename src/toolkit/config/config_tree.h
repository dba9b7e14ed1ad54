// ConfigTree: owns the entries of one parsed config text and makes every
// change to their links, so child counts, last-child links and the lookup
// indexes of large classes stay right. Entries are carved from large blocks
// and stay at their addresses until the tree goes; an entry that is deleted
// from its class is only unlinked, so a class that names it as base keeps
// a valid base.
#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <string_view>
#include <vector>

#include "config/rap_entry.h"

class ConfigTree {
 public:
  ConfigTree();
  ConfigTree(const ConfigTree&) = delete;
  ConfigTree& operator=(const ConfigTree&) = delete;

  // The unnamed class that holds the top-level entries.
  rap_entry* root() { return root_; }

  rap_entry* NewClass(std::string_view name);
  rap_entry* NewValue(std::string_view name);
  rap_entry* NewArray(std::string_view name);

  void Append(rap_entry* parent, rap_entry* child);
  // `child` must be a child of `parent`.
  void Remove(rap_entry* parent, rap_entry* child);
  void ClearChildren(rap_entry* parent);
  // Appends deep copies of the elements of array `from` to array `to`, but
  // stops, returning false, as soon as the tree holds more than `maxEntries`.
  bool CopyElements(const rap_entry* from, rap_entry* to, std::size_t maxEntries);
  // Entries made so far, unlinked ones and copies included.
  std::size_t entries() const { return made_; }

  void SetBase(rap_entry* cls, rap_entry* base) { cls->data_->base = base; }
  void MarkBody(rap_entry* cls) { cls->data_->hasBody = true; }
  static bool HasBody(const rap_entry* cls) { return cls->data_ && cls->data_->hasBody; }
  // The own child of that name, found through the index in a large class.
  static rap_entry* FindOwn(rap_entry* parent, std::string_view name) { return parent->FindOwn(name); }

 private:
  rap_entry* Allocate(rap_entry::Kind kind, std::string_view name);

  std::vector<std::unique_ptr<rap_entry[]>> blocks_;
  std::size_t used_ = 0;
  std::size_t made_ = 0;
  std::deque<rap_entry::ClassData> classData_;
  rap_entry* root_;
};
