// PewObjectTemplate: the description of one model that objects refer to by
// its template id, with the parts that hang off it (artificial sub-objects
// and, for roads, two named-selection frames).
#pragma once

#include <cstdint>
#include <vector>

#include "text/gen_string.h"
#include "project/matrix4.h"

// A pair of doubles with a flag, as the editor keeps bounds and spreads.
struct XYPair {
  std::uint16_t flag = 0;
  double x = 0;
  double y = 0;
};

// A node of a singly linked list that owns its nodes.
class Chain {
 public:
  virtual ~Chain() = default;
  Chain* next = nullptr;
};

class Chains {
 public:
  Chains() = default;
  Chains(const Chains&) = delete;
  Chains& operator=(const Chains&) = delete;
  ~Chains() { Clear(); }

  Chain* first = nullptr;
  std::uint32_t count = 0;

  // Appends the node and takes ownership of it.
  void AddChain(Chain* node);
  void Clear();

 private:
  Chain* last_ = nullptr;
};

// A growable array of fixed-size elements; the artificial objects keep their
// points (three floats each) in one.
class KelArray {
 public:
  void ar_init(std::uint32_t elementSize) {
    elementSize_ = elementSize;
    bytes_.clear();
  }
  // Storage for `count` elements, zeroed; returns its address.
  void* AllocArray(std::uint32_t count) {
    bytes_.assign(static_cast<std::size_t>(count) * elementSize_, 0);
    return bytes_.data();
  }
  std::uint32_t get_count() const {
    return elementSize_ ? static_cast<std::uint32_t>(bytes_.size() / elementSize_) : 0;
  }
  std::uint32_t elementSize() const { return elementSize_; }
  void* data() { return bytes_.data(); }
  const void* data() const { return bytes_.data(); }
  // The points of an array of 12-byte elements.
  const Vector3* points() const { return reinterpret_cast<const Vector3*>(bytes_.data()); }
  Vector3* points() { return reinterpret_cast<Vector3*>(bytes_.data()); }

 private:
  std::uint32_t elementSize_ = sizeof(Vector3);
  std::vector<unsigned char> bytes_;
};

class PewArtificialObject : public Chain {
 public:
  GenString strName;
  std::uint32_t lbUnknown = 0;
  KelArray StartEndPos;  // Vector3 points
};

constexpr std::uint32_t kObjectTypeNatural = 1;
constexpr std::uint32_t kObjectTypeArtificial = 2;
constexpr std::uint32_t kObjectTypeRoads = 3;
constexpr std::uint32_t kMarkerRectangle = 0;
constexpr std::uint32_t kMarkerEllipse = 1;
constexpr std::uint32_t kDefaultColour = 0xFFFFFFFF;

class PewObjectTemplate {
 public:
  PewObjectTemplate() = default;
  PewObjectTemplate(const PewObjectTemplate&) = delete;
  PewObjectTemplate& operator=(const PewObjectTemplate&) = delete;

  PewObjectTemplate* next = nullptr;  // the following template of the table
  GenString strModelFilename;
  GenString strModelName;
  std::uint32_t ulObjectType = kObjectTypeNatural;
  std::uint32_t ulOutlineColour = kDefaultColour;
  std::uint32_t ulObjectColour = kDefaultColour;
  XYPair dblxyGeometryBounds;
  std::uint32_t templateId = 0;
  Vector3 GeometryAutoCenterPos;
  XYPair dblxyResolutionBounds;
  Vector3 ResolutionAutoCenterPos;
  std::uint16_t sbUnknownFlag = 1;
  XYPair dblxyRandomScale{0, 50, 50};
  XYPair dblxyRandomRotate{0, 20, 20};
  XYPair dblxyRandomOrientation{0, 180, 180};
  std::uint16_t LodNamedSelections = 0;  // non-zero: a road with two frames
  Matrix4 RoadFrame = Matrix4::Identity();   // the " Road" selection
  Matrix4 XRoadFrame = Matrix4::Identity();  // the "XRoad" selection
  Chains ArtificialObjects;                  // of PewArtificialObject
  std::uint32_t ulMarkerType = kMarkerRectangle;

 private:
  friend class TemplateTable;
  PewObjectTemplate* prev_ = nullptr;
};
