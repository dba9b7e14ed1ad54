#include "elevation_text.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "text/ascii_case.h"
#include "text/gen_string.h"
#include "text/number_text.h"

namespace {

bool sameStartIgnoringCase(const char* line, const char* key) {
  for (; *key; ++line, ++key) {
    if (foldAscii(*line) != foldAscii(*key)) return false;  // also at the line's end, where *line is '\0'
  }
  return true;
}

// The key as messages name it, without its trailing blank.
std::string keyName(const char* key) {
  std::string name(key);
  while (!name.empty() && name.back() == ' ') name.pop_back();
  return name;
}

// Moves past one number of an xyz line: on to its first digit, then over
// digits and points. A sign or an exponent is not part of it.
const char* skipNumber(const char* p) {
  while (*p && !GenString::str_IsDigit(static_cast<unsigned char>(*p))) ++p;
  while (GenString::str_IsDigit(static_cast<unsigned char>(*p)) || *p == '.') ++p;
  return p;
}

// strtod's value of the text at p, narrowed to float.
float readNumber(const char* p) {
  const char* q = p;
  while (*q == ' ' || *q == '\t') ++q;
  double quick;
  if (quickDecimal(q, quick)) return static_cast<float>(quick);
  return static_cast<float>(parseDouble(p, nullptr));
}

}  // namespace

const char* readAscValueSlowly(const char* p, float& value) {
  value = static_cast<float>(parseDouble(p, nullptr));
  while (!isAscBlankOrEnd(*p)) ++p;
  return p;
}

AscRow readAscRow(const char*& p, float* heights, long columns) {
  AscRow row;
  for (long c = 0; c < columns; ++c) {
    p = readAscValue(p, heights[c]);
    ++row.stored;
    p = skipAscBlanks(p);
    if (*p == '\0') {
      row.atEnd = true;
      break;
    }
  }
  return row;
}

ElevationText::ElevationText(const char* text, std::string shownName)
    : start_(text), position_(text), shownName_(std::move(shownName)) {}

// The text ends at its first zero byte. It is found as the lines are read,
// not ahead: a file of hundreds of megabytes is then walked once, front to
// back, and the memory of what is behind can be given back.
bool ElevationText::readLine(char* buffer, std::size_t capacity) {
  if (*position_ == '\0') return false;
  const char* lineEnd = position_ + std::strcspn(position_, "\r");
  std::size_t length = static_cast<std::size_t>(lineEnd - position_);
  if (length > capacity - 1) length = capacity - 1;
  std::memcpy(buffer, position_, length);
  buffer[length] = '\0';
  position_ = lineEnd;
  // Past the carriage return and the character after it (the line feed).
  for (int i = 0; i < 2 && *position_ != '\0'; ++i) ++position_;
  return true;
}

ElevationText::HeaderLine ElevationText::headerLine(const char* key, const char* mismatchMessage, char* line,
                                                   const char*& value) {
  if (!readLine(line, kHeaderLineMax + 1)) {
    // Read as an empty line first: it is not the key's line.
    std::fputs(mismatchMessage, stderr);
    return HeaderLine::Missing;
  }
  std::printf("%s", line);
  if (!sameStartIgnoringCase(line, key)) {
    std::fputs(mismatchMessage, stderr);
    return HeaderLine::OtherKey;
  }
  value = line + std::strlen(key);
  return HeaderLine::Found;
}

void ElevationText::reportHeaderEnd(const char* key) const {
  std::fprintf(stderr, "%s: the asc header ends before its \"%s\" line\n", shownName_.c_str(), keyName(key).c_str());
}

std::optional<long> ElevationText::readHeaderInt(const char* key) {
  char line[kHeaderLineMax + 1];
  const char* value = nullptr;
  switch (headerLine(key, "Unknown int format of asc file\n", line, value)) {
    case HeaderLine::Missing: return std::nullopt;
    case HeaderLine::OtherKey: return -1;
    case HeaderLine::Found: break;
  }
  return std::strtol(value, nullptr, 10);
}

std::optional<float> ElevationText::readHeaderFloat(const char* key) {
  char line[kHeaderLineMax + 1];
  const char* value = nullptr;
  switch (headerLine(key, "Unknown float format of asc file\n", line, value)) {
    case HeaderLine::Missing: return std::nullopt;
    case HeaderLine::OtherKey: return -1.0f;
    case HeaderLine::Found: break;
  }
  return static_cast<float>(parseDouble(value, nullptr));
}

bool ElevationText::readXyzLine(XyzPoint& point) {
  char line[kXyzLineMax + 1];
  if (!readLine(line, sizeof line)) return false;
  const char* p = line;
  point.x = readNumber(p);
  p = skipNumber(p);
  point.y = readNumber(p);
  p = skipNumber(p);
  point.z = readNumber(p);
  return true;
}
