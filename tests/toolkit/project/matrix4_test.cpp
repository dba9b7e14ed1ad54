#include "project/matrix4.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>

TEST(Matrix4, SetDirectionLaysOutRotatedScaledAxes) {
  Matrix4 t = Matrix4::Identity();
  for (int i = 0; i < 9; ++i) t.data()[i] = 7;  // a sheared matrix: every axis is set anew
  t.mtx4_SetPosition(100, 5, 200);
  t.SetDirectionInDegrees(90, 2.0f);
  // (cos h s, 0, -sin h s), (0, s, 0), (sin h s, 0, cos h s), row 4 untouched;
  // no negative zero.
  const float expected[12] = {0, 0, -2, 0, 2, 0, 2, 0, 0, 100, 5, 200};
  for (int i = 0; i < 12; ++i) EXPECT_EQ(std::bit_cast<std::uint32_t>(t.data()[i]), std::bit_cast<std::uint32_t>(expected[i])) << i;
  EXPECT_DOUBLE_EQ(t.Scale(), 2.0);
}

TEST(Matrix4, HeadingReadsBackInRangeWithoutNegativeZero) {
  for (double h : {0.0, 30.0, 45.0, 89.5, 90.0, 180.0, 225.0, 270.0, 359.75, 360.0, -90.0, 720.0 + 10.0}) {
    Matrix4 t = Matrix4::Identity();
    t.SetDirectionInDegrees(h, 1.5f);
    double back = t.GetDirectionInDegrees();
    EXPECT_TRUE(back >= 0.0 && back < 360.0 && !std::signbit(back)) << h << " " << back;
    EXPECT_NEAR(back, std::fmod(std::fmod(h, 360.0) + 360.0, 360.0), 1e-4) << h;
    EXPECT_NEAR(t.Scale(), 1.5, 1e-6) << h;
  }
  Matrix4 t = Matrix4::Identity();
  t.m[0][2] = 1e-30f;  // a hair below north wraps to 0, not 360
  EXPECT_TRUE(t.GetDirectionInDegrees() >= 0.0 && t.GetDirectionInDegrees() < 360.0);
}
