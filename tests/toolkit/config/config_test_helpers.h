// Small helpers for the config reader tests: read a text from memory and
// flatten parts of the tree into plain strings for comparison.
#pragma once

#include <string>
#include <vector>

#include "config/config_reader.h"
#include "config/rap_entry.h"

// Reads `text` as if it were the file `name`.
inline int ParseText(Tovisk& reader, const std::string& text, const char* name = "lib.txt") {
  return reader.rap_Create(name, 0, text.data(), nullptr, static_cast<int>(text.size()), nullptr);
}

// Names of the child entries, in order.
inline std::vector<std::string> ChildNames(rap_entry* entry) {
  std::vector<std::string> names;
  for (rap_entry* e = entry ? entry->rpe_get_entry(nullptr, 1000) : nullptr; e; e = e->rpe_get_next()) {
    names.push_back(e->name.Get());
  }
  return names;
}

// An array as text: "{1,2,{3}}".
inline std::string ArrayText(const rap_entry* array) {
  std::string text = "{";
  for (rap_entry* e = const_cast<rap_entry*>(array)->rpe_get_entry(nullptr, 1000); e; e = e->rpe_get_next()) {
    if (text.size() > 1) text += ",";
    text += e->IsArray() ? ArrayText(e) : std::string(e->value.Get());
  }
  return text + "}";
}

// The value of a property of the top level or of a class path "A/B".
inline std::string ValueAt(Tovisk& reader, const std::string& classPath, const char* name) {
  rap_entry* cls = reader.rap_get_root();
  std::size_t from = 0;
  while (cls && from < classPath.size()) {
    std::size_t slash = classPath.find('/', from);
    std::string part = classPath.substr(from, slash == std::string::npos ? std::string::npos : slash - from);
    cls = cls->rpe_get_class(part.c_str());
    from = slash == std::string::npos ? classPath.size() : slash + 1;
  }
  rap_entry* entry = cls ? cls->rpe_get_entry(name, 1000) : nullptr;
  if (!entry) return "<missing>";
  return entry->IsArray() ? ArrayText(entry) : entry->value.Get();
}
