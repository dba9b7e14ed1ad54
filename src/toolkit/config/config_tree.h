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
#include <string>
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

  // Where an entry was read; `file` is kept by the tree (see FileName).
  static void SetPlace(rap_entry* entry, const std::string* file, int line, int column) {
    entry->file_ = file;
    entry->line_ = static_cast<std::uint32_t>(line);
    entry->column_ = static_cast<std::uint32_t>(column);
  }
  // A lasting copy of a file name for the places of entries.
  const std::string* FileName(const std::string& name);
  // Records "delete Name;" of an inherited entry in `cls`.
  static void MarkDeleted(rap_entry* cls, std::string_view name) { cls->data_->deleted.push_back(FoldConfigName(name)); }

  // Warnings about text that was read but probably not as meant, each with
  // its place; the first kMaxWarnings are kept, the rest only counted.
  static constexpr std::size_t kMaxWarnings = 100;
  void Warn(std::string text);
  const std::vector<std::string>& warnings() const { return warnings_; }
  std::size_t warningCount() const { return warningCount_; }

  void SetBase(rap_entry* cls, rap_entry* base) { cls->data_->base = base; }
  void MarkBody(rap_entry* cls) { cls->data_->hasBody = true; }
  static bool HasBody(const rap_entry* cls) { return cls->data_ && cls->data_->hasBody; }
  // The own child of that name, found through the index in a large class.
  static rap_entry* FindOwn(rap_entry* parent, std::string_view name) { return parent->FindOwn(name); }

 private:
  // Entries are allocated in blocks of this many, which never move.
  static constexpr std::size_t kBlockEntries = 4096;

  rap_entry* Allocate(rap_entry::Kind kind, std::string_view name);

  std::vector<std::unique_ptr<rap_entry[]>> blocks_;
  std::size_t used_ = 0;
  std::size_t made_ = 0;
  std::deque<rap_entry::ClassData> classData_;
  std::deque<std::string> fileNames_;
  std::vector<std::string> warnings_;
  std::size_t warningCount_ = 0;
  rap_entry* root_;
};
