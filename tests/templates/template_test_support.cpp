#include "template_test_support.h"

#include <cstdio>

#include "message_capture.h"
#include "status.h"

namespace {

std::string hex(double v) {
  char text[64];
  std::snprintf(text, sizeof text, "%a", v);
  return text;
}

std::string pair(const XYPair& p) { return std::to_string(p.flag) + "/" + hex(p.x) + "/" + hex(p.y); }

std::string vec(const Vector3& v) { return hex(v.x) + "/" + hex(v.y) + "/" + hex(v.z); }

std::string frame(const Matrix4& m) {
  std::string text;
  for (int i = 0; i < 12; ++i) text += hex(m.data()[i]) + " ";
  return text;
}

}  // namespace

std::string describeTemplate(const PewObjectTemplate& t, bool withId) {
  std::string d;
  if (withId) d += "id " + std::to_string(t.templateId) + "\n";
  d += "file '" + std::string(t.strModelFilename.View()) + "' name '" + std::string(t.strModelName.View()) + "'\n";
  d += "type " + std::to_string(t.ulObjectType) + " marker " + std::to_string(t.ulMarkerType) + " outline " +
       std::to_string(t.ulOutlineColour) + " colour " + std::to_string(t.ulObjectColour) + " flag " +
       std::to_string(t.sbUnknownFlag) + "\n";
  d += "bounds " + pair(t.dblxyGeometryBounds) + " " + pair(t.dblxyResolutionBounds) + "\n";
  d += "centres " + vec(t.GeometryAutoCenterPos) + " " + vec(t.ResolutionAutoCenterPos) + "\n";
  d += "spreads " + pair(t.dblxyRandomScale) + " " + pair(t.dblxyRandomRotate) + " " +
       pair(t.dblxyRandomOrientation) + "\n";
  d += "road " + std::to_string(t.LodNamedSelections);
  if (t.LodNamedSelections) d += " " + frame(t.RoadFrame) + "| " + frame(t.XRoadFrame);
  d += "\nartificial " + std::to_string(t.ArtificialObjects.count) + "\n";
  for (const Chain* c = t.ArtificialObjects.first; c; c = c->next) {
    const auto* a = static_cast<const PewArtificialObject*>(c);
    d += " '" + std::string(a->strName.View()) + "' " + std::to_string(a->lbUnknown) + ":";
    for (std::uint32_t i = 0; i < a->StartEndPos.get_count(); ++i) d += " " + vec(a->StartEndPos.points()[i]);
    d += "\n";
  }
  return d;
}

std::vector<std::string> describeTemplates(Vorlan& project, bool withId) {
  std::vector<std::string> all;
  for (PewObjectTemplate* t = project.pew_get_template(static_cast<unsigned*>(nullptr)); t; t = t->next)
    all.push_back(describeTemplate(*t, withId));
  return all;
}

ProjectFixture richProject() {
  ProjectFixture f;
  f.grid(2, 2, 10.0f, {1, 2, 3, 4});
  FixtureTemplate& house = f.addTemplate(1, "data\\bighouse2.p3d", "big-house 2");
  house.objectType = 2;
  house.outlineColour = 0x0000FF;
  house.objectColour = 0x123456;
  house.geometryBounds[0] = 12.5;
  house.geometryBounds[1] = 8;
  house.randomRotate[0] = 10;
  house.randomRotate[1] = 10;
  house.artificial.push_back({"Gate", 1, {{1, 0, 2}, {3, 0, 4}}});
  house.artificial.push_back({"Wall", 0xFFFFFFFF, {}});
  FixtureTemplate& tree = f.addTemplate(2, "data\\tree.p3d", "tree");
  tree.markerType = 1;  // natural ellipse: left out of the library
  tree.objectColour = 0x007F00;
  tree.unknownFlag = 0;
  tree.randomScale[0] = 0.25;
  tree.randomScaleFlag = 1;
  tree.geometryCentre[1] = 1.5f;
  tree.resolutionCentre[2] = -0.125f;
  tree.resolutionBounds[0] = 3;
  FixtureTemplate& road = f.addTemplate(3, "data\\roads\\asphalt-10.p3d", "asphalt 10");
  road.objectType = 3;
  road.road = true;
  road.roadFrame[9] = 12.5f;
  road.roadFrame[11] = -3.25f;
  road.xroadFrame[0] = 0.5f;
  road.xroadFrame[11] = 1e-05f;
  FixtureTemplate& odd = f.addTemplate(4, "data\\odd.p3d", "odd");
  odd.objectType = 9;
  odd.markerType = 7;
  odd.outlineColour = 0x000001;
  odd.randomOrientation[0] = 90;
  odd.randomOrientationFlag = 2;
  f.addTemplate(5, "data\\plain.p3d", "plain");
  f.addObject(1).at(10, 20, 5);
  f.addObject(3).at(30, 40, 6);
  return f;
}

RunResult ProjectRun::run(const std::string& options, const std::string& textFile) const {
  std::vector<std::string> words{options, pew()};
  if (!textFile.empty()) words.push_back(textFile);
  return runWith(words);
}

bool ProjectRun::open(Vorlan& project) const {
  MessageCapture::reset();
  return project.pew_Open(pew().c_str(), 0, MessageCapture::sink, nullptr, 0) == status::kOk;
}
