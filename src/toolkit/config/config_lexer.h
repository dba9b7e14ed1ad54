// Splits a config text into tokens. Blanks and comments ("//" to the line end,
// "/* */" across lines) separate tokens and are reported only through the
// lineStart and spaceBefore flags, which the preprocessor needs to find
// directives and to rebuild spellings. Strings end at their closing quote on
// the same line; a doubled quote "" stands for a quote inside.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "config/config_token.h"

class ConfigSource;

class ConfigLexer {
 public:
  // `source` names places in messages and may be null for a scratch text (the
  // lexer then throws its errors without a place).
  ConfigLexer(std::string_view text, std::uint32_t fileId, const ConfigSource* source);

  // The next token, or a kEnd token (again and again) at the end of the text.
  Token Next();

  // Skips blanks and comments up to the line end without passing it; true when
  // nothing else is left on the line. Used to end directive lines.
  bool AtLineEnd();

  // For lines inside a conditional group that is left out: when the line is a
  // directive, returns its name and stops just after it; otherwise returns ""
  // and moves to the start of the next line. `hashOffset` gets the place of
  // the '#'. Quotes are not checked on lines that are left out.
  std::string_view SkipLine(std::uint32_t* hashOffset);
  // Moves past the rest of the current line and its line end.
  void SkipRestOfLine();

  bool AtEnd() const { return pos_ >= text_.size(); }
  std::uint32_t offset() const { return static_cast<std::uint32_t>(pos_); }

 private:
  void SkipBlockComment();
  void SkipBlanksAndComments(bool crossLines);
  [[noreturn]] void Fail(std::size_t offset, const std::string& message) const;

  std::string_view text_;
  std::size_t pos_ = 0;
  std::uint32_t fileId_;
  const ConfigSource* source_;
  bool lineStart_ = true;
};
