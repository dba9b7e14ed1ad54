// Reading elevation text in place. The whole file is held in memory and ends
// in a zero byte; the data ends at the first zero byte. A reader keeps a
// read position that every line reader moves on, and never reads past the
// end of the data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

// Blanks between asc heights: space, tab, carriage return, line feed.
inline bool isAscBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
inline bool isAscBlankOrEnd(char c) { return isAscBlank(c) || c == '\0'; }

inline const char* skipAscBlanks(const char* p) {
  while (isAscBlank(*p)) ++p;
  return p;
}

namespace elevation_detail {
inline constexpr double kExactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                          1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19};
inline unsigned digitValue(char c) { return static_cast<unsigned char>(c - '0'); }
}  // namespace elevation_detail

// readAscValue for the text the fast path leaves: strtod's value.
const char* readAscValueSlowly(const char* p, float& value);

// Plain decimal text as the exports write it: an optional minus, digits and
// a point, at most 19 digits in all, followed by a blank or the end of the
// data. Sets `value` to strtod's value of it and returns its end; null for
// any other text. An integer significand up to 2^53 and a power of ten up
// to 10^19 are exact doubles, so the one division rounds exactly as strtod
// does.
inline const char* quickDecimal(const char* p, double& value) {
  using elevation_detail::digitValue;
  const char* q = p;
  bool negative = *q == '-';
  q += negative;
  // A longer run of digits wraps the significand around, harmlessly: the
  // count then refuses the text.
  std::uint64_t significand = 0;
  const char* digits = q;
  for (unsigned d; (d = digitValue(*q)) < 10; ++q) significand = significand * 10 + d;
  long count = q - digits;
  long fraction = 0;
  if (*q == '.') {
    ++q;
    unsigned d0 = digitValue(q[0]), d1;
    if (d0 < 10 && (d1 = digitValue(q[1])) < 10 && digitValue(q[2]) >= 10) {
      // Two decimals, the common case.
      significand = significand * 100 + d0 * 10 + d1;
      q += 2;
      fraction = 2;
    } else {
      const char* first = q;
      for (unsigned d; (d = digitValue(*q)) < 10; ++q) significand = significand * 10 + d;
      fraction = q - first;
    }
    count += fraction;
  }
  if (count < 1 || count > 19 || !isAscBlankOrEnd(*q) || significand > (std::uint64_t{1} << 53)) return nullptr;
  double v = static_cast<double>(significand) / elevation_detail::kExactPowers[fraction];
  value = negative ? -v : v;
  return q;
}

// Converts the height at p (which stands on neither a blank nor the end) as
// strtod does, narrowed to float, and returns the position of the next
// blank or of the end, wherever strtod stopped. Text other than plain
// decimals (a plus sign, an exponent, "nan", "inf", hexadecimal, junk) goes
// to the strtod-identical parser.
inline const char* readAscValue(const char* p, float& value) {
  double quick;
  if (const char* end = quickDecimal(p, quick)) {
    value = static_cast<float>(quick);
    return end;
  }
  return readAscValueSlowly(p, value);
}

// One row of the asc body: reads `columns` heights into `heights`, skipping
// the blanks after each. `p` must stand on a non-blank. Stops early when the
// end of the data follows a height; `stored` then counts the heights read.
struct AscRow {
  long stored = 0;
  bool atEnd = false;
};
AscRow readAscRow(const char*& p, float* heights, long columns);

struct XyzPoint {
  float x = 0, y = 0, z = 0;
};

class ElevationText {
 public:
  // Longest header line and xyz line kept; the rest of a longer line is
  // passed over unread.
  static constexpr std::size_t kHeaderLineMax = 2000;
  static constexpr std::size_t kXyzLineMax = 200;

  // `text` is the zero-terminated file in memory; `shownName` names the
  // file in messages.
  ElevationText(const char* text, std::string shownName);

  const char* start() const { return start_; }
  const char* position() const { return position_; }
  void setPosition(const char* p) { position_ = p; }
  void rewind() { position_ = start_; }
  bool atEnd() const { return *position_ == '\0'; }
  const std::string& shownName() const { return shownName_; }

  // A header line "<key><value>": echoes the line on standard output and
  // compares its start with `key` (ASCII case ignored). The value is read
  // with strtol base 10 or strtod narrowed to float. A line of another key
  // gives -1 after "Unknown int format of asc file" or "Unknown float format
  // of asc file" on standard error. With no line left, the same message is
  // written (an empty line is no key's line) and nothing is given.
  std::optional<long> readHeaderInt(const char* key);
  std::optional<float> readHeaderFloat(const char* key);
  // Says that the header ends before the line of `key`.
  void reportHeaderEnd(const char* key) const;

  // The next line as a point: x from the line's start, y and z each after
  // skipping past the number before (to its first digit, then over digits
  // and points), each read with strtod narrowed to float. False when no line
  // is left.
  bool readXyzLine(XyzPoint& point);

 private:
  // Copies the line at the read position (up to its carriage return, at
  // most `capacity` - 1 characters) into `buffer` and moves past the
  // carriage return and the character after it. False at the end of data.
  bool readLine(char* buffer, std::size_t capacity);
  // Reads and echoes the header line for `key` into `line`; when it is that
  // key's line, `value` points at the text after the key.
  enum class HeaderLine { Found, OtherKey, Missing };
  HeaderLine headerLine(const char* key, const char* mismatchMessage, char* line, const char*& value);

  const char* start_;
  const char* position_;
  std::string shownName_;
};
