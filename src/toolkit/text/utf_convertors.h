// Conversions between the program's UTF-8 text, the single-byte code page
// of project files (Windows-1252), wide text, and the console's character set.
#pragma once

#include <cstddef>
#include <string>

namespace utfConvertors {

// The text as the console should receive it. The console's character set is
// taken from the LC_CTYPE setting of the environment (LC_ALL, LC_CTYPE, LANG)
// without changing the process locale. Text passes through unchanged when
// that set is UTF-8, plain ASCII ("C"/"POSIX"), or one we cannot convert to,
// and when the text is not valid UTF-8 (it is then already in some 8-bit
// code page). Only ISO-8859-1, ISO-8859-15 and Windows-1252 consoles get a
// converted copy; characters they lack become '?'. A null text gives "".
std::string convert_if_local_codepage(const char* utf8);

// Windows-1252 bytes to wide text; `length` -1 reads up to the NUL.
// A null text gives an empty string.
std::wstring sbcs_to_unicode(const char* text, int length);

// Wide text (UTF-32 on this platform) to UTF-8; code points that cannot
// exist become U+FFFD. A null text gives "".
std::string unicode_to_utf8(const wchar_t* text);

// The pieces the three above are built from.

// Converts valid UTF-8 to the named character set (same rules as
// convert_if_local_codepage, with the set given instead of looked up).
std::string convert_for_charset(const char* utf8, const char* charset);
// Windows-1252 bytes to UTF-8.
std::string sbcs_to_utf8(const char* text, std::size_t length);
bool is_valid_utf8(const char* text, std::size_t length);
// The console's character set name as the C library reports it ("UTF-8",
// "ANSI_X3.4-1968", "ISO-8859-15", ...); looked up once.
const char* console_charset();

}  // namespace utfConvertors
