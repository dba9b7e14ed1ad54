// Conversions between doubles and decimal text that give byte for byte what
// the C library gives in the C locale (printf "%W.Pf" and strtod), only much
// faster, so text exports and imports of millions of numbers stay cheap.
// Nothing here looks at the locale: the decimal point is always '.'.
// Both directions assume the default rounding mode (round to nearest).
#pragma once

#include <cstddef>
#include <string>

inline constexpr int kMaxFixedPrecision = 100;

// Room that formatFixed may use: sign, the 309 integer digits of DBL_MAX,
// the point and the fraction digits, or the field width if that is larger.
constexpr std::size_t fixedTextCapacity(int precision, int width = 0) {
  std::size_t longest = 311 + static_cast<std::size_t>(precision < 0 ? 6 : precision);
  std::size_t field = width > 0 ? static_cast<std::size_t>(width) : 0;
  return field > longest ? field : longest;
}

// Writes value as printf("%*.*f", width, precision, value) does and returns
// the end of the text (no terminating NUL). out must have room for
// fixedTextCapacity(precision, width) chars. A width below 1 pads nothing
// (there is no left alignment). A negative precision means 6, as in printf;
// more than kMaxFixedPrecision is cut to it. A float argument is widened
// first, as printf's variable arguments are. Negative values, negative zero
// and negative values that round to zero keep their '-'; infinities and NaNs
// come out as "inf", "-inf", "nan" and "-nan" (a NaN with its sign bit set).
char* formatFixed(char* out, double value, int precision, int width = 0);

// The same as a string, for messages and tests.
std::string fixedText(double value, int precision, int width = 0);

// Reads a number as strtod does in the C locale: the same value and the same
// end for every text, including leading white space, a sign, decimal and
// hexadecimal forms, "inf", "infinity", "nan" and "nan(chars)" in any case.
// Where no number starts the text, returns 0 and sets *end to text. end may
// be null. Plain decimal text takes a fast path; the rare forms are handed
// to the C library with the C locale.
double parseDouble(const char* text, const char** end);

// The same for float, rounding the text once as strtof does (not through a
// double, which could round twice).
float parseFloat(const char* text, const char** end);
