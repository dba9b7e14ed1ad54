#include "case_lines.h"

#include <gtest/gtest.h>

#include <fstream>

std::string unescapeCaseText(const std::string& line) {
  std::string bytes;
  for (std::size_t i = 0; i < line.size(); ++i) {
    std::size_t escape = line[i] == '\\' && i + 1 < line.size() ? std::string("nrt0\\x").find(line[++i]) : 6;
    if (escape == 5) bytes += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16)), i += 2;
    else if (escape < 5) bytes += std::string("\n\r\t\0\\", 5)[escape];
    else if (line[i] != '\\') bytes += line[i];
    else ADD_FAILURE() << "an unknown escape in: " << line;
  }
  return bytes;
}

std::vector<std::string> caseLines(const std::string& path, std::size_t atLeast) {
  std::ifstream in(path);
  std::vector<std::string> cases;
  for (std::string line; std::getline(in, line);)
    if (!line.empty() && line[0] != '#') cases.push_back(unescapeCaseText(line));
  EXPECT_GE(cases.size(), atLeast) << path << " is missing or cut short";
  return cases;
}
