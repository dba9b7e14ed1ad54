#include "objects/duplicate_finder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <random>

namespace {

bool isValid(const PewObject& o) { return !o.erased() && o.validFlag() != 0; }

bool twins(const PewObject& a, const PewObject& b) {
  return a.templateId() == b.templateId() && std::memcmp(a.record() + 8, b.record() + 8, sizeof(Matrix4)) == 0;
}

// Twins as the listing defines them, the slow way: every pair compared.
std::vector<TwinPair> twinsByPairs(const PewObjects& list) {
  std::vector<TwinPair> found;
  const auto n = static_cast<std::uint32_t>(list.positionCount());
  for (std::uint32_t i = 0; i < n; ++i) {
    if (!isValid(list.atPosition(i))) continue;
    for (std::uint32_t j = i + 1; j < n; ++j)
      if (isValid(list.atPosition(j)) && twins(list.atPosition(i), list.atPosition(j))) {
        found.push_back({i, j});
        break;
      }
  }
  return found;
}

// The same for lists too long to compare every pair: from the back, the
// nearest later position of every key so far, in an ordered map.
std::vector<TwinPair> twinsByMap(const PewObjects& list) {
  using Key = std::pair<std::uint32_t, std::array<unsigned char, sizeof(Matrix4)>>;
  std::map<Key, std::uint32_t> nearest;
  std::vector<TwinPair> found;
  for (auto i = static_cast<std::uint32_t>(list.positionCount()); i-- > 0;) {
    const PewObject& o = list.atPosition(i);
    if (!isValid(o)) continue;
    Key key{o.templateId(), {}};
    std::memcpy(key.second.data(), o.record() + 8, sizeof(Matrix4));
    auto [it, added] = nearest.try_emplace(key, i);
    if (!added) {
      found.push_back({i, it->second});
      it->second = i;
    }
  }
  std::reverse(found.begin(), found.end());
  return found;
}

// Objects of two templates whose transforms take a few values, 0.0 and -0.0
// among them, so that many have twins and some differ only by a zero's sign.
void addVaried(PewObjects& list, int count, std::mt19937& random) {
  const float values[] = {0.0f, -0.0f, 1.0f, 2.5f};
  for (int i = 0; i < count; ++i) {
    PewObject* o = list.AddPewObject();
    o->setTemplateId(1 + random() % 2);
    Matrix4 t;
    for (int k = 0; k < 12; ++k) t.data()[k] = static_cast<unsigned>(k % 4) == random() % 4 ? values[random() % 4] : 0.0f;
    o->setTransform(t);
  }
}

}  // namespace

TEST(FindLaterTwins, AgreesWithComparingEveryPair) {
  std::mt19937 random(9);
  PewObjects list;
  addVaried(list, 3000, random);
  list.markInvalid(list.pewobject_GetNextValid(list.pewobject_GetFirstValid()));
  const std::vector<TwinPair> found = findLaterTwins(list);
  EXPECT_EQ(found, twinsByPairs(list));
  EXPECT_GT(found.size(), 1000u);
}

// A list long enough for two threads: one hashes each half of the list, one
// searches each half of the hashes; twins across the middle, deleted and
// removed objects between them.
TEST(FindLaterTwins, TwoThreadsFindWhatOneOrderedMapFinds) {
  std::mt19937 random(4);
  PewObjects list;
  addVaried(list, 300000, random);
  PewObject* o = list.pewobject_GetFirstValid();
  for (int k = 0; o; ++k) {
    PewObject* next = list.pewobject_GetNextValid(o);
    if (k % 97 == 0) list.markInvalid(o);
    if (k % 89 == 0) list.pewobjects_DeleteObject(o);
    o = next;
  }
  const std::vector<TwinPair> found = findLaterTwins(list);
  EXPECT_EQ(found, twinsByMap(list));
  const std::size_t middle = list.positionCount() / 2;
  EXPECT_TRUE(std::any_of(found.begin(), found.end(), [&](const TwinPair& p) { return p.first < middle && p.twin >= middle; }));
}

// All alike: every object lands in one half of the search, and each one's
// twin is the next.
TEST(FindLaterTwins, AllAlikeEachFindTheNext) {
  PewObjects list;
  for (int i = 0; i < 300000; ++i) list.AddPewObject();
  const std::vector<TwinPair> found = findLaterTwins(list);
  ASSERT_EQ(found.size(), list.positionCount() - 1);
  for (std::uint32_t i = 0; i < found.size(); ++i) ASSERT_EQ(found[i], (TwinPair{i, i + 1}));
}

TEST(FindLaterTwins, NoneInAnEmptyOrSingleList) {
  PewObjects list;
  EXPECT_TRUE(findLaterTwins(list).empty());
  list.AddPewObject();
  EXPECT_TRUE(findLaterTwins(list).empty());
}

// Objects that are not twins but share a hash: the search that trusts the
// hashes finds false pairs, and the search again comparing keys must take
// its place, on one thread and on two.
TEST(FindLaterTwins, SharedHashesAreNotTakenForTwins) {
  struct NarrowHashes {
    explicit NarrowHashes(std::uint64_t bits) { twin_search::hashBits = bits; }
    ~NarrowHashes() { twin_search::hashBits = ~std::uint64_t{0}; }
  };
  std::mt19937 random(12);
  PewObjects small, large;
  addVaried(small, 3000, random);
  addVaried(large, 300000, random);
  {
    NarrowHashes narrow(0x7);
    EXPECT_EQ(findLaterTwins(small), twinsByPairs(small));
  }
  // The home slots still spread (high bits), the parts too (low bits).
  NarrowHashes narrow(0xFFC0'0000'0000'00FFull);
  EXPECT_EQ(findLaterTwins(large), twinsByMap(large));
}
