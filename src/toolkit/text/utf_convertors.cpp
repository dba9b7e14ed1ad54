#include "text/utf_convertors.h"

#include <langinfo.h>
#include <locale.h>

#include <cstring>

#include "text/ascii_case.h"

namespace utfConvertors {
namespace {

// Windows-1252 0x80..0x9F. Bytes the code page leaves undefined keep their
// C1 control code point, as Windows itself maps them.
constexpr char32_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// The eight positions where ISO-8859-15 differs from ISO-8859-1.
struct Latin9Change {
  unsigned char byte;
  char32_t codePoint;
};
constexpr Latin9Change kLatin9Changes[8] = {
    {0xA4, 0x20AC}, {0xA6, 0x0160}, {0xA8, 0x0161}, {0xB4, 0x017D},
    {0xB8, 0x017E}, {0xBC, 0x0152}, {0xBD, 0x0153}, {0xBE, 0x0178}};

enum class Target { PassThrough, Latin1, Latin9, Cp1252 };

Target targetOf(const char* charset) {
  std::string name;
  for (const char* p = charset ? charset : ""; *p; ++p) {
    char c = *p;
    if (c == '-' || c == '_' || c == ' ') continue;
    name += foldAscii(c);
  }
  if (name == "iso88591" || name == "latin1") return Target::Latin1;
  if (name == "iso885915" || name == "latin9") return Target::Latin9;
  if (name == "cp1252" || name == "windows1252") return Target::Cp1252;
  return Target::PassThrough;  // UTF-8, ASCII and anything we cannot produce
}

// Decodes one UTF-8 sequence at text[i]; returns its length, 0 when invalid.
std::size_t decode(const unsigned char* text, std::size_t length, std::size_t i, char32_t& out) {
  unsigned char lead = text[i];
  if (lead < 0x80) {
    out = lead;
    return 1;
  }
  std::size_t count;
  char32_t value, minimum;
  if ((lead & 0xE0) == 0xC0) {
    count = 2, value = lead & 0x1F, minimum = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    count = 3, value = lead & 0x0F, minimum = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    count = 4, value = lead & 0x07, minimum = 0x10000;
  } else {
    return 0;
  }
  if (i + count > length) return 0;
  for (std::size_t k = 1; k < count; ++k) {
    if ((text[i + k] & 0xC0) != 0x80) return 0;
    value = (value << 6) | (text[i + k] & 0x3F);
  }
  if (value < minimum || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return 0;
  out = value;
  return count;
}

char encodeByte(char32_t cp, Target target) {
  if (cp < 0x80) return static_cast<char>(cp);
  switch (target) {
    case Target::Latin1:
      return cp < 0x100 ? static_cast<char>(cp) : '?';
    case Target::Latin9:
      for (const auto& change : kLatin9Changes) {
        if (change.codePoint == cp) return static_cast<char>(change.byte);
        if (change.byte == cp) return '?';  // replaced in this set
      }
      return cp < 0x100 ? static_cast<char>(cp) : '?';
    case Target::Cp1252:
      if (cp >= 0xA0 && cp < 0x100) return static_cast<char>(cp);
      for (int k = 0; k < 32; ++k) {
        if (kCp1252High[k] == cp) return static_cast<char>(0x80 + k);
      }
      return '?';
    case Target::PassThrough:
      break;
  }
  return '?';
}

void appendUtf8(std::string& out, char32_t cp) {
  if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = 0xFFFD;
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

char32_t cp1252CodePoint(unsigned char byte) {
  return (byte >= 0x80 && byte < 0xA0) ? kCp1252High[byte - 0x80] : byte;
}

std::size_t lengthOf(const char* text, int length) {
  return length < 0 ? std::strlen(text) : static_cast<std::size_t>(length);
}

}  // namespace

bool is_valid_utf8(const char* text, std::size_t length) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  char32_t ignored;
  for (std::size_t i = 0; i < length;) {
    std::size_t step = decode(bytes, length, i, ignored);
    if (step == 0) return false;
    i += step;
  }
  return true;
}

std::string convert_for_charset(const char* utf8, const char* charset) {
  if (!utf8) return {};
  std::size_t length = std::strlen(utf8);
  Target target = targetOf(charset);
  if (target == Target::PassThrough || !is_valid_utf8(utf8, length)) return std::string(utf8, length);
  const auto* bytes = reinterpret_cast<const unsigned char*>(utf8);
  std::string out;
  out.reserve(length);
  for (std::size_t i = 0; i < length;) {
    char32_t cp = 0;
    i += decode(bytes, length, i, cp);
    out += encodeByte(cp, target);
  }
  return out;
}

const char* console_charset() {
  // Looked up through a private locale object so the process keeps the "C"
  // locale for everything else (numbers must print with a decimal point).
  static const std::string charset = [] {
    std::string name = "ANSI_X3.4-1968";
    locale_t console = newlocale(LC_CTYPE_MASK, "", static_cast<locale_t>(0));
    if (console != static_cast<locale_t>(0)) {
      const char* codeset = nl_langinfo_l(CODESET, console);
      if (codeset && *codeset) name = codeset;
      freelocale(console);
    }
    return name;
  }();
  return charset.c_str();
}

std::string convert_if_local_codepage(const char* utf8) {
  return convert_for_charset(utf8, console_charset());
}

std::string sbcs_to_utf8(const char* text, std::size_t length) {
  std::string out;
  if (!text) return out;
  out.reserve(length);
  for (std::size_t i = 0; i < length; ++i) appendUtf8(out, cp1252CodePoint(static_cast<unsigned char>(text[i])));
  return out;
}

std::wstring sbcs_to_unicode(const char* text, int length) {
  std::wstring out;
  if (!text) return out;
  std::size_t count = lengthOf(text, length);
  out.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    out += static_cast<wchar_t>(cp1252CodePoint(static_cast<unsigned char>(text[i])));
  }
  return out;
}

std::string unicode_to_utf8(const wchar_t* text) {
  std::string out;
  if (!text) return out;
  for (; *text; ++text) appendUtf8(out, static_cast<char32_t>(*text));
  return out;
}

}  // namespace utfConvertors
