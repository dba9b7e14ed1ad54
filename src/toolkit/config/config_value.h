// How values of a config text become the value texts of the tree.
//
// Integers written in decimal or hex are kept as the decimal text of their
// 32-bit value, because callers read them with strtol base 10: 0x0000FF gives
// "255", and values from 0x80000000 up wrap to negative as two's complement,
// so 0xFFFFFFFF (or 4294967295) gives "-1". Every other number (1.5, -2e-3,
// .5) and an integer too large for 32 bits keep their text as written, with
// the minus sign in front when there is one; a '+' sign is dropped.
#pragma once

#include <string>
#include <string_view>

// The text kept for a number token's spelling, negated when `negative`.
std::string ConfigNumberText(std::string_view spelling, bool negative);

// The content of a string token's spelling: without the quotes and with ""
// read as one quote. Returns a view into the spelling when there is nothing
// to unescape, and otherwise a view of `scratch`, which it fills.
std::string_view ConfigStringText(std::string_view spelling, std::string* scratch);
