#include "text/gen_string.h"
#include "text/ascii_case.h"
#include "text/vector3.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>


GenString::GenString(const GenString& other) {
  if (other.block_) {
    Set(other.View());
    SetStoredBare(other.StoredBare());
  }
}

GenString& GenString::operator=(const GenString& other) {
  if (this != &other) {
    GenString copy(other);
    *this = std::move(copy);
  }
  return *this;
}

GenString& GenString::operator=(GenString&& other) noexcept {
  if (this != &other) {
    Release();
    block_ = other.block_;
    other.block_ = nullptr;
  }
  return *this;
}

void GenString::Release() {
  delete[] block_;
  block_ = nullptr;
}

void GenString::Set(std::string_view text) {
  if (text.empty()) {
    Release();
    return;
  }
  char* block = new char[sizeof(BlockHeader) + text.size() + 1];
  auto* header = reinterpret_cast<BlockHeader*>(block);
  header->length = static_cast<std::uint32_t>(text.size());
  header->bare = false;
  std::memcpy(block + sizeof(BlockHeader), text.data(), text.size());
  block[sizeof(BlockHeader) + text.size()] = '\0';
  Release();
  block_ = block;
}

void GenString::SetStoredBare(bool bare) {
  if (!bare) {
    if (block_) Header()->bare = false;
    return;
  }
  // Only an empty text can be stored bare; it needs a block to hold the mark.
  Release();
  block_ = new char[sizeof(BlockHeader) + 1];
  Header()->length = 0;
  Header()->bare = true;
  Chars()[0] = '\0';
}

static unsigned char FoldAscii(unsigned char c) {
  return static_cast<unsigned char>(foldAscii(static_cast<char>(c)));
}

bool GenString::Compare(const char* text, bool caseSensitive) const {
  if (!text) text = "";
  std::size_t n = std::strlen(text);
  if (n != Length()) return false;
  const char* mine = Get();
  if (caseSensitive) return std::memcmp(mine, text, n) == 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (FoldAscii(static_cast<unsigned char>(mine[i])) != FoldAscii(static_cast<unsigned char>(text[i])))
      return false;
  }
  return true;
}

int GenString::str_atoi() const {
  return static_cast<int>(std::strtol(Get(), nullptr, 10));
}

bool operator==(const GenString& a, const GenString& b) {
  return a.View() == b.View() && a.StoredBare() == b.StoredBare();
}

namespace {

// Writes the config number text of `value` (see str_FloatToStr) at `out`,
// which has room for 64 characters; returns the end.
template <typename Real>
char* WriteConfigNumber(char* out, Real value) {
  if (std::isnan(value)) {
    *out = '0';
    return out + 1;
  }
  if (std::isinf(value)) {
    const char* text = std::signbit(value) ? "-1e999" : "1e999";
    std::size_t n = std::strlen(text);
    std::memcpy(out, text, n);
    return out + n;
  }
  if (value == 0 && std::signbit(value)) {
    std::memcpy(out, "-0.0", 4);
    return out + 4;
  }
  char* end = std::to_chars(out, out + 64, value).ptr;
  // An integral text that a 32-bit integer reading would wrap around.
  if (value >= Real(2147483648.0) && value < Real(4294967296.0) && !std::memchr(out, '.', end - out) &&
      !std::memchr(out, 'e', end - out)) {
    *end++ = '.';
    *end++ = '0';
  }
  return end;
}

}  // namespace

const char* GenString::str_FloatToStr(double value, int) {
  char text[72];
  Set(std::string_view(text, WriteConfigNumber(text, value) - text));
  return Get();
}

const char* GenString::str_FloatToStr(float value, int) {
  char text[72];
  Set(std::string_view(text, WriteConfigNumber(text, value) - text));
  return Get();
}

const char* GenString::str_FloatToStr(const Vector3* value, int) {
  if (!value) {
    Set("0,0,0");
    return Get();
  }
  char text[3 * 72];
  char* end = WriteConfigNumber(text, value->x);
  *end++ = ',';
  end = WriteConfigNumber(end, value->y);
  *end++ = ',';
  end = WriteConfigNumber(end, value->z);
  Set(std::string_view(text, end - text));
  return Get();
}
