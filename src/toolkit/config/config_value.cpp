#include "config/config_value.h"

#include <cstdint>

namespace {

constexpr std::uint64_t kMax32 = 0xFFFFFFFFu;

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads digits of the base into `value`; false when a byte is no digit or the
// value grows past 32 bits.
bool ReadMagnitude(std::string_view digits, int base, std::uint64_t* value) {
  if (digits.empty()) return false;
  std::uint64_t v = 0;
  for (char c : digits) {
    int d = HexDigit(c);
    if (d < 0 || d >= base) return false;
    v = v * static_cast<unsigned>(base) + static_cast<unsigned>(d);
    if (v > kMax32) return false;
  }
  *value = v;
  return true;
}

}  // namespace

std::string ConfigNumberText(std::string_view spelling, bool negative) {
  std::uint64_t magnitude = 0;
  bool hex = spelling.size() > 2 && spelling[0] == '0' && (spelling[1] == 'x' || spelling[1] == 'X');
  if (hex && ReadMagnitude(spelling.substr(2), 16, &magnitude)) {
    auto v = static_cast<std::uint32_t>(magnitude);
    if (negative) v = 0u - v;
    return std::to_string(static_cast<std::int32_t>(v));
  }
  if (!hex && ReadMagnitude(spelling, 10, &magnitude)) {
    if (!negative) return std::to_string(static_cast<std::int32_t>(static_cast<std::uint32_t>(magnitude)));
    if (magnitude <= 0x80000000u) return std::to_string(-static_cast<std::int64_t>(magnitude));
  }
  std::string text;
  text.reserve(spelling.size() + 1);
  if (negative) text += '-';
  text += spelling;
  return text;
}

std::string_view ConfigStringText(std::string_view spelling, std::string* scratch) {
  std::string_view inner = spelling.substr(1, spelling.size() - 2);
  std::size_t quote = inner.find('"');
  if (quote == std::string_view::npos) return inner;
  scratch->assign(inner.substr(0, quote));
  for (std::size_t i = quote; i < inner.size(); ++i) {
    *scratch += inner[i];
    if (inner[i] == '"') ++i;  // the lexer only lets quotes through in pairs
  }
  return *scratch;
}
