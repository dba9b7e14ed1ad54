// Tokens of a config text as the lexer, the preprocessor and the parser pass
// them along, and the storage for texts the preprocessor makes up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct ConfigMacro;

// The macros a token came out of. A macro in this set is not expanded again
// for that token, which is what stops a macro from re-expanding inside its own
// expansion. Nodes are shared between tokens and never change once made.
struct HideSet {
  const ConfigMacro* macro;
  const HideSet* next;
  std::uint32_t size;
};

enum class TokenKind : std::uint8_t {
  kEnd,          // end of the file (or of a macro argument being expanded)
  kIdent,        // letters, digits, '_' and bytes from 0x80 up; not starting with a digit
  kNumber,       // starts with a digit or ".digit"; checked by the parser
  kString,       // "..." with "" for a quote inside, or '...' with ''; text keeps the quotes
  kPunct,        // one character, or "##" or "+="
  kPlacemarker,  // an empty macro argument next to "##"; never leaves the expander
};

struct Token {
  std::string_view text;
  const HideSet* hide = nullptr;
  std::uint32_t file = 0;    // where the token was read; for macro output, where the macro was used
  std::uint32_t offset = 0;  // byte offset into that file's text
  TokenKind kind = TokenKind::kEnd;
  bool lineStart = false;    // first token of its line
  bool spaceBefore = false;  // blanks or a comment before it
  bool fromMacro = false;    // made by a macro expansion
  // Spaces and tabs right before the token in its text (the bytes just before
  // text.data()) when nothing else stands between it and the token before;
  // 0 otherwise, spaceBefore then tells whether it was set apart. Lets a
  // stringized argument keep the blanks as written.
  std::uint16_t blanks = 0;

  bool Is(char c) const { return kind == TokenKind::kPunct && text.size() == 1 && text[0] == c; }
  bool IsPunct(std::string_view p) const { return kind == TokenKind::kPunct && text == p; }
  bool IsWord(std::string_view w) const { return kind == TokenKind::kIdent && text == w; }
};

// How a token is named in a message: 'x', string "...", end of file. Long
// spellings are shortened.
std::string DescribeToken(const Token& token);

// Keeps texts the preprocessor builds (stringized arguments, pasted tokens)
// at stable addresses for the tokens that point at them.
class TextArena {
 public:
  std::string_view Store(std::string_view text);
  std::size_t bytes() const { return total_; }

 private:
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* current_ = nullptr;  // the shared block small texts go into
  std::size_t used_ = 0;
  std::size_t capacity_ = 0;
  std::size_t total_ = 0;

  // Small texts share blocks of this size; a text over a quarter of it gets
  // a block of its own, so little of a shared block is left unused.
  static constexpr std::size_t kBlock = std::size_t{64} << 10;
  static constexpr std::size_t kOwnBlockFrom = kBlock / 4;
};
