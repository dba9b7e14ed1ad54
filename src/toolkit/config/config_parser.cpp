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

struct ConfigParser::OpenClass {
  std::string name;
  Token brace;      // its '{'
  int indent{};     // column of its 'class' when that starts a line, else 0
};

ConfigParser::ConfigParser(ConfigPreprocessor& input, ConfigTree& tree, const ConfigLimits& limits)
    : input_(input), tree_(tree), limits_(limits) {}

void ConfigParser::SetPlace(rap_entry* entry, const Token& at) {
  if (fileNames_.size() <= at.file) fileNames_.resize(at.file + 1, nullptr);
  const std::string*& file = fileNames_[at.file];
  if (!file) file = tree_.FileName(input_.FileOf(at));
  int line = 0;
  int column = 0;
  input_.LineAndColumn(at, &line, &column);
  ConfigTree::SetPlace(entry, file, line, column);
}

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
  ParseBody(tree_.root(), nullptr, 0);
}

void ConfigParser::NoteClose(const OpenClass& open, const Token& close) {
  if (!misplaced_.name.empty() || open.indent == 0 || !close.lineStart || close.fromMacro) return;
  int line = 0;
  int column = 0;
  input_.LineAndColumn(close, &line, &column);
  if (column >= open.indent) return;
  misplaced_.name = open.name;
  misplaced_.opened = input_.Where(open.brace);
  misplaced_.closed = input_.Where(close);
}

void ConfigParser::FailUnclosed(const OpenClass& open, const Token& end) const {
  if (!misplaced_.name.empty()) {
    // A '}' went to the wrong class: the class it closed is the one that
    // lost its own, and every class around it is short of one.
    Fail(end, "expected '}' to close class " + Quoted(misplaced_.name) + " (opened at " + misplaced_.opened +
                  "), found end of file; the '}' at " + misplaced_.closed +
                  " that closed it stands left of its 'class' line and belongs to an outer class");
  }
  Fail(end, "expected '}' to close class " + Quoted(open.name) + " (opened at " + input_.Where(open.brace) +
                "), found end of file");
}

void ConfigParser::ParseBody(rap_entry* cls, const OpenClass* open, int depth) {
  for (;;) {
    const Token& t = current_;
    if (t.kind == TokenKind::kEnd) {
      if (!open) return;
      FailUnclosed(*open, t);
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
    if (found && found != defining) continue;
    // Not a class of its own: one it inherits, so that "class A: A" in a
    // derived class extends the A of its base.
    rap_entry* inherited = FindInherited(*scope, name);
    if (inherited && inherited->IsClass()) return inherited;
  }
  return nullptr;
}

rap_entry* ConfigParser::FindInherited(rap_entry* cls, std::string_view name) {
  if (cls->rpe_deletes(name)) return nullptr;
  int depth = 0;
  for (rap_entry* base = cls->rpe_get_base(); base && depth < kMaxBaseDepth;
       base = base->rpe_get_base(), ++depth) {
    if (rap_entry* found = ConfigTree::FindOwn(base, name)) return found;
    if (base->rpe_deletes(name)) return nullptr;
  }
  return nullptr;
}

std::string ConfigParser::ReadClassName(Token* nameToken) {
  // current_ is the 'class' keyword; the name follows it.
  Token exported = current_.fromMacro ? Token{} : input_.PeekExportedClassName();
  if (exported.kind == TokenKind::kIdent) {
    std::string_view line = exported.text;
    std::size_t colon = line.find(':');
    // "Object1_a:Object0_b" written without blanks still derives when the
    // part after the colon names a class.
    if (colon == std::string_view::npos || !FindBase(line.substr(colon + 1), nullptr)) {
      input_.TakeExportedClassName(exported);
      *nameToken = exported;
      Advance();
      return std::string(line);
    }
  }
  Advance();
  *nameToken = current_;
  return ReadName("a class name after 'class'");
}

void ConfigParser::ParseClass(rap_entry* scope, int depth) {
  const Token keyword = current_;
  Token nameToken;
  std::string name = ReadClassName(&nameToken);
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
    // A declaration only; the body may follow later. In a class that
    // inherits a class of that name it refers to that one.
    Advance();
    rap_entry* inherited = cls ? nullptr : FindInherited(scope, name);
    if (!cls && !(inherited && inherited->IsClass())) {
      rap_entry* declared = tree_.NewClass(name);
      SetPlace(declared, nameToken);
      tree_.Append(scope, declared);
    }
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
    SetPlace(cls, nameToken);
    tree_.Append(scope, cls);
    CheckEntries(nameToken);
  }
  if (base) tree_.SetBase(cls, base);
  tree_.MarkBody(cls);
  CheckDepth(open, depth + 1);
  OpenClass opened{name, open, 0};
  if (keyword.lineStart && !keyword.fromMacro) {
    int line = 0;
    input_.LineAndColumn(keyword, &line, &opened.indent);
  }
  Advance();
  scopes_.push_back(cls);
  ParseBody(cls, &opened, depth + 1);
  scopes_.pop_back();
  NoteClose(opened, current_);
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
  if (rap_entry* own = ConfigTree::FindOwn(scope, name)) {
    if (!own->IsClass()) Fail(keyword, "'delete' removes classes, but " + Quoted(name) + " is " + KindWord(own));
    tree_.Remove(scope, own);
  }
  if (rap_entry* inherited = FindInherited(scope, name)) {
    if (!inherited->IsClass()) {
      Fail(keyword, "'delete' removes classes, but " + Quoted(name) + " is " + KindWord(inherited));
    }
    ConfigTree::MarkDeleted(scope, name);
  }
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
      SetPlace(own, nameToken);
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
  ParseValue(own, "property", name, false);
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
      SetPlace(nested, current_);
      tree_.Append(array, nested);
      CheckEntries(current_);
      ParseArray(nested, arrayName, depth + 1);
    } else {
      rap_entry* element = tree_.NewValue({});
      tree_.Append(array, element);
      CheckEntries(current_);
      ParseValue(element, "array", arrayName, true);
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

void ConfigParser::ParseValue(rap_entry* entry, const char* owner, std::string_view ownerName, bool inArray) {
  // The message text is built only on failure: this runs for every value.
  auto what = [&] { return owner + std::string(" ") + Quoted(ownerName); };
  // A value ends at ';' (or ',' in an array), at a brace, or with its line.
  auto ended = [&] {
    const Token& t = current_;
    return t.kind == TokenKind::kEnd || t.lineStart || t.Is(';') || t.Is('{') || t.Is('}') ||
           (inArray && t.Is(','));
  };
  const Token first = current_;
  SetPlace(entry, first);
  if (first.kind == TokenKind::kEnd || first.Is(';') || first.Is('{') || first.Is('}') || first.Is(',') ||
      first.Is('=')) {
    Fail(first, "expected a value for " + what() + ", found " + DescribeToken(first));
  }
  std::string text(first.text);
  Advance();
  if (first.kind == TokenKind::kString && ended()) {
    entry->value.Set(ConfigStringText(first.text, &scratch_));
    return;
  }
  if (first.kind == TokenKind::kNumber && ended()) {
    entry->value.Set(ConfigNumberText(first.text, false));
    return;
  }
  if ((first.Is('-') || first.Is('+')) && current_.kind == TokenKind::kNumber) {
    const Token number = current_;
    Advance();
    if (ended()) {
      entry->value.Set(ConfigNumberText(number.text, first.Is('-')));
      return;
    }
    text += number.text;
  }
  // Anything else is text as written, blanks inside kept: a path without
  // quotes, or a word that no macro replaced.
  while (!ended()) {
    const Token& t = current_;
    if (t.blanks > 0) {
      text.append(t.text.data() - t.blanks, t.blanks);
    } else if (t.spaceBefore) {
      text += ' ';
    }
    text += t.text;
    Advance();
  }
  entry->value.Set(text);
  tree_.Warn(input_.Where(first) + ": warning: value '" + text + "' of " + what() +
             " is neither quoted nor a number: read as text");
}
