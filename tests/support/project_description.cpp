#include "project_description.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "temp_dir.h"

namespace {

double number(const std::string& text) {
  char* end = nullptr;
  double v = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0') throw std::runtime_error("not a number: " + text);
  return v;
}

std::uint32_t integer(const std::string& text) {
  char* end = nullptr;
  unsigned long v = std::strtoul(text.c_str(), &end, 0);
  if (text.empty() || *end != '\0') throw std::runtime_error("not an integer: " + text);
  return static_cast<std::uint32_t>(v);
}

std::vector<std::string> commaList(const std::string& text) {
  std::vector<std::string> out;
  std::stringstream in(text);
  std::string item;
  while (std::getline(in, item, ',')) out.push_back(item);
  return out;
}

void xyOption(const std::string& value, std::uint16_t& flag, double xy[2]) {
  auto parts = commaList(value);
  if (parts.size() != 3) throw std::runtime_error("expected FLAG,X,Y: " + value);
  flag = static_cast<std::uint16_t>(integer(parts[0]));
  xy[0] = number(parts[1]);
  xy[1] = number(parts[2]);
}

void templateStatement(ProjectFixture& f, const std::vector<std::string>& w) {
  if (w.size() < 3) throw std::runtime_error("template ID FILE [NAME] [options]");
  std::size_t i = 3;
  std::string name;
  if (w.size() > 3 && w[3].find('=') == std::string::npos) {
    name = w[3];
    i = 4;
  }
  FixtureTemplate& t = f.addTemplate(integer(w[1]), w[2], name);
  for (; i < w.size(); ++i) {
    const std::string& option = w[i];
    if (option == "road") {
      t.road = true;
      continue;
    }
    std::size_t eq = option.find('=');
    if (eq == std::string::npos) throw std::runtime_error("unknown template option " + option);
    std::string key = option.substr(0, eq), value = option.substr(eq + 1);
    if (key == "type") t.objectType = integer(value);
    else if (key == "marker") t.markerType = integer(value);
    else if (key == "outline") t.outlineColour = integer(value);
    else if (key == "colour") t.objectColour = integer(value);
    else if (key == "unknown") t.unknownFlag = static_cast<std::uint16_t>(integer(value));
    else if (key == "scale") xyOption(value, t.randomScaleFlag, t.randomScale);
    else if (key == "rotate") xyOption(value, t.randomRotateFlag, t.randomRotate);
    else if (key == "orientation") xyOption(value, t.randomOrientationFlag, t.randomOrientation);
    else if (key == "bounds") {
      auto parts = commaList(value);
      if (parts.size() != 2) throw std::runtime_error("expected bounds=X,Y");
      t.geometryBounds[0] = number(parts[0]);
      t.geometryBounds[1] = number(parts[1]);
    } else if (key == "artificial") {
      auto parts = commaList(value);
      if (parts.size() < 2 || (parts.size() - 2) % 3 != 0) throw std::runtime_error("expected artificial=NAME,LB,x,y,z...");
      FixtureArtificial a{parts[0], integer(parts[1]), {}};
      for (std::size_t p = 2; p < parts.size(); p += 3)
        a.points.push_back({static_cast<float>(number(parts[p])), static_cast<float>(number(parts[p + 1])),
                            static_cast<float>(number(parts[p + 2]))});
      t.artificial.push_back(a);
    } else {
      throw std::runtime_error("unknown template option " + key);
    }
  }
}

void objectStatement(ProjectFixture& f, const std::vector<std::string>& w) {
  if (w.size() < 2) throw std::runtime_error("object TEMPLATE [options]");
  FixtureObject& o = f.addObject(integer(w[1]));
  for (std::size_t i = 2; i < w.size(); ++i) {
    std::size_t eq = w[i].find('=');
    if (eq == std::string::npos) throw std::runtime_error("unknown object option " + w[i]);
    std::string key = w[i].substr(0, eq), value = w[i].substr(eq + 1);
    if (key == "name") {
      o.named(value);
      continue;
    }
    std::vector<double> v;
    for (const std::string& part : commaList(value)) v.push_back(number(part));
    std::size_t wanted = key == "at" ? 3 : key == "matrix" ? 12 : key == "heading" && v.size() == 2 ? 2 : 1;
    if (v.size() != wanted) throw std::runtime_error("a wrong count of values in " + w[i]);
    if (key == "id") o.id = static_cast<std::int32_t>(v[0]);
    else if (key == "at") o.at(static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2]));
    else if (key == "heading") o.heading(v[0], v.size() == 2 ? static_cast<float>(v[1]) : 1.0f);
    else if (key == "relative") o.relative(static_cast<float>(v[0]));
    else if (key == "matrix") std::copy(v.begin(), v.end(), o.transform.begin());
    else throw std::runtime_error("unknown object option " + key);
  }
}

}  // namespace

std::vector<std::string> descriptionWords(const std::string& line, bool comments) {
  std::vector<std::string> out;
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  std::size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && blank(line[i])) ++i;
    if (i >= line.size() || (comments && line[i] == '#')) break;
    std::string word;
    if (line[i] == '"') {
      std::size_t end = line.find('"', i + 1);
      if (end == std::string::npos) throw std::runtime_error("unterminated quote");
      word = line.substr(i + 1, end - i - 1);
      i = end + 1;
    } else {
      while (i < line.size() && !blank(line[i])) word += line[i++];
    }
    out.push_back(word);
  }
  return out;
}

ProjectFixture parseProjectDescription(const std::string& text) {
  ProjectFixture f;
  std::stringstream in(text);
  std::string line;
  int lineNumber = 0;
  while (std::getline(in, line)) {
    ++lineNumber;
    try {
      auto w = descriptionWords(line, true);
      if (w.empty()) continue;
      if (w[0] == "version" && w.size() == 2) {
        if (w[1] == "59") f.version59();
      } else if (w[0] == "grid" && w.size() >= 4) {
        std::vector<float> heights;
        for (std::size_t i = 4; i < w.size(); ++i) heights.push_back(static_cast<float>(number(w[i])));
        f.grid(integer(w[1]), integer(w[2]), static_cast<float>(number(w[3])), heights);
      } else if (w[0] == "template") {
        templateStatement(f, w);
      } else if (w[0] == "object") {
        objectStatement(f, w);
      } else if (w[0] == "deleted") {
        f.addDeleted(w.size() > 1 ? static_cast<int>(integer(w[1])) : 1);
      } else {
        throw std::runtime_error("unknown statement " + w[0]);
      }
    } catch (const std::exception& e) {
      throw std::runtime_error("project description line " + std::to_string(lineNumber) + ": " + e.what());
    }
  }
  return f;
}

ProjectFixture describedProject(const std::string& path) { return parseProjectDescription(readFileText(path)); }
