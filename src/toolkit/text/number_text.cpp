#include "text/number_text.h"

#include <bit>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <locale.h>
#include <system_error>
#include <type_traits>

namespace {

constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

constexpr std::uint64_t kPow10[20] = {1ull,
                                      10ull,
                                      100ull,
                                      1000ull,
                                      10000ull,
                                      100000ull,
                                      1000000ull,
                                      10000000ull,
                                      100000000ull,
                                      1000000000ull,
                                      10000000000ull,
                                      100000000000ull,
                                      1000000000000ull,
                                      10000000000000ull,
                                      100000000000000ull,
                                      1000000000000000ull,
                                      10000000000000000ull,
                                      100000000000000000ull,
                                      1000000000000000000ull,
                                      10000000000000000000ull};

// Largest precision whose scaled mantissa (below 2^53 * 10^17 < 2^110) still
// fits the 128-bit product of the exact rounding below.
constexpr int kExactPrecision = 17;

int decimalDigits(std::uint64_t v) {
  // bit_width * log10(2), corrected by one comparison.
  int guess = (std::bit_width(v | 1) * 1233) >> 12;
  return guess + ((v | 1) >= kPow10[guess] ? 1 : 0);
}

// Writes exactly count digits of v (leading zeros included) ending at end.
void putDigitsBackward(char* end, std::uint64_t v, int count) {
  while (count >= 2) {
    end -= 2;
    std::memcpy(end, kDigitPairs + 2 * (v % 100), 2);
    v /= 100;
    count -= 2;
  }
  if (count > 0) *--end = static_cast<char>('0' + v % 10);
}

// Rounds |value| * 10^precision to an integer, ties to the even neighbour as
// printf does, working on the exact binary value m * 2^e. Fails when the
// result does not fit 64 bits.
inline bool scaledMagnitude(std::uint64_t bits, int precision, std::uint64_t& scaled) {
  int biased = static_cast<int>((bits >> 52) & 0x7ff);
  std::uint64_t mantissa = bits & ((std::uint64_t{1} << 52) - 1);
  int exponent = -1074;
  if (biased != 0) {
    mantissa |= std::uint64_t{1} << 52;
    exponent = biased - 1075;
  }
  if (exponent >= 0) {
    // An integer: representable exactly, nothing to round.
    if (exponent > 11) return false;
    unsigned __int128 whole = static_cast<unsigned __int128>(mantissa << exponent) * kPow10[precision];
    if (whole >> 64) return false;
    scaled = static_cast<std::uint64_t>(whole);
    return true;
  }
  unsigned __int128 product = static_cast<unsigned __int128>(mantissa) * kPow10[precision];
  int shift = -exponent;
  if (shift >= 128) {
    // product < 2^110, so the value is below half a unit of the last place.
    scaled = 0;
    return true;
  }
  unsigned __int128 quotient = product >> shift;
  if (quotient >> 64) return false;
  unsigned __int128 rest = product - (quotient << shift);
  unsigned __int128 half = static_cast<unsigned __int128>(1) << (shift - 1);
  std::uint64_t q = static_cast<std::uint64_t>(quotient);
  // q + 1 cannot wrap: that would need a double whose value times 10^p lies
  // within half a unit below 2^64, and for no precision up to 17 and no
  // exponent does one exist.
  if (rest > half || (rest == half && (q & 1))) ++q;
  scaled = q;
  return true;
}

// Puts text of length len right-aligned in a field of width blanks.
char* padded(char* out, const char* text, std::size_t len, int width) {
  if (width > 0 && static_cast<std::size_t>(width) > len) {
    std::size_t pad = static_cast<std::size_t>(width) - len;
    std::memset(out, ' ', pad);
    out += pad;
  }
  std::memcpy(out, text, len);
  return out + len;
}

char* formatSpecial(char* out, double value, int width) {
  char text[5];
  std::size_t len = 0;
  if (std::signbit(value)) text[len++] = '-';
  std::memcpy(text + len, std::isnan(value) ? "nan" : "inf", 3);
  return padded(out, text, len + 3, width);
}

// Any magnitude and precision, through the library's exact conversion.
char* formatGeneral(char* out, double value, int precision, int width) {
  char text[fixedTextCapacity(kMaxFixedPrecision)];
  char* p = text;
  if (std::signbit(value)) *p++ = '-';
  auto result = std::to_chars(p, text + sizeof text, std::fabs(value), std::chars_format::fixed, precision);
  return padded(out, text, static_cast<std::size_t>(result.ptr - text), width);
}

}  // namespace

namespace {

// The body of formatFixed. Instantiated for the precisions the exports
// write (2 for coordinates, 6 for transform rows, as printf's "%f"), whose
// divisions by 100 and 10^6 become multiplications, and once for any.
template <int kPrecision>
char* formatFixedWith(char* out, double value, int anyPrecision, int width) {
  const int precision = kPrecision >= 0 ? kPrecision : anyPrecision;
  std::uint64_t bits = std::bit_cast<std::uint64_t>(value);
  if (((bits >> 52) & 0x7ff) == 0x7ff) return formatSpecial(out, value, width);
  std::uint64_t scaled;
  if (precision > kExactPrecision || !scaledMagnitude(bits, precision, scaled)) {
    return formatGeneral(out, value, precision, width);
  }
  std::uint64_t whole = scaled / kPow10[precision];
  std::uint64_t fraction = scaled % kPow10[precision];
  bool negative = (bits >> 63) != 0;
  int wholeDigits = decimalDigits(whole);
  int len = (negative ? 1 : 0) + wholeDigits + (precision > 0 ? precision + 1 : 0);
  if (width > len) {
    std::memset(out, ' ', static_cast<std::size_t>(width - len));
    out += width - len;
  }
  if (negative) *out++ = '-';
  putDigitsBackward(out + wholeDigits, whole, wholeDigits);
  out += wholeDigits;
  if (precision > 0) {
    *out++ = '.';
    putDigitsBackward(out + precision, fraction, precision);
    out += precision;
  }
  return out;
}

}  // namespace

char* formatFixed(char* out, double value, int precision, int width) {
  if (precision == 2) return formatFixedWith<2>(out, value, 2, width);
  if (precision == 6 || precision < 0) return formatFixedWith<6>(out, value, 6, width);
  if (precision > kMaxFixedPrecision) precision = kMaxFixedPrecision;
  return formatFixedWith<-1>(out, value, precision, width);
}

std::string fixedText(double value, int precision, int width) {
  std::string text(fixedTextCapacity(precision, width), '\0');
  char* end = formatFixed(text.data(), value, precision, width);
  text.resize(static_cast<std::size_t>(end - text.data()));
  return text;
}

namespace {

bool isDigit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

// isspace in the C locale: blank, \t, \n, \v, \f, \r.
bool isSpace(char c) { return c == ' ' || static_cast<unsigned char>(c - '\t') < 5; }

locale_t cLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  return locale;
}

// The plain decimal form: digits, an optional point and more digits (at
// least one digit in all), an optional exponent that counts only when it
// has digits. When at most 19 significant digits appear and the exponent is
// moderate, the value is also kept as significand * 10^exponent10.
struct Decimal {
  const char* begin = nullptr;  // after the sign
  const char* end = nullptr;
  bool negative = false;
  bool fitsWord = true;  // significand holds every significant digit
  std::uint64_t significand = 0;
  long long exponent10 = 0;
};

// Returns false when the text is not plain decimal: no digits, hexadecimal,
// an infinity or a NaN; those go to the C library.
bool scanDecimal(const char* text, Decimal& d) {
  const char* p = text;
  while (isSpace(*p)) ++p;
  if (*p == '-' || *p == '+') d.negative = *p++ == '-';
  d.begin = p;
  if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) return false;
  int significant = 0;
  bool anyDigit = false;
  for (; isDigit(*p); ++p) {
    anyDigit = true;
    if (significant == 0 && *p == '0') continue;
    if (significant < 19) {
      d.significand = d.significand * 10 + static_cast<unsigned>(*p - '0');
      ++significant;
    } else {
      d.fitsWord = false;
    }
  }
  if (*p == '.') {
    for (++p; isDigit(*p); ++p) {
      anyDigit = true;
      if (!d.fitsWord) continue;
      if (significant == 0 && *p == '0') {
        --d.exponent10;
      } else if (significant < 19) {
        d.significand = d.significand * 10 + static_cast<unsigned>(*p - '0');
        ++significant;
        --d.exponent10;
      } else {
        d.fitsWord = false;
      }
    }
  }
  if (!anyDigit) return false;
  if (*p == 'e' || *p == 'E') {
    const char* q = p + 1;
    bool negativeExponent = false;
    if (*q == '-' || *q == '+') negativeExponent = *q++ == '-';
    if (isDigit(*q)) {
      long long written = 0;
      for (; isDigit(*q); ++q) {
        if (written < 1000000) written = written * 10 + (*q - '0');
      }
      d.exponent10 += negativeExponent ? -written : written;
      p = q;
    }
  }
  d.end = p;
  return true;
}

constexpr double kExactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// A significand below 2^53 and a power of ten up to 10^22 are both exact
// doubles, so one multiplication or division rounds correctly, as strtod.
bool exactQuotient(const Decimal& d, double& value) {
  if (!d.fitsWord) return false;
  if (d.significand == 0) {
    value = 0.0;
    return true;
  }
  if (d.significand > (std::uint64_t{1} << 53) || d.exponent10 < -22 || d.exponent10 > 22) return false;
  double s = static_cast<double>(d.significand);
  value = d.exponent10 < 0 ? s / kExactPowers[-d.exponent10] : s * kExactPowers[d.exponent10];
  return true;
}

template <typename Real>
bool parseDecimal(const char* text, Real& value, const char*& end) {
  Decimal d;
  if (!scanDecimal(text, d)) return false;
  double quick;
  if (std::is_same_v<Real, double> && exactQuotient(d, quick)) {
    value = static_cast<Real>(quick);
  } else {
    auto result = std::from_chars(d.begin, d.end, value, std::chars_format::general);
    // Overflow, underflow and any disagreement about the extent go to the
    // C library, which decides them.
    if (result.ec != std::errc() || result.ptr != d.end) return false;
  }
  if (d.negative) value = -value;
  end = d.end;
  return true;
}

}  // namespace

double parseDouble(const char* text, const char** end) {
  double value;
  const char* stop;
  if (!parseDecimal(text, value, stop)) {
    char* libraryEnd;
    value = strtod_l(text, &libraryEnd, cLocale());
    stop = libraryEnd;
  }
  if (end) *end = stop;
  return value;
}

float parseFloat(const char* text, const char** end) {
  float value;
  const char* stop;
  if (!parseDecimal(text, value, stop)) {
    char* libraryEnd;
    value = strtof_l(text, &libraryEnd, cLocale());
    stop = libraryEnd;
  }
  if (end) *end = stop;
  return value;
}
