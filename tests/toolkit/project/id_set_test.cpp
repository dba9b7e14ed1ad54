// IdSet against std::set: the same answers for IDs across the whole 32-bit
// range (the free-slot marker's value included) while the table grows, with
// and without a bitmap over part of the range.
#include <climits>
#include <gtest/gtest.h>
#include <random>
#include <set>

#include "project/id_set.h"

TEST(IdSet, AgreesWithAnOrderedSetWhileGrowing) {
  std::mt19937 random(7);
  std::vector<std::int32_t> stream = {-1, 0, INT_MIN, INT_MAX, -1, 0, INT_MIN, INT_MAX};
  for (int i = 0; i < 20000; ++i) stream.push_back(i);                         // a run, as lists hand them out
  for (int i = 0; i < 20000; ++i) stream.push_back(static_cast<std::int32_t>(random()));
  for (int i = 0; i < 20000; ++i) stream.push_back(static_cast<std::int32_t>(random() % 50000) - 25000);
  // The table alone, and with a bitmap over a range that many IDs fall outside.
  for (bool ranged : {false, true}) {
    SCOPED_TRACE(ranged ? "bitmap over -25000..25000" : "table");
    IdSet ids;
    if (ranged) ids.reserve(1000, -25000, 25000);
    std::set<std::int32_t> reference;
    for (std::int32_t id : stream) {
      ASSERT_EQ(ids.insert(id), reference.insert(id).second) << id;
    }
    EXPECT_EQ(ids.size(), reference.size());
    ids.clear();
    EXPECT_EQ(ids.size(), 0u);
    EXPECT_TRUE(ids.insert(-1));
    EXPECT_FALSE(ids.insert(-1));
  }
}
