#include "config/config_lexer.h"

#include <array>

#include "config/config_error.h"
#include "config/config_source.h"
#include "status.h"

namespace {

enum CharClass : std::uint8_t {
  kIdentStart = 1,  // may start a word
  kIdentRest = 2,   // may continue a word or a number
  kDigit = 4,
  kBlank = 8,       // blank other than the line end
};

constexpr std::array<std::uint8_t, 256> MakeClasses() {
  std::array<std::uint8_t, 256> classes{};
  for (int c = 0; c < 256; ++c) {
    bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c >= 0x80;
    bool digit = c >= '0' && c <= '9';
    std::uint8_t v = 0;
    if (letter) v |= kIdentStart | kIdentRest;
    if (digit) v |= kIdentRest | kDigit;
    if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') v |= kBlank;
    classes[static_cast<std::size_t>(c)] = v;
  }
  return classes;
}

constexpr std::array<std::uint8_t, 256> kClasses = MakeClasses();

inline bool Has(char c, std::uint8_t what) {
  return (kClasses[static_cast<unsigned char>(c)] & what) != 0;
}

}  // namespace

ConfigLexer::ConfigLexer(std::string_view text, std::uint32_t fileId, const ConfigSource* source)
    : text_(text), fileId_(fileId), source_(source) {}

void ConfigLexer::Fail(std::size_t offset, const std::string& message) const {
  if (!source_) throw ConfigError(status::kConfigSyntax, message);
  throw ConfigError(status::kConfigSyntax, source_->Describe(offset) + ": " + message);
}

void ConfigLexer::SkipBlockComment() {
  std::size_t start = pos_;
  std::size_t end = text_.find("*/", pos_ + 2);
  if (end == std::string_view::npos) Fail(start, "unterminated comment: '/*' has no closing '*/'");
  pos_ = end + 2;
}

void ConfigLexer::SkipBlanksAndComments(bool crossLines) {
  const std::size_t n = text_.size();
  while (pos_ < n) {
    char c = text_[pos_];
    if (Has(c, kBlank)) {
      ++pos_;
    } else if (c == '\n' && crossLines) {
      lineStart_ = true;
      ++pos_;
    } else if (c == '/' && pos_ + 1 < n && text_[pos_ + 1] == '/') {
      std::size_t end = text_.find('\n', pos_);
      pos_ = end == std::string_view::npos ? n : end;
    } else if (c == '/' && pos_ + 1 < n && text_[pos_ + 1] == '*') {
      SkipBlockComment();
    } else {
      return;
    }
  }
}

Token ConfigLexer::Next() {
  std::size_t before = pos_;
  SkipBlanksAndComments(true);
  const std::size_t n = text_.size();
  Token token;
  token.file = fileId_;
  token.offset = static_cast<std::uint32_t>(pos_);
  token.lineStart = lineStart_;
  token.spaceBefore = pos_ != before;
  if (pos_ >= n) {
    token.kind = TokenKind::kEnd;
    return token;
  }
  lineStart_ = false;
  const std::size_t start = pos_;
  const char c = text_[pos_];
  const char next = pos_ + 1 < n ? text_[pos_ + 1] : '\0';
  if (Has(c, kIdentStart)) {
    token.kind = TokenKind::kIdent;
    do ++pos_;
    while (pos_ < n && Has(text_[pos_], kIdentRest));
  } else if (Has(c, kDigit) || (c == '.' && Has(next, kDigit))) {
    // A number in the wide sense (as the C preprocessor reads one): digits,
    // letters, dots and an exponent sign. The parser decides what it is.
    token.kind = TokenKind::kNumber;
    bool hex = c == '0' && (next == 'x' || next == 'X');
    ++pos_;
    while (pos_ < n) {
      char d = text_[pos_];
      if (Has(d, kIdentRest) || d == '.') {
        ++pos_;
      } else if ((d == '+' || d == '-') && !hex && (text_[pos_ - 1] == 'e' || text_[pos_ - 1] == 'E')) {
        ++pos_;
      } else {
        break;
      }
    }
  } else if (c == '"') {
    token.kind = TokenKind::kString;
    ++pos_;
    for (;;) {
      if (pos_ >= n || text_[pos_] == '\n') {
        Fail(start, pos_ >= n ? "unterminated string: no closing '\"' before the end of the file"
                              : "unterminated string: no closing '\"' before the end of the line");
      }
      if (text_[pos_] == '"') {
        if (pos_ + 1 < n && text_[pos_ + 1] == '"') {
          pos_ += 2;
          continue;
        }
        ++pos_;
        break;
      }
      ++pos_;
    }
  } else {
    token.kind = TokenKind::kPunct;
    pos_ += ((c == '#' && next == '#') || (c == '+' && next == '=')) ? 2 : 1;
  }
  token.text = text_.substr(start, pos_ - start);
  return token;
}

bool ConfigLexer::AtLineEnd() {
  SkipBlanksAndComments(false);
  return pos_ >= text_.size() || text_[pos_] == '\n';
}

void ConfigLexer::SkipRestOfLine() {
  const std::size_t n = text_.size();
  while (pos_ < n) {
    char c = text_[pos_];
    if (c == '\n') {
      ++pos_;
      lineStart_ = true;
      return;
    }
    if (c == '/' && pos_ + 1 < n && (text_[pos_ + 1] == '/' || text_[pos_ + 1] == '*')) {
      SkipBlanksAndComments(false);
    } else if (c == '"') {
      // A quote on a line that is left out may be unmatched; the string then
      // just ends with the line.
      ++pos_;
      while (pos_ < n && text_[pos_] != '"' && text_[pos_] != '\n') ++pos_;
      if (pos_ < n && text_[pos_] == '"') ++pos_;
    } else {
      ++pos_;
    }
  }
}

std::string_view ConfigLexer::SkipLine(std::uint32_t* hashOffset) {
  SkipBlanksAndComments(false);
  const std::size_t n = text_.size();
  if (pos_ < n && text_[pos_] == '#') {
    *hashOffset = static_cast<std::uint32_t>(pos_);
    ++pos_;
    SkipBlanksAndComments(false);
    std::size_t start = pos_;
    while (pos_ < n && Has(text_[pos_], kIdentRest)) ++pos_;
    if (pos_ > start) return text_.substr(start, pos_ - start);
  }
  SkipRestOfLine();
  return {};
}
