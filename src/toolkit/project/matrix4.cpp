#include "project/matrix4.h"

#include <cmath>
#include <numbers>

Matrix4 Matrix4::Identity() {
  Matrix4 t{};
  t.m[0][0] = t.m[1][1] = t.m[2][2] = 1.0f;
  return t;
}

void Matrix4::mtx4_SetPosition(double x, double height, double y) {
  m[3][0] = static_cast<float>(x);
  m[3][1] = static_cast<float>(height);
  m[3][2] = static_cast<float>(y);
}

namespace {

// Sine and cosine of an angle in degrees, reduced to within 45 degrees of a
// quarter turn first, so that quarter turns are exact and nearby angles keep
// their precision.
void sinCosDegrees(double degrees, double& s, double& c) {
  double r = std::fmod(degrees, 360.0);
  if (r < 0) r += 360.0;
  double quarter = std::nearbyint(r / 90.0);
  double rest = (r - quarter * 90.0) * std::numbers::pi / 180.0;
  double rs = rest == 0 ? 0.0 : std::sin(rest);
  double rc = rest == 0 ? 1.0 : std::cos(rest);
  switch (static_cast<int>(quarter) & 3) {
    case 0: s = rs; c = rc; break;
    case 1: s = rc; c = -rs; break;
    case 2: s = -rs; c = -rc; break;
    default: s = -rc; c = rs; break;
  }
}

float noNegativeZero(double v) {
  float f = static_cast<float>(v);
  return f == 0.0f ? 0.0f : f;
}

}  // namespace

void Matrix4::SetDirectionInDegrees(double degrees, float scale) {
  double s, c;
  sinCosDegrees(degrees, s, c);
  m[0][0] = noNegativeZero(c * scale);
  m[0][1] = 0.0f;
  m[0][2] = noNegativeZero(-s * scale);
  m[1][0] = 0.0f;
  m[1][1] = noNegativeZero(scale);
  m[1][2] = 0.0f;
  m[2][0] = noNegativeZero(s * scale);
  m[2][1] = 0.0f;
  m[2][2] = noNegativeZero(c * scale);
}

double Matrix4::GetDirectionInDegrees() const {
  // Row 1 is (cos h, 0, -sin h) times the scale.
  double h = std::atan2(-static_cast<double>(m[0][2]), static_cast<double>(m[0][0])) * 180.0 /
             std::numbers::pi;
  if (h < 0) h += 360.0;
  if (h >= 360.0 || h == 0.0) h = 0.0;  // also turns -0 into 0
  return h;
}

double Matrix4::Scale() const {
  double a = m[0][0], b = m[1][0], c = m[2][0];
  return std::sqrt(a * a + b * b + c * c);
}
