#include "temp_dir.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <unistd.h>

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vorlan-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot create a temporary folder");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  // Tests may leave read-only folders behind; make them writable before removal.
  for (auto it = std::filesystem::recursive_directory_iterator(path_, ignored);
       it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
    std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ignored);
  }
  std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, ignored);
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> TempDir::names(const std::string& sub) const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_ / sub)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<unsigned char> readFileBytes(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + name);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string readFileText(const std::string& name) {
  auto bytes = readFileBytes(name);
  return std::string(bytes.begin(), bytes.end());
}

void writeFileBytes(const std::string& name, const std::vector<unsigned char>& bytes) {
  std::ofstream out(name, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + name);
}

void writeFileText(const std::string& name, const std::string& text) {
  writeFileBytes(name, std::vector<unsigned char>(text.begin(), text.end()));
}
