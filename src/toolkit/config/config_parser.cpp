#include "config/config_parser.h"

#include "config/config_error.h"
#include "config/config_preprocessor.h"
#include "config/config_tree.h"
#include "config/config_value.h"
#include "config/rap_entry.h"
#include "status.h"

namespace {

constexpr int kMaxBaseDepth = 256;

std::string Quoted(std::string_view name) {
  std::string text(1, '\'');
  text.append(name);
  text += '\'';
  return text;
}

const char* KindWord(const rap_entry* entry) {
  switch (entry->kind()) {
    case rap_entry::Kind::kClass:
      return "a class";
    case rap_entry::Kind::kArray:
      return "an array";
    case rap_entry::Kind::kValue:
      break;
  }
  return "a property";
}

// Tokens that continue a class name written without blanks. Names made from
// model file names may hold characters such as '(', '.', '&' or bytes from
// 0x80 up; they end at a blank or at one of the marks of the syntax.
bool ContinuesName(const Token& t) {
  if (t.spaceBefore) return false;
  switch (t.kind) {
    case TokenKind::kIdent:
    case TokenKind::kNumber:
      return true;
    case TokenKind::kPunct:
      return !(t.Is('{') || t.Is('}') || t.Is(';') || t.Is(':') || t.Is('=') || t.Is(',') ||
               t.IsPunct("+="));
    default:
      return false;
  }
}

}  // namespace

ConfigParser::ConfigParser(ConfigPreprocessor& input, ConfigTree& tree, const ConfigLimits& limits)
    : input_(input), tree_(tree), limits_(limits) {}

void ConfigParser::Fail(const Token& at, const std::string& message) const {
  throw ConfigError(status::kConfigSyntax, input_.Where(at) + ": " + message);
}

void ConfigParser::Advance() { current_ = input_.Next(); }

void ConfigParser::CheckDepth(const Token& at, int depth) {
  if (depth > limits_.maxNesting) {
    Fail(at, "classes and arrays are nested more than " + std::to_string(limits_.maxNesting) + " deep");
  }
}

void ConfigParser::CheckEntries(const Token& at) {
  if (tree_.entries() > limits_.maxEntries) FailEntries(at);
}

void ConfigParser::FailEntries(const Token& at) const {
  Fail(at, "the text makes more than " + std::to_string(limits_.maxEntries) +
               " entries (classes, properties, arrays and elements, copies of inherited arrays included)");
}

void ConfigParser::Parse() {
  Advance();
  scopes_.assign(1, tree_.root());
  ParseBody(tree_.root(), nullptr, std::string(), 0);
}

void ConfigParser::ParseBody(rap_entry* cls, const Token* open, const std::string& className,
                             int depth) {
  for (;;) {
    const Token& t = current_;
    if (t.kind == TokenKind::kEnd) {
      if (!open) return;
      Fail(t, "expected '}' to close class " + Quoted(className) + " (opened at " + input_.Where(*open) +
                  "), found end of file");
    }
    if (t.Is('}')) {
      if (open) return;
      Fail(t, "found '}' outside of any class");
    }
    if (t.Is(';')) {
      Advance();  // a stray ';' is harmless
    } else if (t.IsWord("class")) {
      ParseClass(cls, depth);
    } else if (t.IsWord("delete")) {
      ParseDelete(cls);
    } else if (t.kind == TokenKind::kIdent) {
      ParseMember(cls, depth);
    } else {
      Fail(t, std::string("expected a class or a property") + (open ? " or '}'" : "") + ", found " +
                  DescribeToken(t));
    }
  }
}

std::string ConfigParser::ReadName(const std::string& what) {
  if (current_.kind != TokenKind::kIdent && current_.kind != TokenKind::kNumber) {
    Fail(current_, "expected " + what + ", found " + DescribeToken(current_));
  }
  std::string name(current_.text);
  Advance();
  while (ContinuesName(current_)) {
    name += current_.text;
    Advance();
  }
  return name;
}

rap_entry* ConfigParser::FindBase(std::string_view name, const rap_entry* defining) {
  for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
    rap_entry* found = ConfigTree::FindOwn(*scope, name);
    if (found && found != defining && found->IsClass()) return found;
  }
  return nullptr;
}

rap_entry* ConfigParser::FindInherited(rap_entry* cls, std::string_view name) {
  int depth = 0;
  for (rap_entry* base = cls->rpe_get_base(); base && depth < kMaxBaseDepth;
       base = base->rpe_get_base(), ++depth) {
    if (rap_entry* found = ConfigTree::FindOwn(base, name)) return found;
  }
  return nullptr;
}

void ConfigParser::ParseClass(rap_entry* scope, int depth) {
  Advance();  // "class"
  const Token nameToken = current_;
  std::string name = ReadName("a class name after 'class'");
  std::string baseName;
  Token baseToken;
  if (current_.Is(':')) {
    Advance();
    baseToken = current_;
    baseName = ReadName("the name of the base class of " + Quoted(name));
  }
  rap_entry* cls = ConfigTree::FindOwn(scope, name);
  if (cls && !cls->IsClass()) {
    Fail(nameToken, Quoted(name) + " is already " + KindWord(cls) + " in this class");
  }
  if (current_.Is(';') && baseName.empty()) {
    // A declaration only; the body may follow later.
    Advance();
    if (!cls) tree_.Append(scope, tree_.NewClass(name));
    CheckEntries(nameToken);
    return;
  }
  if (!current_.Is('{')) {
    Fail(current_, std::string("expected '{'") + (baseName.empty() ? " or ';'" : "") + " after class " +
                       Quoted(name) + ", found " + DescribeToken(current_));
  }
  const Token open = current_;
  if (cls && ConfigTree::HasBody(cls)) Fail(nameToken, "class " + Quoted(name) + " is defined twice");
  rap_entry* base = nullptr;
  if (!baseName.empty()) {
    base = FindBase(baseName, cls);
    if (!base) {
      Fail(baseToken, "base class " + Quoted(baseName) + " of class " + Quoted(name) + " is not defined");
    }
    for (const rap_entry* b = base; b; b = b->rpe_get_base()) {
      if (b == cls) Fail(baseToken, "class " + Quoted(name) + " cannot derive from itself");
    }
  }
  if (!cls) {
    cls = tree_.NewClass(name);
    tree_.Append(scope, cls);
    CheckEntries(nameToken);
  }
  if (base) tree_.SetBase(cls, base);
  tree_.MarkBody(cls);
  CheckDepth(open, depth + 1);
  Advance();
  scopes_.push_back(cls);
  ParseBody(cls, &open, name, depth + 1);
  scopes_.pop_back();
  Advance();  // '}'
  if (!current_.Is(';')) {
    Fail(current_, "expected ';' after the '}' of class " + Quoted(name) + ", found " + DescribeToken(current_));
  }
  Advance();
}

void ConfigParser::ParseDelete(rap_entry* scope) {
  const Token keyword = current_;
  Advance();
  std::string name = ReadName("a class name after 'delete'");
  if (!current_.Is(';')) {
    Fail(current_, "expected ';' after 'delete " + name + "', found " + DescribeToken(current_));
  }
  Advance();
  rap_entry* target = ConfigTree::FindOwn(scope, name);
  if (!target) return;
  if (!target->IsClass()) {
    Fail(keyword, "'delete' removes classes, but " + Quoted(name) + " is " + KindWord(target));
  }
  tree_.Remove(scope, target);
}

void ConfigParser::ParseMember(rap_entry* scope, int depth) {
  const Token nameToken = current_;
  const std::string_view name = nameToken.text;  // token texts live as long as the preprocessor
  Advance();
  rap_entry* own = ConfigTree::FindOwn(scope, name);
  if (current_.Is('[')) {
    Advance();
    if (!current_.Is(']')) {
      Fail(current_, "expected ']' after '" + std::string(name) + "[', found " + DescribeToken(current_));
    }
    Advance();
    const bool append = current_.IsPunct("+=");
    if (!append && !current_.Is('=')) {
      Fail(current_, "expected '=' or '+=' after '" + std::string(name) + "[]', found " +
                         DescribeToken(current_));
    }
    Advance();
    if (!current_.Is('{')) {
      Fail(current_, "expected '{' to start the elements of array " + Quoted(name) + ", found " +
                         DescribeToken(current_));
    }
    if (own && !own->IsArray()) {
      Fail(nameToken, Quoted(name) + " is already " + KindWord(own) + " in this class");
    }
    if (!own) {
      own = tree_.NewArray(name);
      tree_.Append(scope, own);
      rap_entry* inherited = append ? FindInherited(scope, name) : nullptr;
      if (inherited && inherited->IsArray() && !tree_.CopyElements(inherited, own, limits_.maxEntries))
        FailEntries(nameToken);
      CheckEntries(nameToken);
    } else if (!append) {
      tree_.ClearChildren(own);
    }
    ParseArray(own, name, depth + 1);
    if (!current_.Is(';')) {
      Fail(current_, "expected ';' after array " + Quoted(name) + ", found " + DescribeToken(current_));
    }
    Advance();
    return;
  }
  if (!current_.Is('=')) {
    Fail(current_, "expected '=' or '[]' after " + Quoted(name) + ", found " + DescribeToken(current_));
  }
  Advance();
  if (own && own->kind() != rap_entry::Kind::kValue) {
    Fail(nameToken, Quoted(name) + " is already " + KindWord(own) + " in this class");
  }
  if (!own) {
    own = tree_.NewValue(name);
    tree_.Append(scope, own);
    CheckEntries(nameToken);
  }
  ParseValue(&own->value, "property", name);
  if (!current_.Is(';')) {
    Fail(current_, "expected ';' after property " + Quoted(name) + ", found " + DescribeToken(current_));
  }
  Advance();
}

void ConfigParser::ParseArray(rap_entry* array, std::string_view arrayName, int depth) {
  const Token open = current_;
  CheckDepth(open, depth);
  Advance();  // '{'
  for (;;) {
    if (current_.Is('}')) break;  // also after a trailing ','
    if (current_.Is('{')) {
      rap_entry* nested = tree_.NewArray({});
      tree_.Append(array, nested);
      CheckEntries(current_);
      ParseArray(nested, arrayName, depth + 1);
    } else {
      rap_entry* element = tree_.NewValue({});
      tree_.Append(array, element);
      CheckEntries(current_);
      ParseValue(&element->value, "array", arrayName);
    }
    if (current_.Is(',')) {
      Advance();
    } else if (!current_.Is('}')) {
      std::string opened = current_.kind == TokenKind::kEnd ? " (opened at " + input_.Where(open) + ")" : "";
      Fail(current_, "expected ',' or '}' in array " + Quoted(arrayName) + opened + ", found " +
                         DescribeToken(current_));
    }
  }
  Advance();  // '}'
}

void ConfigParser::ParseValue(GenString* value, const char* owner, std::string_view ownerName) {
  // The message text is built only on failure: this runs for every value.
  auto what = [&] { return owner + std::string(" ") + Quoted(ownerName); };
  const Token& t = current_;
  switch (t.kind) {
    case TokenKind::kString:
      value->Set(ConfigStringText(t.text, &scratch_));
      break;
    case TokenKind::kNumber:
      value->Set(ConfigNumberText(t.text, false));
      break;
    case TokenKind::kIdent:
      // A word no macro replaced: kept as its text.
      value->Set(t.text);
      break;
    default:
      if (t.Is('-') || t.Is('+')) {
        const bool negative = t.Is('-');
        Advance();
        if (current_.kind != TokenKind::kNumber) {
          Fail(current_, std::string("expected a number after '") + (negative ? '-' : '+') + "' in " + what() +
                             ", found " + DescribeToken(current_));
        }
        value->Set(ConfigNumberText(current_.text, negative));
        break;
      }
      Fail(t, "expected a value for " + what() + ", found " + DescribeToken(t));
  }
  Advance();
}
