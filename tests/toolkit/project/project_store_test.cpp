// The project store as the program uses it: walks over the object list,
// deletion and reduction, IDs of new objects, the template table and the
// usage answers after every kind of change.
#include <climits>
#include <gtest/gtest.h>
#include <chrono>
#include <set>

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
  for (PewObject* o = list->pewobject_GetFirstValid(); o; o = list->pewobject_GetNextValid(o)) ids.push_back(o->objectId);
  return ids;
}

int reduce(PewObjects* list) {
  int removed = 0;
  for (PewObject* o = list->pewobject_GetFirstInvalid(); o;) {
    ++removed;
    o = list->pewobject_GetInvalid(list->pewobjects_DeleteObject(o));
  }
  return removed;
}

}  // namespace

TEST(ObjectList, EmptyListHasNothingToWalk) {
  Vorlan project;
  project.pew_New(2, 2, 1);
  PewObjects* list = project.pew_get_objects();
  EXPECT_EQ(list->pewobject_GetFirstValid(), nullptr);
  EXPECT_EQ(list->pewobject_GetFirstInvalid(), nullptr);
  EXPECT_EQ(list->slotCount(), 0u);
  EXPECT_EQ(reduce(list), 0);
}

TEST(ObjectList, MarkingInvalidKeepsTheSlotAndReductionRemovesIt) {
  ProjectFixture f;
  f.grid(2, 2, 1).addTemplate(1, "a.p3d");
  for (int i = 0; i < 5; ++i) f.addObject(1);
  f.addDeleted(2);
  Vorlan project;
  load(project, f);
  PewObjects* list = project.pew_get_objects();
  EXPECT_EQ(list->slotCount(), 7u);
  PewObject* second = list->pewobject_GetNextValid(list->pewobject_GetFirstValid());
  second->validFlag = 0;
  EXPECT_EQ(list->slotCount(), 7u);
  EXPECT_EQ(validIds(list), (std::vector<int>{1, 3, 4, 5}));
  EXPECT_EQ(reduce(list), 3);
  EXPECT_EQ(list->slotCount(), 4u);
  EXPECT_EQ(list->pewobject_GetFirstInvalid(), nullptr);
  EXPECT_EQ(validIds(list), (std::vector<int>{1, 3, 4, 5}));

  // The reduced list is what gets written.
  TempDir dir;
  ASSERT_EQ(project.pew_Create(dir.file("r.pew").c_str(), 0), status::kOk);
  Vorlan again;
  ASSERT_EQ(again.pew_Open(dir.file("r.pew").c_str(), 0, MessageCapture::sink, nullptr, 0), status::kOk);
  EXPECT_EQ(again.pew_get_objects()->slotCount(), 4u);
  EXPECT_EQ(validIds(again.pew_get_objects()), (std::vector<int>{1, 3, 4, 5}));
}

TEST(ObjectList, AllInvalidFindsNoValidAndReducesToEmpty) {
  ProjectFixture f;
  f.grid(1, 1, 1).addDeleted(4);
  Vorlan project;
  load(project, f);
  PewObjects* list = project.pew_get_objects();
  EXPECT_EQ(list->pewobject_GetFirstValid(), nullptr);
  EXPECT_EQ(reduce(list), 4);
  EXPECT_EQ(list->slotCount(), 0u);
}

TEST(ObjectList, NewObjectsGetUnusedIdsAndStayPut) {
  ProjectFixture f;
  f.grid(1, 1, 1).addTemplate(1, "a.p3d");
  f.addObject(1).id = 40;
  f.addObject(1).id = 7;
  Vorlan project;
  load(project, f);
  PewObjects* list = project.pew_get_objects();
  PewObject* first = list->AddPewObject();
  EXPECT_EQ(first->objectId, 41);
  EXPECT_EQ(first->validFlag, 1);
  EXPECT_EQ(first->transform.Scale(), 1.0);
  std::set<int> ids{40, 7, 41};
  for (int i = 0; i < 40000; ++i) ids.insert(list->AddPewObject()->objectId);
  EXPECT_EQ(ids.size(), 40003u);
  EXPECT_EQ(first->objectId, 41);  // records never move as the list grows
  EXPECT_EQ(list->slotCount(), 40003u);

  // When the highest possible ID is taken, the lowest free one is used.
  ProjectFixture full;
  full.grid(1, 1, 1);
  full.addObject(1).id = INT_MAX;
  full.addObject(1).id = 0;
  full.addObject(1).id = 1;
  full.addObject(1).id = 3;
  Vorlan other;
  load(other, full);
  PewObjects* gaps = other.pew_get_objects();
  EXPECT_EQ(gaps->AddPewObject()->objectId, 2);
  EXPECT_EQ(gaps->AddPewObject()->objectId, 4);
  // And it stays linear: a search from the start for every new object made
  // an import of 100,000 records take a minute.
  auto start = std::chrono::steady_clock::now();
  std::set<int> filled;
  for (int i = 0; i < 200000; ++i) filled.insert(gaps->AddPewObject()->objectId);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ(filled.size(), 200000u);
  EXPECT_EQ(*filled.begin(), 5);
  EXPECT_EQ(*filled.rbegin(), 200004);
}

TEST(TemplateTable, EmptyTableAndNoProject) {
  Vorlan project;
  EXPECT_EQ(project.pew_get_max_template_id(), -1);
  unsigned count = 99;
  EXPECT_EQ(project.pew_get_template(&count), nullptr);
  EXPECT_EQ(count, 0u);
  project.pew_New(1, 1, 1);
  count = 99;
  EXPECT_EQ(project.pew_get_template(&count), nullptr);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(project.pew_get_max_template_id(), 0);
  EXPECT_EQ(project.pew_add_template(project.pew_get_max_template_id() + 1)->templateId, 1u);
  EXPECT_EQ(project.pew_get_template(5), nullptr);
  EXPECT_EQ(project.pew_get_template(nullptr)->next, nullptr);  // the lookup created nothing
  project.pew_delete_templates();
  EXPECT_EQ(project.pew_get_max_template_id(), 0);  // emptied, still loaded
  project.Close();
  EXPECT_EQ(project.pew_get_max_template_id(), -1);
}

TEST(TemplateTable, NewTemplatesHaveTheUsualValues) {
  Vorlan project;
  project.pew_New(1, 1, 1);
  PewObjectTemplate* t = project.pew_add_template(3, "m\\a.p3d", 1, -1);
  EXPECT_STREQ(t->strModelFilename.Get(), "m\\a.p3d");
  EXPECT_EQ(t->ulObjectType, kObjectTypeNatural);
  EXPECT_EQ(t->ulOutlineColour, kDefaultColour);
  EXPECT_EQ(t->ulObjectColour, kDefaultColour);
  EXPECT_EQ(t->sbUnknownFlag, 1);
  EXPECT_EQ(t->dblxyRandomScale.x, 50);
  EXPECT_EQ(t->dblxyRandomRotate.y, 20);
  EXPECT_EQ(t->dblxyRandomOrientation.x, 180);
  EXPECT_EQ(t->ulMarkerType, kMarkerRectangle);
  EXPECT_EQ(t->LodNamedSelections, 0);
}

TEST(TemplateTable, WalkThatDeletesTheTemplateItStandsOn) {
  Vorlan project;
  project.pew_New(1, 1, 1);
  for (int id = 1; id <= 3; ++id) project.pew_add_template(id);
  PewObject* o = project.pew_get_objects()->AddPewObject();
  o->templateId = 2;
  int removed = 0;
  for (PewObjectTemplate* t = project.pew_get_template(nullptr); t;) {
    PewObjectTemplate* next = t->next;
    if (!project.pew_template_used_in_objects(t)) {
      ASSERT_EQ(project.pew_delete_template(t), 1);
      ++removed;
    }
    t = next;
  }
  EXPECT_EQ(removed, 2);
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
  ProjectFixture f;
  f.grid(1, 1, 1);
  f.addTemplate(1, "a.p3d");
  f.addTemplate(2, "b.p3d");
  f.addObject(1);
  f.addDeleted();  // a deleted slot refers to no template, not even id 0
  f.addObject(9);  // a dangling id
  Vorlan project;
  load(project, f);
  auto used = [&](int id) { return project.pew_template_used_in_objects(project.pew_get_template(id)); };
  EXPECT_EQ(used(1), 1);
  EXPECT_EQ(used(2), 0);

  // A template added for the dangling id is used at once.
  project.pew_add_template(9);
  EXPECT_EQ(used(9), 1);
  // A new object of template 2.
  PewObjects* list = project.pew_get_objects();
  list->AddPewObject()->templateId = 2;
  EXPECT_EQ(used(2), 1);
  // Deleting the only object of template 1.
  list->pewobjects_DeleteObject(list->pewobject_GetFirstValid());
  EXPECT_EQ(used(1), 0);
  // An object marked invalid still refers to its template until it is reduced.
  PewObject* nine = list->pewobject_GetFirstValid();
  ASSERT_EQ(nine->templateId, 9u);
  nine->validFlag = 0;
  EXPECT_EQ(used(9), 1);
  reduce(list);
  EXPECT_EQ(used(9), 0);
  project.pew_delete_objects();
  EXPECT_EQ(used(2), 0);
  EXPECT_EQ(list->slotCount(), 0u);
  EXPECT_NE(project.pew_get_template(1), nullptr);  // deleting objects keeps templates
  project.pew_delete_templates();
  EXPECT_EQ(project.pew_get_template(nullptr), nullptr);
}

TEST(TemplateTable, DuplicatedIdsKeepTheFirstHolderFindable) {
  ProjectFixture f;
  f.grid(1, 1, 1);
  f.addTemplate(5, "first.p3d");
  f.addTemplate(5, "second.p3d");
  f.addObject(5);
  Vorlan project;
  load(project, f);
  PewObjectTemplate* first = project.pew_get_template(5);
  EXPECT_STREQ(first->strModelFilename.Get(), "first.p3d");
  EXPECT_EQ(project.pew_template_used_in_objects(first->next), 1);
  ASSERT_EQ(project.pew_delete_template(first), 1);
  EXPECT_STREQ(project.pew_get_template(5)->strModelFilename.Get(), "second.p3d");
}

TEST(TemplateTable, EmptyTemplateForALibraryHasTheEllipseMarker) {
  // A library leaves a natural template's ellipse out; the template that
  // reads it back must then have it already.
  Vorlan project;
  project.pew_New(1, 1, 1);
  PewObjectTemplate* t = project.pew_add_template(4);
  EXPECT_EQ(t->ulMarkerType, kMarkerEllipse);
  EXPECT_EQ(t->ulObjectType, kObjectTypeNatural);
  EXPECT_EQ(t->templateId, 4u);
  EXPECT_NE(project.GetIO(), nullptr);
}
