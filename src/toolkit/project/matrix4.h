// Matrix4: an object's placement, four rows of three floats. Rows 1 to 3 are
// the object's axes multiplied by its scale; row 4 is the position as
// (x east, height, y north). The layout is exactly the 48 bytes of the file.
#pragma once

#include <cstdint>

#include "text/vector3.h"

class Matrix4 {
 public:
  float m[4][3];

  static Matrix4 Identity();
  float* data() { return &m[0][0]; }
  const float* data() const { return &m[0][0]; }

  double X() const { return m[3][0]; }
  double Height() const { return m[3][1]; }
  double Y() const { return m[3][2]; }

  // Sets row 4: east, height, north.
  void mtx4_SetPosition(double x, double height, double y);
  // Sets rows 1 to 3 to a rotation about the vertical axis, clockwise from
  // north, each axis multiplied by `scale`; row 4 stays. Quarter turns give
  // exact zeros and ones, and no value is ever a negative zero.
  void SetDirectionInDegrees(double degrees, float scale);
  // The heading of rows 1 to 3 in degrees, in [0, 360), never -0.
  double GetDirectionInDegrees() const;
  // One number for the orientation; two equal orientations give equal numbers.
  double mtx4_GetOrientation() const { return GetDirectionInDegrees(); }
  // Length of the first column: the object's scale.
  double Scale() const;
};

static_assert(sizeof(Matrix4) == 48, "Matrix4 must match the file layout");
