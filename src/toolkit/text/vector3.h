// Vector3: three floats, a point in space (the points of a road template's
// chain). It lives with the text helpers because GenString writes it as
// "x,y,z", and formatting must need nothing from the project store.
#pragma once

struct Vector3 {
  float x = 0, y = 0, z = 0;
};
