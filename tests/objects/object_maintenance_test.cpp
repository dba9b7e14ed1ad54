#include "objects/object_maintenance.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "driver/run_state.h"
#include "input_feed.h"
#include "object_test_support.h"
#include "objects/duplicate_finder.h"
#include "objects/object_import.h"
#include "stream_capture.h"

namespace {

struct Printed {
  int status;
  std::string out;
  std::string err;
};

template <typename Action>
Printed run(Action action) {
  StreamCapture out(stdout);
  StreamCapture err(stderr);
  int status = action();
  std::string errText = err.finish();
  return {status, out.finish(), errText};
}

std::vector<PewObject*> allValid(Vorlan& project) {
  std::vector<PewObject*> all;
  PewObjects& objects = *project.pew_get_objects();
  for (PewObject* o = objects.pewobject_GetFirstValid(); o; o = objects.pewobject_GetNextValid(o)) all.push_back(o);
  return all;
}

// Twins as the listing defines them, the slow way.
std::vector<std::uint32_t> twinsByPairs(const std::vector<const PewObject*>& objects) {
  std::vector<std::uint32_t> twin(objects.size(), kNoTwin);
  for (std::size_t i = 0; i < objects.size(); ++i)
    for (std::size_t j = i + 1; j < objects.size(); ++j)
      if (objects[j]->templateId() == objects[i]->templateId() &&
          std::memcmp(objects[j]->record() + 8, objects[i]->record() + 8, sizeof(Matrix4)) == 0) {
        twin[i] = static_cast<std::uint32_t>(j);
        break;
      }
  return twin;
}

ProjectFixture withTemplates() {
  ProjectFixture f;
  f.grid(2, 2, 10.0f);
  f.addTemplate(1, "ca\\house.p3d");
  f.addTemplate(2, "tree.p3d");
  return f;
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
  std::vector<std::uint32_t> twins = findLaterTwins(objects);
  EXPECT_EQ(twins, twinsByPairs(objects));
  EXPECT_GT(std::count_if(twins.begin(), twins.end(), [](std::uint32_t t) { return t != kNoTwin; }), 1000);
}

TEST(ListDuplicates, AMillionTwinsEachFindTheNext) {
  PewObjects list;
  std::vector<const PewObject*> objects;
  for (int i = 0; i < 1000000; ++i) objects.push_back(list.AddPewObject());
  std::vector<std::uint32_t> twins = findLaterTwins(objects);
  for (std::uint32_t i = 0; i + 1 < twins.size(); ++i) ASSERT_EQ(twins[i], i + 1);
  EXPECT_EQ(twins.back(), kNoTwin);
}

TEST(AddOffsets, MovesTheValidObjectsOnlyOnceConfirmed) {
  ProjectFixture f = withTemplates();
  f.addObject(1).at(1, 2, 3).heading(30, 2);
  f.addObject(2).at(-5, 7.5f, 0);
  OpenedProject p(f);
  PewObject* hidden = allValid(p.get())[1];
  hidden->markInvalid();
  Matrix4 before = allValid(p.get())[0]->transform();
  Printed r = run([&] { return addOffsets(p.get(), 10, 20, 0); });
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "Adding offsets\nOffsets added to all Objects\n");
  const Matrix4 moved = allValid(p.get())[0]->transform();
  EXPECT_EQ(moved.X(), 11.0);
  EXPECT_EQ(moved.Y(), 22.0);
  EXPECT_EQ(moved.Height(), 3.0);
  EXPECT_EQ(std::memcmp(moved.m, before.m, 9 * sizeof(float)), 0);  // orientation and scale stay
  EXPECT_EQ(hidden->transform().X(), -5.0);
  EXPECT_EQ(hidden->transform().Y(), 7.5);
  // Declined, nothing moves (the other actions show this end to end).
  runOptions.yes = 0;
  std::vector<unsigned char> saved = readFileBytes(p.path());
  InputFeed no("n");
  r = run([&] { return addOffsets(p.get(), 1, 1, 1); });
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "are you sure you want to do this? Y/N? n\n");
  EXPECT_EQ(allValid(p.get())[0]->transform().X(), 11.0);
  EXPECT_TRUE(readFileBytes(p.path()) == saved);
}

