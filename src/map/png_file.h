// Writing a picture as a PNG file through libpng.
#pragma once

#include <cstdio>
#include <string>

#include "picture.h"

// Writes the picture to `stream` as an 8-bit RGB PNG, compressed for speed
// rather than size. Returns true, or false with what went wrong in
// `problem`. Failures of the stream itself may show only when it is closed.
bool writePng(FILE* stream, const Picture& picture, std::string& problem);
