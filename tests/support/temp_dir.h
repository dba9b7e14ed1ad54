// A fresh folder under the system's temporary folder, removed with its
// content when the object goes away.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string file(const std::string& name) const { return (path_ / name).string(); }
  // The names in `sub` (the folder itself by default), sorted.
  std::vector<std::string> names(const std::string& sub = "") const;

 private:
  std::filesystem::path path_;
};

std::vector<unsigned char> readFileBytes(const std::string& name);
std::string readFileText(const std::string& name);
void writeFileBytes(const std::string& name, const std::vector<unsigned char>& bytes);
void writeFileText(const std::string& name, const std::string& text);
