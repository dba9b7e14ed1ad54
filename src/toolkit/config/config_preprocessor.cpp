#include "config/config_preprocessor.h"

#include <algorithm>
#include <filesystem>

#include "config/config_error.h"
#include "config/config_value.h"
#include "status.h"

namespace fs = std::filesystem;

namespace {

std::string OnLine(const Token& token) {
  return token.kind == TokenKind::kEnd ? "end of line" : DescribeToken(token);
}

}  // namespace

ConfigPreprocessor::ConfigPreprocessor(const ConfigLimits& limits)
    : limits_(limits), expander_(*this, limits) {}

void ConfigPreprocessor::Fail(int status, const Token& at, const std::string& message) const {
  throw ConfigError(status, Where(at) + ": " + message);
}

std::string ConfigPreprocessor::Where(const Token& token) const {
  return sources_[token.file]->Describe(token.offset);
}

int ConfigPreprocessor::LineOf(const Token& token) const { return sources_[token.file]->LineOf(token.offset); }

const std::string& ConfigPreprocessor::FileOf(const Token& token) const { return sources_[token.file]->path(); }

void ConfigPreprocessor::OpenFile(const std::string& path) {
  std::string error;
  auto source = ConfigSource::FromFile(path, limits_.maxFileBytes, &error);
  if (!source) throw ConfigError(status::kCannotOpen, path + ": cannot read the file: " + error);
  Push(std::move(source));
}

void ConfigPreprocessor::OpenBuffer(const std::string& name, std::string_view bytes) {
  std::string error;
  auto source = ConfigSource::FromBuffer(name, bytes, limits_.maxFileBytes, &error);
  if (!source) throw ConfigError(status::kCannotOpen, name + ": cannot read the text: " + error);
  Push(std::move(source));
}

void ConfigPreprocessor::Push(std::unique_ptr<ConfigSource> source) {
  totalBytes_ += source->bytesRead();
  auto id = static_cast<std::uint32_t>(sources_.size());
  const ConfigSource* raw = source.get();
  sources_.push_back(std::move(source));
  frames_.push_back(Frame{raw, id, ConfigLexer(raw->text(), id, raw), {}});
}

Token ConfigPreprocessor::ReadSourceToken() { return frames_.back().lexer.Next(); }

Token ConfigPreprocessor::Next() {
  for (;;) {
    Token t = expander_.Read();
    if (t.kind == TokenKind::kEnd) {
      if (LeaveFile()) continue;
      return t;
    }
    if (t.Is('#') && t.lineStart && !t.fromMacro) {
      Directive(t);
      continue;
    }
    if (expander_.Expand(t)) continue;
    return t;
  }
}

bool ConfigPreprocessor::LeaveFile() {
  Frame& frame = frames_.back();
  if (!frame.conditionals.empty()) {
    const Conditional& open = frame.conditionals.back();
    Fail(status::kConfigSyntax, open.directive,
         std::string(open.words) + " is not closed: expected #endif before the end of the file");
  }
  if (frames_.size() == 1) return false;
  frames_.pop_back();
  return true;
}

namespace {

bool LooksExported(std::string_view name) {
  if (name.starts_with("AObject_")) return true;
  if (!name.starts_with("Object")) return false;
  std::size_t digits = 6;
  while (digits < name.size() && name[digits] >= '0' && name[digits] <= '9') ++digits;
  return digits > 6 && digits < name.size() && name[digits] == '_';
}

}  // namespace

Token ConfigPreprocessor::PeekExportedClassName() const {
  Token name;
  if (!expander_.Idle()) return name;
  const Frame& frame = frames_.back();
  char next = 0;
  std::string_view line = frame.lexer.PeekLine(&name.offset, &next);
  if (next != '{' || !LooksExported(line) || line.find(' ') != std::string_view::npos ||
      line.find("//") != std::string_view::npos || line.find("/*") != std::string_view::npos) {
    return name;
  }
  name.kind = TokenKind::kIdent;
  name.text = line;
  name.file = frame.fileId;
  name.spaceBefore = true;
  return name;
}

void ConfigPreprocessor::TakeExportedClassName(const Token& name) {
  frames_.back().lexer.SkipTo(name.offset + static_cast<std::uint32_t>(name.text.size()));
}

Token ConfigPreprocessor::LineToken() {
  ConfigLexer& lexer = frames_.back().lexer;
  std::uint32_t before = lexer.offset();
  if (lexer.AtLineEnd()) {
    Token end;
    end.file = frames_.back().fileId;
    end.offset = lexer.offset();
    return end;
  }
  Token t = lexer.Next();
  t.spaceBefore = t.offset != before;
  std::string_view text = frames_.back().source->text();
  std::size_t gap = t.offset - before;
  t.blanks = gap <= 0xFFFF && text.find_first_not_of(" \t", before) == t.offset ? static_cast<std::uint16_t>(gap) : 0;
  return t;
}

Token ConfigPreprocessor::HashAt(std::uint32_t offset) const {
  Token t;
  t.kind = TokenKind::kPunct;
  t.file = frames_.back().fileId;
  t.offset = offset;
  return t;
}

void ConfigPreprocessor::ExpectLineEnd(const std::string& after) {
  Token extra = LineToken();
  if (extra.kind != TokenKind::kEnd) {
    Fail(status::kConfigSyntax, extra,
         "expected the end of the line after " + after + ", found " + DescribeToken(extra));
  }
}

void ConfigPreprocessor::Directive(const Token& hash) {
  Token word = LineToken();
  if (word.kind == TokenKind::kEnd) return;  // a '#' alone on its line does nothing
  if (word.kind != TokenKind::kIdent) {
    Fail(status::kConfigSyntax, word, "expected a directive name after '#', found " + DescribeToken(word));
  }
  std::string_view name = word.text;
  if (name == "define") {
    Define();
  } else if (name == "undef") {
    Token macro = LineToken();
    if (macro.kind != TokenKind::kIdent) {
      Fail(status::kConfigSyntax, macro, "expected a macro name after #undef, found " + OnLine(macro));
    }
    ExpectLineEnd("#undef " + std::string(macro.text));
    expander_.Undefine(macro.text);
  } else if (name == "include") {
    Include(hash);
  } else if (name == "ifdef" || name == "ifndef") {
    IfDefined(hash, word, name == "ifdef");
  } else if (name == "else") {
    Else(hash);
  } else if (name == "endif") {
    auto& open = frames_.back().conditionals;
    if (open.empty()) Fail(status::kConfigSyntax, hash, "#endif without #ifdef or #ifndef");
    ExpectLineEnd("#endif");
    open.pop_back();
  } else {
    Fail(status::kConfigSyntax, hash, "unknown directive '#" + std::string(name) + "'");
  }
}

void ConfigPreprocessor::Define() {
  Token name = LineToken();
  if (name.kind != TokenKind::kIdent) {
    Fail(status::kConfigSyntax, name, "expected a macro name after #define, found " + OnLine(name));
  }
  ConfigMacro macro;
  macro.name = std::string(name.text);
  const std::string what = "macro '" + macro.name + "'";
  Token t = LineToken();
  if (t.Is('(') && !t.spaceBefore) {
    // A '(' right after the name makes a function-like macro.
    macro.functionLike = true;
    for (;;) {
      Token param = LineToken();
      if (param.Is(')') && macro.params.empty()) break;
      if (param.kind != TokenKind::kIdent) {
        Fail(status::kConfigSyntax, param,
             "expected a parameter name of " + what + ", found " + OnLine(param));
      }
      if (std::find(macro.params.begin(), macro.params.end(), param.text) != macro.params.end()) {
        Fail(status::kConfigSyntax, param,
             "parameter '" + std::string(param.text) + "' of " + what + " is named twice");
      }
      macro.params.push_back(param.text);
      Token separator = LineToken();
      if (separator.Is(')')) break;
      if (!separator.Is(',')) {
        Fail(status::kConfigSyntax, separator,
             "expected ',' or ')' after a parameter of " + what + ", found " + OnLine(separator));
      }
    }
    t = LineToken();
  }
  for (; t.kind != TokenKind::kEnd; t = LineToken()) {
    t.lineStart = false;
    int param = -1;
    if (t.kind == TokenKind::kIdent) {
      auto it = std::find(macro.params.begin(), macro.params.end(), t.text);
      if (it != macro.params.end()) param = static_cast<int>(it - macro.params.begin());
    }
    macro.body.push_back(t);
    macro.paramOf.push_back(param);
  }
  const auto& body = macro.body;
  for (std::size_t i = 0; i < body.size(); ++i) {
    if (body[i].IsPunct("##") && (i == 0 || i + 1 == body.size())) {
      Fail(status::kConfigSyntax, body[i], "'##' cannot stand at the start or the end of " + what);
    }
    if (macro.functionLike && body[i].Is('#') && (i + 1 == body.size() || macro.paramOf[i + 1] < 0)) {
      Fail(status::kConfigSyntax, body[i], "'#' in " + what + " must be followed by a parameter name");
    }
  }
  expander_.Define(std::move(macro));
}

void ConfigPreprocessor::IfDefined(const Token& hash, const Token& word, bool wantDefined) {
  Token macro = LineToken();
  if (macro.kind != TokenKind::kIdent) {
    Fail(status::kConfigSyntax, macro,
         "expected a macro name after #" + std::string(word.text) + ", found " + OnLine(macro));
  }
  std::string words(1, '#');
  words.append(word.text).append(1, ' ').append(macro.text);
  ExpectLineEnd(words);
  frames_.back().conditionals.push_back({hash, std::move(words), false});
  if (expander_.IsDefined(macro.text) != wantDefined) SkipGroup();
}

void ConfigPreprocessor::Else(const Token& hash) {
  auto& open = frames_.back().conditionals;
  if (open.empty()) Fail(status::kConfigSyntax, hash, "#else without #ifdef or #ifndef");
  if (open.back().inElse) {
    Fail(status::kConfigSyntax, hash,
         "#else after #else (for " + open.back().words + " at " + Where(open.back().directive) + ")");
  }
  ExpectLineEnd("#else");
  open.back().inElse = true;
  // The group before this #else was read, so the one after it is left out.
  SkipGroup();
}

void ConfigPreprocessor::SkipGroup() {
  Frame& frame = frames_.back();
  frame.lexer.SkipRestOfLine();
  int nested = 0;
  while (!frame.lexer.AtEnd()) {
    std::uint32_t hashOffset = 0;
    std::string_view name = frame.lexer.SkipLine(&hashOffset);
    if (name.empty()) continue;
    if (name == "ifdef" || name == "ifndef") {
      ++nested;
    } else if (name == "endif" && nested > 0) {
      --nested;
    } else if (name == "endif") {
      ExpectLineEnd("#endif");
      frame.conditionals.pop_back();
      return;
    } else if (name == "else" && nested == 0) {
      Conditional& open = frame.conditionals.back();
      if (open.inElse) {
        Fail(status::kConfigSyntax, HashAt(hashOffset),
             "#else after #else (for " + open.words + " at " + Where(open.directive) + ")");
      }
      ExpectLineEnd("#else");
      open.inElse = true;
      return;
    }
    frame.lexer.SkipRestOfLine();
  }
  // The end of the file: LeaveFile reports the conditional that is still open.
}

std::string ConfigPreprocessor::ResolveInclude(const Token& name, const std::string& file) const {
  // Relative names are taken from the folder of the including file. Libraries
  // written on Windows may use '\' between folders; when the name as written
  // does not exist, it is tried with '/' instead.
  fs::path folder = fs::path(frames_.back().source->path()).parent_path();
  std::vector<std::string> names{file};
  std::string slashed = file;
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  if (slashed != file) names.push_back(slashed);
  std::string first;
  for (const std::string& candidate : names) {
    fs::path path(candidate);
    std::string full = path.is_absolute() ? candidate : (folder / path).string();
    if (first.empty()) first = full;
    std::error_code ec;
    if (fs::exists(full, ec)) return full;
  }
  Fail(status::kConfigInclude, name,
       "cannot open include file \"" + file + "\": no such file (looked for " + first + ")");
}

void ConfigPreprocessor::Include(const Token& hash) {
  Token name = LineToken();
  if (name.kind != TokenKind::kString) {
    Fail(status::kConfigSyntax, name,
         "expected a file name in double quotes after #include, found " + OnLine(name));
  }
  ExpectLineEnd("#include " + std::string(name.text));
  std::string scratch;
  std::string file(ConfigStringText(name.text, &scratch));
  if (file.empty()) Fail(status::kConfigInclude, name, "#include names no file");
  if (frames_.size() >= static_cast<std::size_t>(limits_.maxIncludeDepth)) {
    Fail(status::kConfigInclude, hash,
         "includes nested more than " + std::to_string(limits_.maxIncludeDepth) + " deep");
  }
  std::string path = ResolveInclude(name, file);
  for (std::size_t i = 0; i < frames_.size(); ++i) {
    std::error_code ec;
    if (!fs::equivalent(frames_[i].source->path(), path, ec) || ec) continue;
    if (i + 1 == frames_.size()) {
      Fail(status::kConfigInclude, name, "\"" + file + "\" includes itself");
    }
    std::string chain;
    for (std::size_t j = i; j < frames_.size(); ++j) chain += frames_[j].source->path() + " -> ";
    Fail(status::kConfigInclude, name, "including \"" + file + "\" here makes a cycle: " + chain + path);
  }
  std::string error;
  auto source = ConfigSource::FromFile(path, limits_.maxFileBytes, &error);
  if (!source) {
    Fail(status::kConfigInclude, name, "cannot read include file \"" + file + "\" (" + path + "): " + error);
  }
  if (totalBytes_ + source->bytesRead() > limits_.maxTotalBytes) {
    Fail(status::kConfigInclude, name,
         "including \"" + file + "\" goes over the limit of " + std::to_string(limits_.maxTotalBytes) +
             " bytes read in all");
  }
  Push(std::move(source));
}
