// Case files: data files that hold one case a line, for tests that walk a
// list of inputs kept out of the code.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// "\n", "\r", "\t", "\0", "\\" and "\xHH" stand for their bytes; any other
// backslash is a mistake in the file and fails the test.
std::string unescapeCaseText(const std::string& line);

// The lines of `path`, unescaped, without blank lines and lines starting with
// '#'. Fails the test when the file holds fewer than `atLeast` cases, so that
// a missing or cut file never passes by walking nothing.
std::vector<std::string> caseLines(const std::string& path, std::size_t atLeast);
