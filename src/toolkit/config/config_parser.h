// Reads the class syntax of a config text from the preprocessor's tokens into
// a ConfigTree:
//
//   class Name { ... };   class Name: Base { ... };   class Name;   delete Name;
//   name = value;   name[] = { value, { nested }, ... };   name[] += { ... };
//
// A value is a string, a number (with an optional sign) or a single word.
// Names defined again in the same class: a property or array of the same
// kind takes the new value (an array "+=" appends instead); a class may get
// its body only once, but may be declared with "class Name;" before.
// A base class is looked up where the class is defined: in the enclosing
// class, then outwards to the top level; the class being defined is skipped,
// so "class A: A" inside a class derives from an outer A.
// "name[] += {...}" on an array that only a base class has starts from a
// copy of the base's elements. "delete Name;" of a class that is not there
// does nothing.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "config/config_limits.h"
#include "config/config_token.h"

class ConfigPreprocessor;
class ConfigTree;
class GenString;
class rap_entry;

class ConfigParser {
 public:
  ConfigParser(ConfigPreprocessor& input, ConfigTree& tree, const ConfigLimits& limits);
  ConfigParser(const ConfigParser&) = delete;
  ConfigParser& operator=(const ConfigParser&) = delete;

  // Reads everything up to the end of the main text into the tree's root.
  void Parse();

 private:
  void Advance();
  void ParseBody(rap_entry* cls, const Token* open, const std::string& className, int depth);
  void ParseClass(rap_entry* scope, int depth);
  void ParseDelete(rap_entry* scope);
  void ParseMember(rap_entry* scope, int depth);
  void ParseArray(rap_entry* array, std::string_view arrayName, int depth);
  // `owner` and `ownerName` name the property or array in messages.
  void ParseValue(GenString* value, const char* owner, std::string_view ownerName);
  std::string ReadName(const std::string& what);
  rap_entry* FindBase(std::string_view name, const rap_entry* defining);
  rap_entry* FindInherited(rap_entry* cls, std::string_view name);
  void CheckDepth(const Token& at, int depth);
  // Every entry made counts against limits_.maxEntries.
  void CheckEntries(const Token& at);
  [[noreturn]] void FailEntries(const Token& at) const;
  [[noreturn]] void Fail(const Token& at, const std::string& message) const;

  ConfigPreprocessor& input_;
  ConfigTree& tree_;
  const ConfigLimits& limits_;
  Token current_;
  std::vector<rap_entry*> scopes_;  // classes being read, outermost (the root) first
  std::string scratch_;
};
