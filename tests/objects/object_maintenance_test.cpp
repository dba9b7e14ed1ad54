#include "objects/object_maintenance.h"

#include <gtest/gtest.h>


#include "object_test_support.h"
#include "stream_capture.h"

// Every valid object moves by the offsets (east, north, height) and keeps
// its turn and scale; a deleted slot stays as it was.
TEST(AddOffsets, MoveEveryValidObjectAndKeepItsTurn) {
  ProjectFixture f = oneTemplate("a.p3d");
  f.addObject(1).at(1.5f, 2.5f, 3.0f).heading(90, 2);
  f.addDeleted(1);
  f.addObject(1).at(-4.0f, 0.25f, 1.0f);
  OpenedProject p(f);
  StreamCapture out(stdout);
  StreamCapture err(stderr);
  EXPECT_EQ(addOffsets(p.get(), 10.0f, 20.0f, 0.5f), 0);
  EXPECT_NE(out.finish().find("Offsets added to all Objects\n"), std::string::npos);
  f.objects[0].at(11.5f, 22.5f, 3.5f);
  f.objects[2].at(6.0f, 20.25f, 1.5f);
  EXPECT_EQ(readFileBytes(p.path()), f.bytes());
}
