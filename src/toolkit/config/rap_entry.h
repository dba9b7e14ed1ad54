// rap_entry: one node of a parsed config text. A class has child entries
// (properties, arrays and classes, in file order); an array has its elements
// as child entries without names, whose values are the element texts (a nested
// array is an array element with children of its own); a property has a value.
// Callers walk a level with "first child, then next sibling".
//
// Names are matched without regard to ASCII case, as the game does. A class
// may name a base class; lookups by name (rpe_get_entry, rpe_get_class with a
// name) that find nothing in the class itself go on in its base, and that
// base's base. Walking the children shows only the class's own entries.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "text/gen_string.h"

class ConfigTree;

class rap_entry {
 public:
  enum class Kind : std::uint8_t { kClass, kValue, kArray };

  ~rap_entry() = default;
  rap_entry(const rap_entry&) = delete;
  rap_entry& operator=(const rap_entry&) = delete;

  // As written; empty for array elements. The tree indexes the names of large
  // classes, so they are not meant to be changed once the text is read.
  GenString name;
  GenString value;  // text of a property or element (see config_value.h); empty for classes and arrays

  Kind kind() const { return kind_; }
  bool IsClass() const { return kind_ == Kind::kClass; }
  bool IsArray() const { return kind_ == Kind::kArray; }

  // The next entry at the same level, of any kind, or null.
  rap_entry* rpe_get_next() const { return next_; }
  // With null: the first class inside this class, or null. With a name: the
  // class of that name inside this class or inherited from its base, or null.
  rap_entry* rpe_get_class(const char* name);
  // The next class at the same level, or null.
  rap_entry* rpe_get_next_class() const;
  // With null: the first child entry of any kind. With a name: the child of
  // that name, looking at no more than `limit` children in all (own ones
  // first, then the base's); a limit below 1 means no limit.
  rap_entry* rpe_get_entry(const char* name, int limit);
  // The base class named after ':' in the class header, or null.
  rap_entry* rpe_get_base() const { return data_ ? data_->base : nullptr; }
  // Number of child entries: the elements of an array, the entries of a class.
  int get_count() const { return static_cast<int>(count_); }
  // True for a class written only as "class Name;" and never given a body.
  bool IsDeclaredOnly() const { return data_ && !data_->hasBody; }

 private:
  friend class ConfigTree;

  struct ClassData {
    rap_entry* base = nullptr;
    bool hasBody = false;
    // Children by case-folded name, made on the first lookup in a large class
    // so that reading a class of thousands of classes stays linear.
    std::unique_ptr<std::unordered_map<std::string, rap_entry*>> index;
  };

  rap_entry() = default;
  // The own child of that name (any kind), or null.
  rap_entry* FindOwn(std::string_view name);

  rap_entry* next_ = nullptr;
  rap_entry* prev_ = nullptr;  // lets "delete" unlink a class without walking its siblings
  rap_entry* first_ = nullptr;
  rap_entry* last_ = nullptr;
  ClassData* data_ = nullptr;  // classes only; owned by the tree
  std::uint32_t count_ = 0;
  Kind kind_ = Kind::kValue;
};

// The ASCII-lowercase form of a name, the key names are matched by.
std::string FoldConfigName(std::string_view name);
