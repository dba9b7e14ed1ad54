// Builds project files for tests, byte by byte from the documented layout and
// independently of the toolkit's own codec, so a test can check one against
// the other. A fixture is described in a few lines:
//
//   ProjectFixture f;
//   f.grid(3, 2, 10.0f, {1, 2, 3, 4, 5, 6});
//   f.addTemplate(1, "data\\house.p3d", "house").road = true;
//   f.addObject(1).at(10, 20, 5).heading(90, 2).named("front");
//   f.addDeleted(2);
//   std::string path = f.writeTo(dir.file("map.pew"));
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

struct FixtureArtificial {
  std::string name;
  std::uint32_t lbUnknown = 0;
  std::vector<std::array<float, 3>> points;
};

struct FixtureTemplate {
  std::uint32_t id = 1;
  std::string modelFilename;
  std::string modelName;
  std::uint32_t objectType = 1;
  std::uint32_t outlineColour = 0xFFFFFFFF;
  std::uint32_t objectColour = 0xFFFFFFFF;
  double geometryBounds[2] = {0, 0};
  float geometryCentre[3] = {0, 0, 0};
  double resolutionBounds[2] = {0, 0};
  float resolutionCentre[3] = {0, 0, 0};
  std::uint16_t unknownFlag = 1;
  std::uint16_t randomScaleFlag = 0;
  double randomScale[2] = {50, 50};
  std::uint16_t randomRotateFlag = 0;
  double randomRotate[2] = {20, 20};
  std::uint16_t randomOrientationFlag = 0;
  double randomOrientation[2] = {180, 180};
  bool road = false;
  std::array<float, 12> roadFrame{1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};
  std::array<float, 12> xroadFrame{1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};
  std::vector<FixtureArtificial> artificial;
  std::uint32_t markerType = 0;
};

struct FixtureObject {
  bool valid = true;
  std::uint16_t unknown = 0;
  std::int32_t id = 0;
  std::array<float, 12> transform{1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};
  double unnamedDouble = 1.0;
  std::string instanceName;
  float relativeHeight = 0;
  std::int32_t unnamedA = -1;
  std::int32_t unnamedB = -1;
  std::uint32_t templateId = 0;

  // Position as the user sees it: x east, y north, then the height.
  FixtureObject& at(float x, float y, float height);
  // Rotation about the vertical axis, clockwise from north, with a scale.
  FixtureObject& heading(double degrees, float scale = 1.0f);
  FixtureObject& named(const std::string& name);
  FixtureObject& relative(float height);
};

class ProjectFixture {
 public:
  std::string signature = "POSEW60";
  std::uint32_t valueA = 7;
  std::uint32_t valueB = 0;
  std::string dataPath = "abc\\island\\data\\";
  std::string objectPath;
  float spacing = 10.0f;
  float valueC = 400.0f;
  std::string valueD;
  std::uint32_t valueE = 0;
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  std::vector<float> heights;
  std::vector<float> extra;  // empty: written as the stated count of zeros
  std::uint32_t afterExtra = 0;
  std::vector<FixtureTemplate> templates;
  std::vector<FixtureObject> objects;
  std::vector<unsigned char> tail;  // empty: six u32 zeros
  // Raw overrides for hostile files.
  std::uint32_t legacyTextures = 0;
  std::uint16_t noTerrains = 1, noForests = 1, noRoads = 1;

  ProjectFixture& version59() {
    signature = "POSEW59";
    return *this;
  }
  // A grid of columns x rows; heights default to 0 when none are given.
  ProjectFixture& grid(std::uint32_t columns, std::uint32_t rows, float spacing,
                       std::vector<float> heights = {});
  FixtureTemplate& addTemplate(std::uint32_t id, const std::string& modelFilename,
                               const std::string& modelName = "");
  // A valid object of the template; its ID is the next free one unless set.
  FixtureObject& addObject(std::uint32_t templateId);
  // `count` deleted 2-byte slots.
  ProjectFixture& addDeleted(int count = 1);

  std::vector<unsigned char> bytes() const;
  // Writes the file and returns its name.
  std::string writeTo(const std::string& name) const;

 private:
  std::int32_t nextId_ = 1;
};
