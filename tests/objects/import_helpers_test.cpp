#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "objects/line_reader.h"
#include "objects/name_index.h"
#include "temp_dir.h"

namespace {

// The lines fgets with a 2000-byte buffer gives, each as C text.
std::vector<std::string> linesByFgets(const std::string& name) {
  std::vector<std::string> lines;
  FILE* file = std::fopen(name.c_str(), "rb");
  char buffer[2000];
  while (std::fgets(buffer, sizeof buffer, file)) lines.emplace_back(buffer);
  std::fclose(file);
  return lines;
}

std::vector<std::string> linesByReader(const std::string& name) {
  std::vector<std::string> lines;
  FILE* file = std::fopen(name.c_str(), "rb");
  LineReader reader(file);
  while (reader.next()) {
    EXPECT_EQ(std::strlen(reader.text()), reader.length());
    lines.emplace_back(reader.text(), reader.length());
  }
  EXPECT_EQ(reader.error(), 0);
  std::fclose(file);
  return lines;
}

}  // namespace

TEST(LineReader, GivesTheLinesFgetsGives) {
  TempDir dir;
  std::mt19937 random(5);
  // Short and long lines (across the 1999-byte pieces and the reader's own
  // 1 MB blocks), NULs, lone carriage returns, with and without a final
  // line end.
  for (int round = 0; round < 6; ++round) {
    std::string text;
    std::size_t size = round < 3 ? 3000 + random() % 5000 : (std::size_t{1} << 20) + random() % 300000;
    while (text.size() < size) {
      std::size_t length = random() % 8 == 0 ? random() % 6000 : random() % 80;
      for (std::size_t i = 0; i < length; ++i) {
        unsigned r = random() % 100;
        text += r == 0 ? '\0' : r == 1 ? '\r' : static_cast<char>('a' + r % 26);
      }
      if (round % 2 == 0 || text.size() < size) text += '\n';
    }
    std::string name = dir.file("lines" + std::to_string(round));
    writeFileText(name, text);
    EXPECT_EQ(linesByReader(name), linesByFgets(name)) << "round " << round;
  }
  for (std::string text : {std::string(""), std::string("\n"), std::string(1999, 'x'), std::string(1998, 'x') + "\n",
                           std::string(1999, 'x') + "\n", std::string(3998, 'y'), std::string("last")}) {
    std::string name = dir.file("edge");
    writeFileText(name, text);
    EXPECT_EQ(linesByReader(name), linesByFgets(name)) << text.size();
  }
}

TEST(NameIndex, FindsWhatWasInsertedFirst) {
  NameIndex index;
  std::unordered_map<std::string, std::uint32_t> reference;
  std::mt19937 random(3);
  for (std::uint32_t i = 0; i < 20000; ++i) {
    std::string key(random() % 40, 'a');
    for (char& c : key) c = static_cast<char>('a' + random() % 3);
    bool added = reference.emplace(key, i).second;
    EXPECT_EQ(index.insert(key, i), added);
  }
  EXPECT_EQ(index.size(), reference.size());
  for (const auto& [key, value] : reference) {
    const std::uint32_t* found = index.find(key);
    ASSERT_NE(found, nullptr) << key;
    EXPECT_EQ(*found, value);
  }
  EXPECT_EQ(index.find("abcd"), nullptr);
  EXPECT_EQ(index.find(std::string("a\0b", 3)), nullptr);
  // Two names whose hashes share the tag and the first slot stay two names.
  NameIndex pair;
  EXPECT_TRUE(pair.insert("tree162618.p3d", 1));
  EXPECT_EQ(pair.find("tree310707.p3d"), nullptr);
  EXPECT_TRUE(pair.insert("tree310707.p3d", 2));
  EXPECT_EQ(*pair.find("tree310707.p3d"), 2u);
}
