#include "objects/object_maintenance.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "object_test_support.h"
#include "objects/duplicate_finder.h"
#include "stream_capture.h"

namespace {

// Twins as the listing defines them, the slow way.
std::vector<TwinPair> twinsByPairs(const std::vector<const PewObject*>& objects) {
  std::vector<TwinPair> twins;
  for (std::uint32_t i = 0; i < objects.size(); ++i)
    for (std::uint32_t j = i + 1; j < objects.size(); ++j)
      if (objects[j]->templateId() == objects[i]->templateId() &&
          std::memcmp(objects[j]->record() + 8, objects[i]->record() + 8, sizeof(Matrix4)) == 0) {
        twins.push_back({i, j});
        break;
      }
  return twins;
}

}  // namespace

TEST(ListDuplicates, HashedSearchAgreesWithComparingEveryPair) {
  std::mt19937 random(9);
  const float values[] = {0.0f, -0.0f, 1.0f, 2.5f};
  PewObjects list;
  for (int i = 0; i < 3000; ++i) {
    PewObject* o = list.AddPewObject();
    o->setTemplateId(1 + random() % 2);
    Matrix4 t;
    for (int k = 0; k < 12; ++k) t.data()[k] = static_cast<unsigned>(k % 4) == random() % 4 ? values[random() % 4] : 0.0f;
    o->setTransform(t);
  }
  std::vector<const PewObject*> objects;
  for (PewObject* o = list.pewobject_GetFirstValid(); o; o = list.pewobject_GetNextValid(o)) objects.push_back(o);
  std::vector<TwinPair> twins = findLaterTwins(objects);
  EXPECT_EQ(twins, twinsByPairs(objects));
  EXPECT_GT(twins.size(), 1000u);
}

TEST(ListDuplicates, AMillionTwinsEachFindTheNext) {
  PewObjects list;
  std::vector<const PewObject*> objects;
  for (int i = 0; i < 1000000; ++i) objects.push_back(list.AddPewObject());
  std::vector<TwinPair> twins = findLaterTwins(objects);
  ASSERT_EQ(twins.size(), objects.size() - 1);
  for (std::uint32_t i = 0; i < twins.size(); ++i) ASSERT_EQ(twins[i], (TwinPair{i, i + 1}));
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
