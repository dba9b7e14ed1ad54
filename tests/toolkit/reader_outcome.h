// What a reader of outside files answers to some bytes: its status, the
// messages it gave and whether it kept anything. The bytes are handed over
// in a buffer of exactly their size, so the sanitizer build sees any read
// past the end.
#pragma once

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "message_capture.h"
#include "status.h"
#include "project/vorlan.h"
#include "world/morvik.h"

struct Outcome {
  int status;
  std::string message;
  int calls;
  bool kept;  // a project loaded, a world built
};

inline Outcome openProject(const std::vector<unsigned char>& bytes, const char* name = "bad.pew") {
  std::vector<unsigned char> exact(bytes);
  static const unsigned char none = 0;
  Vorlan project;
  MessageCapture::reset();
  int s = project.pew_Open(name, 0, MessageCapture::sink, exact.empty() ? &none : exact.data(), exact.size());
  return {s, MessageCapture::text, MessageCapture::calls, project.IsLoaded()};
}

inline Outcome checkWorld(const std::vector<unsigned char>& bytes) {
  std::vector<unsigned char> exact(bytes);
  static const unsigned char none = 0;
  Morvik world;
  MessageCapture::reset();
  int s = world.wrp_Open("w.wrp", 0, MessageCapture::sink, exact.empty() ? &none : exact.data(), exact.size());
  return {s, MessageCapture::text, MessageCapture::calls, world.IsBuilt()};
}

// A copy of `bytes` with the 32-bit value at `at` replaced.
inline std::vector<unsigned char> patched(std::vector<unsigned char> bytes, std::size_t at, std::uint32_t v) {
  std::memcpy(&bytes[at], &v, 4);
  return bytes;
}

inline std::vector<unsigned char> garbage(std::size_t n, std::uint32_t seed, const char* start = "") {
  std::vector<unsigned char> bytes(n);
  for (auto& b : bytes) b = static_cast<unsigned char>((seed = seed * 1103515245u + 12345u) >> 24);
  std::memcpy(bytes.data(), start, std::strlen(start));
  return bytes;
}

#define EXPECT_HAS(text, part) EXPECT_NE((text).find(part), std::string::npos) << (text)
