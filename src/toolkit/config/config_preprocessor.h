// The preprocessor of the config reader: reads the main text and the files it
// includes, carries out the directives (#define, #undef, #include, #ifdef,
// #ifndef, #else, #endif) and hands the parser the tokens that remain, with
// macros expanded. Directives it does not know are errors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "config/config_lexer.h"
#include "config/config_limits.h"
#include "config/config_macro_expander.h"
#include "config/config_source.h"
#include "config/config_token.h"

class ConfigPreprocessor : private ConfigTokenSource {
 public:
  explicit ConfigPreprocessor(const ConfigLimits& limits);
  ConfigPreprocessor(const ConfigPreprocessor&) = delete;
  ConfigPreprocessor& operator=(const ConfigPreprocessor&) = delete;

  // Starts on the main text. `name` names the text in messages and gives the
  // folder that #include paths are taken relative to.
  void OpenFile(const std::string& path);
  void OpenBuffer(const std::string& name, std::string_view bytes);

  // The next token for the parser; kEnd (repeatedly) at the end of the main text.
  Token Next();

  // "file:line:col" of a token.
  std::string Where(const Token& token) const override;

 private:
  struct Conditional {
    Token directive;         // the '#' of its #ifdef or #ifndef
    std::string words;       // "#ifdef NAME", for messages
    bool inElse = false;
  };
  struct Frame {
    const ConfigSource* source;
    std::uint32_t fileId;
    ConfigLexer lexer;
    std::vector<Conditional> conditionals;  // open in this file
  };

  Token ReadSourceToken() override;
  void Push(std::unique_ptr<ConfigSource> source);
  bool LeaveFile();
  void Directive(const Token& hash);
  void Define();
  void Include(const Token& hash);
  void IfDefined(const Token& hash, const Token& word, bool wantDefined);
  void Else(const Token& hash);
  void SkipGroup();
  Token LineToken();
  Token HashAt(std::uint32_t offset) const;
  void ExpectLineEnd(const std::string& after);
  std::string ResolveInclude(const Token& name, const std::string& file) const;
  [[noreturn]] void Fail(int status, const Token& at, const std::string& message) const;

  const ConfigLimits& limits_;
  std::vector<std::unique_ptr<ConfigSource>> sources_;  // every text read, by file id
  std::vector<Frame> frames_;                           // the texts open now, innermost last
  MacroExpander expander_;
  std::size_t totalBytes_ = 0;
};
