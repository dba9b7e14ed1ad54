#include "config/config_macro_expander.h"

#include "config/config_error.h"
#include "config/config_lexer.h"
#include "status.h"

namespace {

bool Contains(const HideSet* set, const ConfigMacro* macro) {
  for (; set; set = set->next) {
    if (set->macro == macro) return true;
  }
  return false;
}

// Adds to a count of held tokens for as long as it lives.
class Hold {
 public:
  Hold(std::size_t& counter, std::size_t amount) : counter_(counter), amount_(amount) { counter_ += amount_; }
  ~Hold() { counter_ -= amount_; }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

 private:
  std::size_t& counter_;
  std::size_t amount_;
};

std::size_t CountTokens(const std::vector<std::vector<Token>>& args) {
  std::size_t n = 0;
  for (const auto& arg : args) n += arg.size();
  return n;
}

Token Placemarker() {
  Token t;
  t.kind = TokenKind::kPlacemarker;
  return t;
}

}  // namespace

MacroExpander::MacroExpander(ConfigTokenSource& source, const ConfigLimits& limits)
    : source_(source), limits_(limits) {}

void MacroExpander::Fail(const Token& at, const std::string& message) const {
  throw ConfigError(status::kConfigSyntax, source_.Where(at) + ": " + message);
}

void MacroExpander::Define(ConfigMacro macro) {
  Undefine(macro.name);
  macros_.push_back(std::move(macro));
  const ConfigMacro& stored = macros_.back();
  table_.emplace(std::string_view(stored.name), &stored);
  ++firstBytes_[static_cast<unsigned char>(stored.name[0])];
}

void MacroExpander::Undefine(std::string_view name) {
  auto it = table_.find(name);
  if (it == table_.end()) return;
  --firstBytes_[static_cast<unsigned char>(name[0])];
  table_.erase(it);
}

const ConfigMacro* MacroExpander::Find(const Token& token) const {
  if (token.kind != TokenKind::kIdent) return nullptr;
  if (firstBytes_[static_cast<unsigned char>(token.text[0])] == 0) return nullptr;
  auto it = table_.find(token.text);
  if (it == table_.end() || Contains(token.hide, it->second)) return nullptr;
  return it->second;
}

Token MacroExpander::Read() {
  if (!pending_.empty()) {
    Token t = pending_.back();
    pending_.pop_back();
    return t;
  }
  if (limited_) return Token{};
  return source_.ReadSourceToken();
}

bool MacroExpander::Expand(const Token& token) {
  const ConfigMacro* macro = Find(token);
  if (!macro) return false;
  Tokens result;
  if (!macro->functionLike) {
    result = Substitute(*macro, token, {}, Add(token.hide, macro, token));
  } else {
    Token next = Read();
    if (!next.Is('(')) {
      // Not a call; the name stays a plain word. An end is not put back: the
      // source (or the argument) keeps answering with its end.
      if (next.kind != TokenKind::kEnd) pending_.push_back(next);
      return false;
    }
    Token close;
    std::vector<Tokens> args = ReadArguments(*macro, token, &close);
    Hold holdArgs(held_, CountTokens(args));
    const HideSet* hide = Add(Intersect(token.hide, close.hide), macro, token);
    result = Substitute(*macro, token, args, hide);
  }
  CheckLength(pending_.size() + result.size(), token);
  pending_.insert(pending_.end(), result.rbegin(), result.rend());
  return true;
}

std::vector<MacroExpander::Tokens> MacroExpander::ReadArguments(const ConfigMacro& macro,
                                                                const Token& use, Token* close) {
  std::vector<Tokens> args(1);
  int parens = 0;
  std::size_t total = 0;
  for (;;) {
    Token t = Read();
    if (t.kind == TokenKind::kEnd) {
      Fail(use, "unterminated argument list of macro '" + macro.name + "': expected ')'");
    }
    if (t.Is('#') && t.lineStart && !t.fromMacro) {
      Fail(t, "a directive cannot stand inside the arguments of macro '" + macro.name + "'");
    }
    if (t.Is('(')) {
      ++parens;
    } else if (t.Is(')')) {
      if (parens == 0) {
        *close = t;
        break;
      }
      --parens;
    } else if (t.Is(',') && parens == 0) {
      args.emplace_back();
      continue;
    }
    // Arguments read again inside other arguments are work like new tokens,
    // and all the arguments being expanded at once must fit in memory.
    if (depth_ > 0) Produced(1, use);
    CheckLength(held_ + ++total, use);
    args.back().push_back(t);
  }
  if (macro.params.empty() && args.size() == 1 && args[0].empty()) args.clear();
  if (args.size() != macro.params.size()) {
    Fail(use, "macro '" + macro.name + "' takes " + std::to_string(macro.params.size()) +
                  " argument(s), but " + std::to_string(args.size()) + " were given");
  }
  return args;
}

MacroExpander::Tokens MacroExpander::Substitute(const ConfigMacro& macro, const Token& use,
                                                const std::vector<Tokens>& args,
                                                const HideSet* hide) {
  const Tokens& body = macro.body;
  const std::size_t n = body.size();
  std::vector<Tokens> expanded(args.size());
  std::vector<bool> haveExpanded(args.size(), false);
  auto stringizes = [&](std::size_t i) {
    return macro.functionLike && body[i].Is('#') && i + 1 < n && macro.paramOf[i + 1] >= 0;
  };
  auto fromBody = [&](const Token& t) {
    Token copy = t;
    copy.file = use.file;
    copy.offset = use.offset;
    return copy;
  };
  Tokens out;
  for (std::size_t i = 0; i < n; ++i) {
    CheckLength(out.size(), use);
    const Token& t = body[i];
    if (stringizes(i)) {
      out.push_back(Stringize(args[static_cast<std::size_t>(macro.paramOf[i + 1])], use));
      ++i;
      continue;
    }
    if (t.IsPunct("##")) {
      // "##" never starts or ends a body (checked at #define), so there is a left side.
      Token left = out.back();
      out.pop_back();
      ++i;
      Tokens right;
      if (stringizes(i)) {
        right.push_back(Stringize(args[static_cast<std::size_t>(macro.paramOf[i + 1])], use));
        ++i;
      } else if (macro.paramOf[i] >= 0) {
        right = args[static_cast<std::size_t>(macro.paramOf[i])];
        if (right.empty()) right.push_back(Placemarker());
      } else {
        right.push_back(fromBody(body[i]));
      }
      out.push_back(Paste(left, right[0], use));
      out.insert(out.end(), right.begin() + 1, right.end());
      continue;
    }
    if (macro.paramOf[i] >= 0) {
      auto p = static_cast<std::size_t>(macro.paramOf[i]);
      if (i + 1 < n && body[i + 1].IsPunct("##")) {
        // Pasted arguments go in as written, not expanded.
        if (args[p].empty()) {
          out.push_back(Placemarker());
        } else {
          out.insert(out.end(), args[p].begin(), args[p].end());
        }
      } else {
        if (!haveExpanded[p]) {
          expanded[p] = ExpandArgument(args[p], use);
          haveExpanded[p] = true;
        }
        out.insert(out.end(), expanded[p].begin(), expanded[p].end());
      }
      continue;
    }
    out.push_back(fromBody(t));
  }
  CheckLength(out.size(), use);

  Tokens result;
  result.reserve(out.size());
  const HideSet* lastIn = nullptr;
  const HideSet* lastOut = hide;
  for (Token& t : out) {
    if (t.kind == TokenKind::kPlacemarker) continue;
    if (t.hide != lastIn) {
      lastIn = t.hide;
      lastOut = Union(t.hide, hide);
    }
    t.hide = lastOut;
    t.fromMacro = true;
    t.lineStart = false;
    result.push_back(t);
  }
  if (!result.empty()) result.front().spaceBefore = use.spaceBefore;
  Produced(result.size(), use);
  return result;
}

MacroExpander::Tokens MacroExpander::ExpandArgument(const Tokens& arg, const Token& use) {
  if (depth_ >= limits_.maxMacroDepth) {
    Fail(use, "macro calls nested more than " + std::to_string(limits_.maxMacroDepth) +
                  " deep in arguments");
  }
  Tokens saved;
  saved.swap(pending_);
  Hold holdSaved(held_, saved.size());
  bool savedLimited = limited_;
  pending_.assign(arg.rbegin(), arg.rend());
  limited_ = true;
  ++depth_;
  Tokens out;
  for (;;) {
    Token t = Read();
    if (t.kind == TokenKind::kEnd) break;
    if (Expand(t)) continue;
    out.push_back(t);
    CheckLength(held_ + out.size(), use);
  }
  --depth_;
  pending_.swap(saved);
  limited_ = savedLimited;
  return out;
}

Token MacroExpander::Stringize(const Tokens& arg, const Token& use) {
  // The argument's spelling with single blanks where it had space, as one
  // string; quotes inside are doubled, so it reads back as that spelling.
  std::string text = "\"";
  for (std::size_t i = 0; i < arg.size(); ++i) {
    if (i > 0 && arg[i].spaceBefore) text += ' ';
    for (char c : arg[i].text) {
      if (c == '"') text += '"';
      text += c;
    }
    CheckLength(text.size() / 8, use);
  }
  text += '"';
  Token t;
  t.kind = TokenKind::kString;
  t.text = texts_.Store(text);
  t.file = use.file;
  t.offset = use.offset;
  Produced(text.size() / 16, use);
  return t;
}

Token MacroExpander::Paste(const Token& left, const Token& right, const Token& use) {
  if (left.kind == TokenKind::kPlacemarker) return right;
  if (right.kind == TokenKind::kPlacemarker) return left;
  std::string joined(left.text);
  joined += right.text;
  CheckLength(joined.size() / 8, use);
  std::string_view stored = texts_.Store(joined);
  Produced(stored.size() / 16, use);
  ConfigLexer lexer(stored, use.file, nullptr);
  Token t;
  bool single = false;
  try {
    t = lexer.Next();
    single = t.kind != TokenKind::kEnd && t.text.size() == stored.size();
  } catch (const ConfigError&) {
    single = false;  // e.g. "/" and "*" open a comment
  }
  if (!single) {
    Fail(use, "pasting " + DescribeToken(left) + " and " + DescribeToken(right) +
                  " with '##' does not give one valid token");
  }
  t.file = use.file;
  t.offset = use.offset;
  t.lineStart = false;
  t.spaceBefore = left.spaceBefore;
  return t;
}

const HideSet* MacroExpander::NewNode(const ConfigMacro* macro, const HideSet* next) {
  // Counted with the tokens; the next expansion's check catches an excess.
  ++produced_;
  hideNodes_.push_back({macro, next, next ? next->size + 1 : 1});
  return &hideNodes_.back();
}

const HideSet* MacroExpander::Add(const HideSet* set, const ConfigMacro* macro, const Token& use) {
  if (Contains(set, macro)) return set;
  if (set && set->size >= static_cast<std::uint32_t>(limits_.maxMacroDepth)) {
    Fail(use, "macros expand inside each other more than " + std::to_string(limits_.maxMacroDepth) +
                  " levels deep");
  }
  return NewNode(macro, set);
}

const HideSet* MacroExpander::Union(const HideSet* a, const HideSet* b) {
  if (!a || a == b) return b;
  if (!b) return a;
  const HideSet* result = b;
  for (const HideSet* s = a; s; s = s->next) {
    if (!Contains(b, s->macro)) result = NewNode(s->macro, result);
  }
  return result;
}

const HideSet* MacroExpander::Intersect(const HideSet* a, const HideSet* b) {
  if (a == b) return a;
  const HideSet* result = nullptr;
  for (const HideSet* s = a; s; s = s->next) {
    if (Contains(b, s->macro)) result = NewNode(s->macro, result);
  }
  return result;
}

void MacroExpander::CheckLength(std::size_t length, const Token& use) const {
  if (length > limits_.maxExpansionLength) {
    Fail(use, "macro expansion is too long (more than " +
                  std::to_string(limits_.maxExpansionLength) + " tokens)");
  }
}

void MacroExpander::Produced(std::size_t tokens, const Token& use) {
  produced_ += tokens;
  if (produced_ > limits_.maxExpansionTokens) {
    Fail(use, "macro expansion is too large (more than " +
                  std::to_string(limits_.maxExpansionTokens) + " tokens in all)");
  }
}
