#include "config/rap_entry.h"

#include <climits>

#include "text/ascii_case.h"

namespace {

// Base chains are acyclic by construction; the bound only keeps a lookup
// finite should that ever change.
constexpr int kMaxBaseDepth = 256;
// Classes with fewer children are searched in order.
constexpr std::uint32_t kIndexFrom = 32;

bool SameName(const GenString& a, std::string_view b) {
  if (a.Length() != b.size()) return false;
  const char* p = a.Get();
  for (std::size_t i = 0; i < b.size(); ++i) {
    if (foldAscii(p[i]) != foldAscii(b[i])) return false;
  }
  return true;
}

}  // namespace

std::string FoldConfigName(std::string_view name) {
  return foldedAscii(name);
}

rap_entry* rap_entry::FindOwn(std::string_view name) {
  if (data_ && count_ >= kIndexFrom) {
    if (!data_->index) {
      data_->index = std::make_unique<std::unordered_map<std::string, rap_entry*>>();
      data_->index->reserve(count_ * 2);
      for (rap_entry* e = first_; e; e = e->next_) data_->index->emplace(FoldConfigName(e->name.View()), e);
    }
    auto it = data_->index->find(FoldConfigName(name));
    return it == data_->index->end() ? nullptr : it->second;
  }
  for (rap_entry* e = first_; e; e = e->next_) {
    if (SameName(e->name, name)) return e;
  }
  return nullptr;
}

bool rap_entry::rpe_deletes(std::string_view name) const {
  if (!data_ || data_->deleted.empty()) return false;
  std::string folded = FoldConfigName(name);
  for (const std::string& d : data_->deleted)
    if (d == folded) return true;
  return false;
}

std::string rap_entry::rpe_where() const {
  if (!file_) return {};
  return *file_ + ":" + std::to_string(line_) + ":" + std::to_string(column_);
}

rap_entry* rap_entry::rpe_get_class(const char* name) {
  if (!name) {
    for (rap_entry* e = first_; e; e = e->next_) {
      if (e->IsClass()) return e;
    }
    return nullptr;
  }
  rap_entry* cls = this;
  for (int depth = 0; cls && depth < kMaxBaseDepth; ++depth) {
    rap_entry* found = cls->FindOwn(name);
    if (found && found->IsClass()) return found;
    if (cls->rpe_deletes(name)) return nullptr;
    cls = cls->rpe_get_base();
  }
  return nullptr;
}

rap_entry* rap_entry::rpe_get_next_class() const {
  for (rap_entry* e = next_; e; e = e->next_) {
    if (e->IsClass()) return e;
  }
  return nullptr;
}

rap_entry* rap_entry::rpe_get_entry(const char* name, int limit) {
  if (!name) return first_;
  long budget = limit > 0 ? limit : LONG_MAX;
  std::string_view wanted(name);
  const rap_entry* cls = this;
  for (int depth = 0; cls && depth < kMaxBaseDepth; ++depth) {
    for (rap_entry* e = cls->first_; e && budget > 0; e = e->next_, --budget) {
      if (SameName(e->name, wanted)) return e;
    }
    if (cls->rpe_deletes(wanted)) return nullptr;
    cls = cls->rpe_get_base();
  }
  return nullptr;
}
