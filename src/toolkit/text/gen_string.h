// The text folder: 8-bit strings (GenString, CString8), numbers written
// exactly as printf writes them and read as strtod reads them, buffered text
// output, code-page conversion and the printf-style message sink. It uses the
// standard library only; every other toolkit folder builds on it.
//
// GenString: the toolkit's 8-bit text. It keeps its bytes exactly as given
// (project files carry text in whatever code page the editor used), knows its
// length, and costs one pointer when empty, which matters because every
// object of a project carries one (its instance name) and most are empty.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

struct Vector3;

class GenString {
 public:
  GenString() = default;
  GenString(const char* text) { Set(text); }  // NOLINT: implicit on purpose
  GenString(std::string_view text) { Set(text); }
  GenString(const GenString& other);
  GenString(GenString&& other) noexcept : block_(other.block_) { other.block_ = nullptr; }
  GenString& operator=(const GenString& other);
  GenString& operator=(GenString&& other) noexcept;
  ~GenString() { Release(); }

  // The text, NUL-terminated; "" when empty, never null.
  const char* Get() const { return block_ ? Chars() : ""; }
  std::string_view View() const { return {Get(), Length()}; }
  std::size_t Length() const { return block_ ? Header()->length : 0; }
  bool IsEmpty() const { return Length() == 0; }

  void Set(std::string_view text);
  void Set(const char* text) { Set(std::string_view(text ? text : "")); }
  void Clear() { Release(); }

  // True when the text equals `text`. With caseSensitive false, ASCII letters
  // compare without regard to case (model paths come from a case-blind file
  // system); other bytes always compare exactly.
  bool Compare(const char* text, bool caseSensitive) const;

  // Copies `text` into this string (the flag is the caller's "wide" marker,
  // always false in this program).
  void str_dup(const char* text, bool wide) {
    (void)wide;
    Set(text);
  }
  // Sets a placeholder text: the string holds `text`, usually "".
  void str_PlaceHolder(const char* text) { Set(text); }
  // The leading integer of the text, as strtol base 10 reads it (0 when none).
  int str_atoi() const;
  static bool str_IsDigit(int c) { return c >= '0' && c <= '9'; }

  // The string becomes the shortest decimal text that reads back (strtod,
  // narrowed to float for the float form) to exactly the value, and that a
  // config reader takes as a number; returns it. `flags` is unused (0).
  // Config readers keep integers as 32-bit values and have no words for the
  // non-finite ones, so:
  //  - a positive integral text from 2147483648 up to 4294967295 gets ".0",
  //    which keeps it from wrapping to a negative integer;
  //  - negative zero is "-0.0" (a bare "-0" is the integer 0, without sign);
  //  - infinity is "1e999" and minus infinity "-1e999", which read back as
  //    infinities; a NaN, which no number text can give, becomes "0".
  const char* str_FloatToStr(double value, int flags);
  const char* str_FloatToStr(float value, int flags);
  // The three values of the vector, each as above, separated by commas.
  const char* str_FloatToStr(const Vector3* value, int flags);

  // Project files may store an empty text as a bare zero length instead of a
  // single terminating NUL. The codec marks such strings so that a file
  // written back stays byte-identical.
  bool StoredBare() const { return block_ && Header()->bare; }
  void SetStoredBare(bool bare);

 private:
  struct BlockHeader {
    std::uint32_t length;
    bool bare;
  };
  BlockHeader* Header() const { return reinterpret_cast<BlockHeader*>(block_); }
  char* Chars() const { return block_ + sizeof(BlockHeader); }
  void Release();

  char* block_ = nullptr;  // header, then the bytes, then a NUL
};

bool operator==(const GenString& a, const GenString& b);
