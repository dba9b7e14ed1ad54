// Small helpers for the config reader tests: read a text from memory and
// write a tree as one line of text for comparison.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config/config_reader.h"
#include "config/rap_entry.h"

// Reads `text` as if it were the file `name`.
inline int ParseText(Tovisk& reader, const std::string& text, const char* name = "lib.txt") {
  return reader.rap_Create(name, 0, text.data(), nullptr, static_cast<int>(text.size()), nullptr);
}

// The own entries of a class or array in file order: "name=value",
// "name[]={1,{2}}", "name:Base{...}", "name;" for a class only declared,
// separated by blanks in classes and by commas in arrays. On the way it
// checks what every walk of a tree relies on: the counts, the chain of
// classes, and that each named entry is found again by its name.
inline std::string TreeText(rap_entry* node) {
  std::string text;
  std::vector<rap_entry*> classes;
  int count = 0;
  for (rap_entry* e = node->rpe_get_entry(nullptr, 0); e; e = e->rpe_get_next(), ++count) {
    if (count) text += node->IsArray() ? "," : " ";
    text += e->name.Get();
    if (e->IsClass()) {
      classes.push_back(e);
      EXPECT_EQ(node->rpe_get_class(e->name.Get()), e) << e->name.Get();
      if (e->rpe_get_base()) text += std::string(":") + e->rpe_get_base()->name.Get();
      text += e->IsDeclaredOnly() ? ";" : "{" + TreeText(e) + "}";
    } else if (e->IsArray()) {
      text += (node->IsArray() ? "{" : "[]={") + TreeText(e) + "}";
    } else {
      text += (node->IsArray() ? "" : "=") + std::string(e->value.Get());
    }
    if (!node->IsArray()) {
      EXPECT_EQ(node->rpe_get_entry(e->name.Get(), 0), e) << e->name.Get();
    }
  }
  EXPECT_EQ(count, node->get_count()) << text;
  if (node->IsClass()) {
    rap_entry* c = node->rpe_get_class(nullptr);
    for (rap_entry* want : classes) {
      EXPECT_EQ(c, want);
      c = c ? c->rpe_get_next_class() : nullptr;
    }
    EXPECT_EQ(c, nullptr);
  }
  return text;
}

inline std::string TreeText(Tovisk& reader) { return reader.rap_get_root() ? TreeText(reader.rap_get_root()) : "<none>"; }
