// The project store as the program uses it: walks over the object list,
// deletion and reduction, IDs of new objects, the template table and the
// usage answers after every kind of change.
#include <climits>
#include <gtest/gtest.h>
#include <set>
#include <tuple>

#include "fixture_builder.h"
#include "message_capture.h"
#include "status.h"
#include "temp_dir.h"
#include "project/vorlan.h"

namespace {

void load(Vorlan& project, const ProjectFixture& f) {
  std::vector<unsigned char> bytes = f.bytes();
  ASSERT_EQ(project.pew_Open("fixture.pew", 0, MessageCapture::sink, bytes.data(), bytes.size()), status::kOk);
}

std::vector<int> validIds(PewObjects* list) {
  std::vector<int> ids;
  for (PewObject* o = list->pewobject_GetFirstValid(); o; o = list->pewobject_GetNextValid(o)) ids.push_back(o->objectId());
  return ids;
}

int reduce(PewObjects* list) {
  int removed = 0;
  for (PewObject* o = list->pewobject_GetFirstInvalid(); o; ++removed)
    o = list->pewobject_GetInvalid(list->pewobjects_DeleteObject(o));
  return removed;
}

ProjectFixture withObjects(int valid, int deleted) {
  ProjectFixture f;
  f.grid(1, 1, 1).addTemplate(1, "a.p3d");
  for (int i = 0; i < valid; ++i) f.addObject(1);
  f.addDeleted(deleted);
  return f;
}

// Loads objects of the given IDs, in that order.
void loadIds(Vorlan& project, const std::vector<int>& ids) {
  ProjectFixture f = withObjects(static_cast<int>(ids.size()), 0);
  for (std::size_t i = 0; i < ids.size(); ++i) f.objects[i].id = ids[i];
  load(project, f);
}

}  // namespace

TEST(ObjectList, MarkingInvalidKeepsTheSlotAndReductionRemovesIt) {
  struct {
    int valid, deleted, markSecond, slots, removed;
    std::vector<int> ids;
  } const cases[] = {{0, 0, 0, 0, 0, {}}, {0, 4, 0, 4, 4, {}}, {5, 2, 1, 7, 3, {1, 3, 4, 5}}};
  for (const auto& c : cases) {
    Vorlan project;
    load(project, withObjects(c.valid, c.deleted));
    PewObjects* list = project.pew_get_objects();
    if (c.markSecond) list->markInvalid(list->pewobject_GetNextValid(list->pewobject_GetFirstValid()));
    EXPECT_EQ(list->slotCount(), static_cast<unsigned>(c.slots));
    EXPECT_EQ(validIds(list), c.ids);
    if (PewObject* slot = c.markSecond ? nullptr : list->pewobject_GetFirstInvalid()) {
      const unsigned char* read = slot->record();  // a deleted slot takes no name
      list->setInstanceName(slot, "longer");
      EXPECT_EQ(slot->record(), read);
    }
    EXPECT_EQ(reduce(list), c.removed);
    EXPECT_EQ(list->pewobject_GetFirstInvalid(), nullptr);
    // The reduced list is what gets written.
    TempDir dir;
    ASSERT_EQ(project.pew_Create(dir.file("r.pew").c_str(), 0), status::kOk);
    Vorlan again;
    ASSERT_EQ(again.pew_Open(dir.file("r.pew").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk);
    EXPECT_EQ(again.pew_get_objects()->slotCount(), c.ids.size());
    EXPECT_EQ(validIds(again.pew_get_objects()), c.ids);
  }
}

// Handles come in blocks of 262144: a walk crosses into the next block also
// where the first one ends in deleted slots.
TEST(ObjectList, WalksCrossBlocksOfHandles) {
  ProjectFixture f = withObjects(262140, 4);
  f.addObject(1).id = -7;
  Vorlan project;
  load(project, f);
  std::vector<int> ids = validIds(project.pew_get_objects());
  EXPECT_EQ(ids.size(), 262141u);
  EXPECT_EQ(ids.back(), -7);
}

TEST(ObjectList, NewObjectsGetUnusedIdsAndStayPut) {
  Vorlan project;
  loadIds(project, {40, 7});
  PewObjects* list = project.pew_get_objects();
  PewObject* first = list->AddPewObject();
  EXPECT_EQ(first->objectId(), 41);
  EXPECT_EQ(first->validFlag(), 1);
  EXPECT_EQ(first->transform().Scale(), 1.0);
  list->setInstanceName(first, "front door");  // a longer name moves the record, not the object
  EXPECT_EQ(std::make_tuple(first->instanceName(), first->objectId(), first->unnamedA()),
            std::make_tuple(std::string_view("front door"), 41, -1));
  // Past two blocks of handles: invalid ones around the end of the first,
  // valid ones on both sides of the second boundary.
  std::set<int> ids{40, 7, 41};
  for (int i = 0; i < 530000; ++i) {
    PewObject* o = list->AddPewObject();
    ids.insert(o->objectId());
    if (i % 7 == 0 || (i > 262130 && i < 262150)) list->markInvalid(o);
  }
  EXPECT_EQ(ids.size(), 530003u);
  EXPECT_EQ(first->objectId(), 41);  // records never move as the list grows
  EXPECT_EQ(list->slotCount(), 530003u);
  EXPECT_EQ(validIds(list).size(), 530003u - 75732u);  // 75715 sevenths and 17 more
  EXPECT_EQ(reduce(list), 75732);

  // When the highest possible ID is taken, the lowest free one is used.
  Vorlan other;
  loadIds(other, {INT_MAX, 0, 1, 3});
  PewObjects* gaps = other.pew_get_objects();
  EXPECT_EQ(gaps->AddPewObject()->objectId(), 2);
  EXPECT_EQ(gaps->AddPewObject()->objectId(), 4);
  // And it stays linear: with a search from the start for every new object
  // these 200,000 would take hours, not a fraction of a second.
  std::set<int> filled;
  for (int i = 0; i < 200000; ++i) filled.insert(gaps->AddPewObject()->objectId());
  EXPECT_EQ(filled.size(), 200000u);
  EXPECT_EQ(*filled.begin(), 5);
  EXPECT_EQ(*filled.rbegin(), 200004);
  // The lowest free ID may be 0.
  Vorlan third;
  loadIds(third, {INT_MAX, 1});
  EXPECT_EQ(third.pew_get_objects()->AddPewObject()->objectId(), 0);
}

TEST(TemplateTable, EmptyTableNewTemplatesAndNoProject) {
  Vorlan project;
  unsigned count = 99;
  EXPECT_EQ(project.pew_get_max_template_id(), -1);
  EXPECT_EQ(project.pew_get_template(&count), nullptr);
  EXPECT_EQ(count, 0u);
  project.pew_New(1, 1, 1);
  count = 99;
  EXPECT_EQ(project.pew_get_template(&count), nullptr);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(project.pew_get_max_template_id(), 0);
  // Usual values; an empty template (as a library reads it) has the ellipse.
  PewObjectTemplate* t = project.pew_add_template(3, "m\\a.p3d", 1, -1);
  EXPECT_STREQ(t->strModelFilename.Get(), "m\\a.p3d");
  EXPECT_EQ(std::vector<unsigned>({t->ulObjectType, t->ulOutlineColour, t->ulObjectColour, t->ulMarkerType}),
            std::vector<unsigned>({kObjectTypeNatural, kDefaultColour, kDefaultColour, kMarkerRectangle}));
  EXPECT_EQ(std::vector<double>({double(t->sbUnknownFlag), t->dblxyRandomScale.x, t->dblxyRandomRotate.y,
                                 t->dblxyRandomOrientation.x, double(t->LodNamedSelections)}),
            std::vector<double>({1, 50, 20, 180, 0}));
  PewObjectTemplate* empty = project.pew_add_template(4);
  EXPECT_EQ(std::vector<unsigned>({empty->templateId, empty->ulMarkerType, empty->ulObjectType}),
            std::vector<unsigned>({4, kMarkerEllipse, kObjectTypeNatural}));
  EXPECT_EQ(project.pew_get_template(5), nullptr);
  EXPECT_EQ(project.pew_get_max_template_id(), 4);
  project.pew_delete_templates();
  EXPECT_EQ(project.pew_get_template(nullptr), nullptr);
  EXPECT_EQ(project.pew_get_max_template_id(), 0);  // emptied, still loaded
  project.Close();
  EXPECT_EQ(project.pew_get_max_template_id(), -1);
}

TEST(TemplateTable, WalkThatDeletesTheTemplateItStandsOn) {
  Vorlan project;
  project.pew_New(1, 1, 1);
  for (int id = 1; id <= 3; ++id) project.pew_add_template(id);
  project.pew_get_objects()->AddPewObject()->setTemplateId(2);
  for (PewObjectTemplate* t = project.pew_get_template(nullptr); t;) {
    PewObjectTemplate* next = t->next;
    if (!project.pew_template_used_in_objects(t)) {
      ASSERT_EQ(project.pew_delete_template(t), 1);
    }
    t = next;
  }
  unsigned count = 0;
  EXPECT_EQ(project.pew_get_template(&count)->templateId, 2u);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(project.pew_get_template(3), nullptr);
  EXPECT_EQ(project.pew_get_max_template_id(), 2);
  PewObjectTemplate stranger;
  EXPECT_EQ(project.pew_delete_template(&stranger), 0);
  EXPECT_EQ(project.pew_delete_template(nullptr), 0);
}

TEST(TemplateTable, UsageFollowsEveryChange) {
  ProjectFixture f = withObjects(1, 1);  // a deleted slot refers to no template, not even id 0
  f.addTemplate(2, "b.p3d");
  f.addTemplate(5, "first.p3d");
  f.addTemplate(5, "second.p3d");  // a duplicated id: the first holder is found
  f.addObject(9);                  // a dangling id
  f.addObject(5);
  Vorlan project;
  load(project, f);
  auto used = [&](int id) { return project.pew_template_used_in_objects(project.pew_get_template(id)); };
  // Valid objects, and those of them whose template is missing.
  auto valid = [&] {
    std::uint32_t missing = 99;
    std::uint32_t count = project.pew_count_valid_objects(&missing);
    return std::vector<std::uint32_t>({count, missing});
  };
  using Counts = std::vector<std::uint32_t>;
  EXPECT_EQ(std::vector<int>({used(1), used(2), used(5)}), std::vector<int>({1, 0, 1}));
  EXPECT_EQ(valid(), Counts({3, 1}));
  PewObjectTemplate* first = project.pew_get_template(5);
  EXPECT_STREQ(first->strModelFilename.Get(), "first.p3d");
  EXPECT_EQ(project.pew_template_used_in_objects(first->next), 1);
  ASSERT_EQ(project.pew_delete_template(first), 1);
  EXPECT_STREQ(project.pew_get_template(5)->strModelFilename.Get(), "second.p3d");
  EXPECT_EQ(valid(), Counts({3, 1}));

  project.pew_add_template(9);  // added for the dangling id: used at once
  EXPECT_EQ(used(9), 1);
  EXPECT_EQ(valid(), Counts({3, 0}));
  PewObjects* list = project.pew_get_objects();
  list->AddPewObject()->setTemplateId(2);
  EXPECT_EQ(used(2), 1);
  list->pewobjects_DeleteObject(list->pewobject_GetFirstValid());  // the only object of template 1
  EXPECT_EQ(used(1), 0);
  // An object marked invalid still refers to its template until it is reduced.
  PewObject* nine = list->pewobject_GetFirstValid();
  ASSERT_EQ(nine->templateId(), 9u);
  list->markInvalid(nine);
  EXPECT_EQ(used(9), 1);
  EXPECT_EQ(valid(), Counts({2, 0}));
  reduce(list);
  EXPECT_EQ(used(9), 0);
  // Removing the last holder of an id leaves its objects without a template.
  ASSERT_EQ(project.pew_delete_template(project.pew_get_template(5)), 1);
  EXPECT_EQ(valid(), Counts({2, 1}));
  project.pew_delete_objects();
  EXPECT_EQ(used(2), 0);
  EXPECT_EQ(list->slotCount(), 0u);
  EXPECT_NE(project.pew_get_template(1), nullptr);  // deleting objects keeps templates
  EXPECT_NE(project.GetIO(), nullptr);
}
