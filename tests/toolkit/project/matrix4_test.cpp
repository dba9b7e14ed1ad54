#include "project/matrix4.h"

#include <cmath>
#include <gtest/gtest.h>

TEST(Matrix4, SetDirectionLaysOutRotatedScaledAxes) {
  Matrix4 t = Matrix4::Identity();
  t.mtx4_SetPosition(100, 5, 200);
  t.SetDirectionInDegrees(90, 2.0f);
  // (cos h s, 0, -sin h s), (0, s, 0), (sin h s, 0, cos h s), row 4 untouched.
  const float expected[12] = {0, 0, -2, 0, 2, 0, 2, 0, 0, 100, 5, 200};
  for (int i = 0; i < 12; ++i) EXPECT_EQ(t.data()[i], expected[i]) << "value " << i;
  for (int i = 0; i < 9; ++i) EXPECT_FALSE(std::signbit(t.data()[i]) && t.data()[i] == 0) << "negative zero at " << i;
  EXPECT_DOUBLE_EQ(t.GetDirectionInDegrees(), 90.0);
  EXPECT_DOUBLE_EQ(t.Scale(), 2.0);
}

TEST(Matrix4, HeadingReadsBackInRangeWithoutNegativeZero) {
  for (double h : {0.0, 30.0, 45.0, 89.5, 180.0, 225.0, 270.0, 359.75, 360.0, -90.0, 720.0 + 10.0}) {
    Matrix4 t = Matrix4::Identity();
    t.SetDirectionInDegrees(h, 1.5f);
    double back = t.GetDirectionInDegrees();
    double want = std::fmod(std::fmod(h, 360.0) + 360.0, 360.0);
    EXPECT_GE(back, 0.0) << h;
    EXPECT_LT(back, 360.0) << h;
    EXPECT_NEAR(back, want, 1e-4) << h;
    EXPECT_FALSE(std::signbit(back)) << h;
    EXPECT_NEAR(t.Scale(), 1.5, 1e-6) << h;
  }
}

TEST(Matrix4, TinyNegativeAngleWrapsToZeroNotThreeSixty) {
  Matrix4 t = Matrix4::Identity();
  t.m[0][2] = 1e-30f;  // a hair below north
  double h = t.GetDirectionInDegrees();
  EXPECT_LT(h, 360.0);
  EXPECT_GE(h, 0.0);
}
