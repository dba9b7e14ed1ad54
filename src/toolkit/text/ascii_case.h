// Names compared the way the editor compares them: the ASCII letters A to Z
// without regard to case, every other byte (UTF-8 sequences included) as it
// is.
#pragma once

#include <string>
#include <string_view>

constexpr char foldAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

inline std::string foldedAscii(std::string_view text) {
  std::string folded(text);
  for (char& c : folded) c = foldAscii(c);
  return folded;
}
