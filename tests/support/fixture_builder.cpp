#include "fixture_builder.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <numbers>
#include <stdexcept>

namespace {

class Bytes {
 public:
  explicit Bytes(std::vector<unsigned char>& out) : out_(out) {}
  // The values in the order given, each as its own type's bytes.
  template <typename... T>
  void put(T... values) {
    (putOne(values), ...);
  }
  void text(const std::string& s) {
    put<std::uint32_t>(static_cast<std::uint32_t>(s.size() + 1));
    out_.insert(out_.end(), s.begin(), s.end());
    out_.push_back(0);
  }
  void raw(const std::string& s) { out_.insert(out_.end(), s.begin(), s.end()); }
  void floats(const float* v, int n) {
    for (int i = 0; i < n; ++i) put(v[i]);
  }

 private:
  template <typename T>
  void putOne(T value) {
    unsigned char raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));  // the test machines are little-endian
    out_.insert(out_.end(), raw, raw + sizeof(T));
  }
  std::vector<unsigned char>& out_;
};

void writeTemplate(Bytes& b, const FixtureTemplate& t) {
  b.text(t.modelFilename);
  b.text(t.modelName);
  b.put(t.objectType, t.outlineColour, t.objectColour, t.geometryBounds[0], t.geometryBounds[1], t.id);
  b.floats(t.geometryCentre, 3);
  b.put(t.resolutionBounds[0], t.resolutionBounds[1]);
  b.floats(t.resolutionCentre, 3);
  b.put(t.unknownFlag, t.randomScaleFlag, t.randomScale[0], t.randomScale[1], t.randomRotateFlag,
        t.randomRotate[0], t.randomRotate[1], t.randomOrientationFlag, t.randomOrientation[0],
        t.randomOrientation[1], static_cast<std::uint16_t>(t.road));
  if (t.road) {
    b.floats(t.roadFrame.data(), 12);
    b.floats(t.xroadFrame.data(), 12);
  }
  b.put<std::uint32_t>(static_cast<std::uint32_t>(t.artificial.size()));
  for (const auto& a : t.artificial) {
    b.text(a.name);
    b.put(a.lbUnknown, static_cast<std::uint32_t>(a.points.size()));
    for (const auto& p : a.points) b.floats(p.data(), 3);
  }
  b.put(t.markerType);
}

void writeObject(Bytes& b, const FixtureObject& o) {
  b.put(static_cast<std::uint16_t>(o.valid));
  if (!o.valid) return;
  b.put(o.unknown, o.id);
  b.floats(o.transform.data(), 12);
  b.put(o.unnamedDouble);
  b.text(o.instanceName);
  b.put(o.relativeHeight, o.unnamedA, o.unnamedB, o.templateId);
}

}  // namespace

FixtureObject& FixtureObject::at(float x, float y, float height) {
  transform[9] = x;
  transform[10] = height;
  transform[11] = y;
  return *this;
}

FixtureObject& FixtureObject::heading(double degrees, float scale) {
  // Exact values at the quarter turns, as an editor would store them.
  static const double kQuarterTurns[4][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
  double r = std::fmod(degrees, 360.0);
  if (r < 0) r += 360.0;
  const bool quarter = std::fmod(r, 90.0) == 0;
  const double* turn = kQuarterTurns[quarter ? static_cast<int>(r / 90) % 4 : 0];  // r may round up to 360
  const double c = quarter ? turn[0] : std::cos(r * std::numbers::pi / 180.0);
  const double s = quarter ? turn[1] : std::sin(r * std::numbers::pi / 180.0);
  auto f = [](double v) { return v == 0 ? 0.0f : static_cast<float>(v); };
  // The rotation about the vertical axis, scaled; the position stays.
  transform = {f(c * scale), 0, f(-s * scale), 0, scale, 0, f(s * scale), 0, f(c * scale),
               transform[9], transform[10], transform[11]};
  return *this;
}

FixtureObject& FixtureObject::named(const std::string& name) {
  instanceName = name;
  return *this;
}

FixtureObject& FixtureObject::relative(float height) {
  relativeHeight = height;
  return *this;
}

ProjectFixture& ProjectFixture::grid(std::uint32_t c, std::uint32_t r, float s, std::vector<float> h) {
  columns = c;
  rows = r;
  spacing = s;
  if (h.empty()) h.assign(static_cast<std::size_t>(c) * r, 0.0f);
  if (h.size() != static_cast<std::size_t>(c) * r) throw std::invalid_argument("grid: wrong height count");
  heights = std::move(h);
  return *this;
}

FixtureTemplate& ProjectFixture::addTemplate(std::uint32_t id, const std::string& file, const std::string& name) {
  FixtureTemplate t;
  t.id = id;
  t.modelFilename = file;
  t.modelName = name;
  templates.push_back(t);
  return templates.back();
}

FixtureObject& ProjectFixture::addObject(std::uint32_t templateId) {
  FixtureObject o;
  o.templateId = templateId;
  o.id = nextId_++;
  objects.push_back(o);
  return objects.back();
}

ProjectFixture& ProjectFixture::addDeleted(int count) {
  for (int i = 0; i < count; ++i) {
    FixtureObject o;
    o.valid = false;
    objects.push_back(o);
  }
  return *this;
}

std::vector<unsigned char> ProjectFixture::bytes() const {
  std::vector<unsigned char> out;
  Bytes b(out);
  b.raw(signature);
  b.put(valueA, valueB);
  b.text(dataPath);
  b.text(objectPath);
  b.put(spacing, valueC);
  b.text(valueD);
  b.put(valueE, legacyTextures, static_cast<std::uint32_t>(templates.size()));
  for (const auto& t : templates) writeTemplate(b, t);
  b.put(noTerrains, noForests, noRoads, columns, rows);
  for (float h : heights) b.put(h);
  std::size_t extraCount = static_cast<std::size_t>(columns) * rows / 16;
  for (std::size_t i = 0; i < extraCount; ++i) b.put(i < extra.size() ? extra[i] : 0.0f);
  b.put(afterExtra, static_cast<std::uint32_t>(objects.size()));
  for (const auto& o : objects) writeObject(b, o);
  if (tail.empty()) out.resize(out.size() + 24, 0);  // six u32 zeros
  else out.insert(out.end(), tail.begin(), tail.end());
  return out;
}

std::string ProjectFixture::writeTo(const std::string& name) const {
  auto data = bytes();
  std::ofstream out(name, std::ios::binary);
  out.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
  if (!out) throw std::runtime_error("cannot write fixture " + name);
  return name;
}
