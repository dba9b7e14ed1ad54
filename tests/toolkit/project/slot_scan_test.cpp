// The object index made by two threads against the one made by the reader
// alone, on the same bytes: the same objects, counts and IDs, and the same
// first problem of a damaged file.
#include "project/slot_scan.h"

#include <gtest/gtest.h>

#include <random>

#include "fixture_builder.h"
#include "message_capture.h"
#include "temp_dir.h"
#include "project/vorlan.h"

namespace {

// What a reading gives: its status and message, or the project written back
// and what the store counted.
std::string readingOf(const std::vector<unsigned char>& bytes, std::size_t minSlotBytes, const TempDir& dir) {
  slot_scan::minSlotBytes = minSlotBytes;
  MessageCapture::reset();
  Vorlan project;
  int status = project.pew_Open("map.pew", 0, MessageCapture::sink, bytes.data(), bytes.size());
  slot_scan::minSlotBytes = std::size_t{16} << 20;
  if (status != 0) return std::to_string(status) + " " + MessageCapture::text;
  std::uint32_t missing = 0;
  std::uint32_t valid = project.pew_count_valid_objects(&missing);
  std::string used;
  for (PewObjectTemplate* t = project.pew_get_template(static_cast<unsigned*>(nullptr)); t; t = t->next)
    used += project.pew_template_used_in_objects(t) ? '1' : '0';
  std::int32_t fresh = project.pew_get_objects()->AddPewObject()->objectId();
  EXPECT_EQ(project.pew_Create(dir.file("out.pew").c_str(), 0), 0);
  std::vector<unsigned char> written = readFileBytes(dir.file("out.pew"));
  return std::to_string(valid) + " " + std::to_string(missing) + " " + used + " " + std::to_string(fresh) + " " +
         std::to_string(written.size()) + " " + std::to_string(std::hash<std::string>()(std::string(written.begin(), written.end())));
}

// Objects of random names, templates (some held by no template, some of
// large ids) and transforms, deleted slots among them, and a tail that
// repeats some of them: slots that look like slots but are not to be
// indexed.
std::vector<unsigned char> randomProject(std::mt19937& random) {
  ProjectFixture f;
  f.grid(4, 4, 1).addTemplate(1, "a.p3d");
  f.addTemplate(2, "b.p3d");
  f.addTemplate(70000, "c.p3d");
  const std::uint32_t templateIds[] = {1, 3, 70001, 2, 70000};
  const std::size_t templatesUsed = 1 + random() % 5;
  // Now and then more than the thread's runs of 4096 slots.
  const int count = random() % 8 == 0 ? 9000 + static_cast<int>(random() % 9000) : 200 + static_cast<int>(random() % 600);
  for (int i = 0; i < count; ++i) {
    if (random() % 5 == 0) {
      f.addDeleted(1 + static_cast<int>(random() % 3));
      continue;
    }
    FixtureObject& o = f.addObject(templateIds[random() % templatesUsed]).named(std::string(random() % 12, 'n'));
    for (float& v : o.transform) v = random() % 4 == 0 ? 0.0f : static_cast<float>(random() % 1000) / 7.0f;
    o.id = static_cast<std::int32_t>(random() % 5000);
  }
  std::vector<unsigned char> bytes = f.bytes();
  f.tail.assign(bytes.end() - static_cast<long>(random() % 2000) - 24, bytes.end());
  return f.bytes();
}

}  // namespace

TEST(SlotScan, TwoThreadsIndexAsOne) {
  TempDir dir;
  std::mt19937 random(7);
  int scanned = 0;
  for (int round = 0; round < 60; ++round) {
    std::vector<unsigned char> bytes = randomProject(random);
    // Damage: a slot's name without its NUL, or the file cut short.
    if (round % 3 == 1) bytes[bytes.size() / 2 + random() % (bytes.size() / 3)] = 'x';
    if (round % 3 == 2) bytes.resize(bytes.size() / 2 + random() % (bytes.size() / 2));
    SlotScan probe(bytes.data(), bytes.data() + bytes.size());
    slot_scan::minSlotBytes = 0;
    SlotScan scan(bytes.data(), bytes.data() + bytes.size());
    slot_scan::minSlotBytes = std::size_t{16} << 20;
    EXPECT_EQ(probe.start(), nullptr) << "a small file is read by one thread";
    scanned += scan.start() != nullptr;
    // Only the slots found are found; no byte inside one is.
    if (std::size_t found = scan.finish(); found > 1) {
      const auto* second = reinterpret_cast<const unsigned char*>(scan[1].record & ~SlotScan::kDeleted);
      EXPECT_EQ(scan.find(second), 1u);
      EXPECT_EQ(scan.find(second - 1), found);
      EXPECT_EQ(scan.find(scan.after(found - 1)), found);
    }
    EXPECT_EQ(readingOf(bytes, 0, dir), readingOf(bytes, SIZE_MAX, dir)) << "round " << round;
  }
  EXPECT_GT(scanned, 40);
}

// Zero bytes read as deleted slots: a flat grid in the middle of the file is
// no place to start, nor is a file without slots.
TEST(SlotScan, NoStartInZerosOrWithoutSlots) {
  ProjectFixture f;
  f.grid(256, 256, 1).addTemplate(1, "a.p3d");  // 256 KB of zeros, then the slots
  for (int i = 0; i < 20; ++i) f.addObject(1);
  std::vector<unsigned char> bytes = f.bytes();
  std::vector<unsigned char> text(bytes.size(), 'x');
  slot_scan::minSlotBytes = 0;
  SlotScan flat(bytes.data(), bytes.data() + bytes.size());
  SlotScan none(text.data(), text.data() + text.size());
  slot_scan::minSlotBytes = std::size_t{16} << 20;
  EXPECT_EQ(flat.start(), nullptr);
  EXPECT_EQ(none.start(), nullptr);
}
