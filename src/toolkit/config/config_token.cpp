#include "config/config_token.h"

#include <cstring>

std::string DescribeToken(const Token& token) {
  constexpr std::size_t kShown = 40;
  if (token.kind == TokenKind::kEnd) return "end of file";
  std::string_view text = token.text;
  std::string shown(text.substr(0, kShown));
  if (text.size() > kShown) shown += "...";
  if (token.kind == TokenKind::kString) return "string " + shown;
  return "'" + shown + "'";
}

std::string_view TextArena::Store(std::string_view text) {
  total_ += text.size();
  if (text.size() > kOwnBlockFrom) {
    blocks_.push_back(std::make_unique<char[]>(text.size() + 1));
    std::memcpy(blocks_.back().get(), text.data(), text.size());
    return {blocks_.back().get(), text.size()};
  }
  if (!current_ || capacity_ - used_ < text.size()) {
    blocks_.push_back(std::make_unique<char[]>(kBlock));
    current_ = blocks_.back().get();
    used_ = 0;
    capacity_ = kBlock;
  }
  char* at = current_ + used_;
  std::memcpy(at, text.data(), text.size());
  used_ += text.size();
  return {at, text.size()};
}
