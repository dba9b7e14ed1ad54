// Heights as text, as printf("%.2f") and printf("%*.2f") write a float, at
// the speed a grid of millions of heights needs.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#include "text/number_text.h"

// Room formatHeight may need, for any float and width up to 11.
inline constexpr std::size_t kHeightTextCapacity = fixedTextCapacity(2, 11);

// Writes `value` as printf("%*.2f", width, value) does (width below 1: no
// padding) and returns the end of the text. out needs kHeightTextCapacity
// chars when width is at most 11.
//
// A float times 100 is exact in a double (24 + 7 significant bits), so the
// only rounding is that of the product to an integer, which adding and
// taking away 2^52 does, to the nearest and ties to even, just as printf
// rounds the exact value. Larger magnitudes, infinities and NaNs take the
// general path.
inline char* formatHeight(char* out, float value, int width = 0) {
  constexpr double kTwo52 = 4503599627370496.0;
  double scaled = std::fabs(static_cast<double>(value)) * 100.0;
  if (!(scaled < kTwo52)) return formatFixed(out, value, 2, width);
  std::uint64_t hundredths = static_cast<std::uint64_t>((scaled + kTwo52) - kTwo52);
  std::uint64_t whole = hundredths / 100;
  unsigned fraction = static_cast<unsigned>(hundredths % 100);
  bool negative = std::signbit(value);

  // The digits are written in place, whole part from its end backwards.
  int wholeDigits = 1;
  for (std::uint64_t limit = 10; wholeDigits < 15 && whole >= limit; limit *= 10) ++wholeDigits;
  int length = (negative ? 1 : 0) + wholeDigits + 3;
  if (width > length) {
    std::memset(out, ' ', static_cast<std::size_t>(width - length));
    out += width - length;
  }
  if (negative) *out++ = '-';
  char* point = out + wholeDigits;
  char* p = point;
  do {
    *--p = static_cast<char>('0' + whole % 10);
    whole /= 10;
  } while (p != out);
  point[0] = '.';
  point[1] = static_cast<char>('0' + fraction / 10);
  point[2] = static_cast<char>('0' + fraction % 10);
  return point + 3;
}
