// Macro table and expansion for the config preprocessor. Expansion follows
// the C preprocessor: object-like and function-like macros, arguments
// expanded before they are put in (except next to '#' and '##'), '#'
// stringizing, '##' pasting, and rescanning of the result together with the
// text that follows. Each token carries the set of macros it came out of, so
// a macro is never expanded again inside its own expansion. Every expansion
// counts against the limits, so self-feeding macros end with an error.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "config/config_limits.h"
#include "config/config_token.h"

struct ConfigMacro {
  std::string name;
  bool functionLike = false;
  std::vector<std::string_view> params;
  std::vector<Token> body;
  std::vector<int> paramOf;  // for each body token: the index of the parameter it names, or -1
};

// Where the expander reads when its own queue is empty: the tokens of the
// file being read, and how to name a token's place in messages.
class ConfigTokenSource {
 public:
  virtual Token ReadSourceToken() = 0;
  virtual std::string Where(const Token& token) const = 0;

 protected:
  ~ConfigTokenSource() = default;
};

class MacroExpander {
 public:
  MacroExpander(ConfigTokenSource& source, const ConfigLimits& limits);

  void Define(ConfigMacro macro);  // replaces a macro of the same name
  void Undefine(std::string_view name);
  bool IsDefined(std::string_view name) const { return table_.count(name) != 0; }

  // The next token: one waiting from an earlier expansion, else one from the source.
  Token Read();
  // When `token` calls a macro, queues its expansion to be read next and
  // returns true. A function-like macro name without '(' after it is no call.
  bool Expand(const Token& token);

 private:
  using Tokens = std::vector<Token>;

  const ConfigMacro* Find(const Token& token) const;
  std::vector<Tokens> ReadArguments(const ConfigMacro& macro, const Token& use, Token* close);
  Tokens Substitute(const ConfigMacro& macro, const Token& use, const std::vector<Tokens>& args,
                    const HideSet* hide);
  Tokens ExpandArgument(const Tokens& arg, const Token& use);
  Token Stringize(const Tokens& arg, const Token& use);
  Token Paste(const Token& left, const Token& right, const Token& use);
  const HideSet* Add(const HideSet* set, const ConfigMacro* macro, const Token& use);
  const HideSet* Union(const HideSet* a, const HideSet* b);
  const HideSet* Intersect(const HideSet* a, const HideSet* b);
  const HideSet* NewNode(const ConfigMacro* macro, const HideSet* next);
  void CheckLength(std::size_t length, const Token& use) const;
  void Produced(std::size_t tokens, const Token& use);
  [[noreturn]] void Fail(const Token& at, const std::string& message) const;

  ConfigTokenSource& source_;
  const ConfigLimits& limits_;
  std::deque<ConfigMacro> macros_;  // never shrinks: hide sets point at macros that were undefined
  std::unordered_map<std::string_view, const ConfigMacro*> table_;
  std::array<std::uint32_t, 256> firstBytes_{};  // defined names by first byte: a cheap first test
  Tokens pending_;        // tokens to read before the source, the next one last
  bool limited_ = false;  // pending_ holds all there is to read (an argument being expanded)
  int depth_ = 0;         // arguments being expanded inside each other
  std::size_t held_ = 0;  // tokens kept by expansions in progress (arguments, set-aside queues)
  std::size_t produced_ = 0;
  std::deque<HideSet> hideNodes_;
  TextArena texts_;
};
