#include "objects/object_maintenance.h"

#include <gtest/gtest.h>


#include "object_test_support.h"
#include "stream_capture.h"

// A listing longer than the blocks it is fetched and written in: every line
// in order, once. Objects go in pairs of twins, each pair in a place of
// its own.
TEST(ListDuplicates, ManyBlocksOfLinesComeOutInOrder) {
  ProjectFixture f = oneTemplate("a.p3d");
  const int pairs = 35000;
  std::string expected = "listing duplicate objects...\n";
  for (int k = 0; k < pairs; ++k) {
    for (int twin = 0; twin < 2; ++twin) f.addObject(1).at(static_cast<float>(k), 0.5f, 0).id = 2 * k + twin + 1;
    expected += "a.p3d: ID " + std::to_string(2 * k + 1) + " and " + std::to_string(2 * k + 2) + " @ location " +
                std::to_string(k) + ".00x0.50\n";
  }
  expected += "at least 35000 duplicates found\n";
  OpenedProject p(f);
  StreamCapture out(stdout);
  EXPECT_EQ(listDuplicates(p.get()), 0);
  EXPECT_EQ(out.finish(), expected);
}

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
