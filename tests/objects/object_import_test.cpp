#include "objects/object_import.h"

#include <gtest/gtest.h>

#include <cctype>
#include <random>

#include "system/file_string.h"

#include "objects/object_export.h"
#include "object_test_support.h"
#include "stream_capture.h"

namespace {

struct ImportRun {
  int status;
  std::string out;
  std::string err;
};

// Imports `text` (written to "objects.txt" beside the project) into the open
// project, answering yes.
ImportRun importText(OpenedProject& p, const std::string& text) {
  std::string name = p.file("objects.txt");
  writeFileText(name, text);
  StreamCapture out(stdout);
  StreamCapture err(stderr);
  int status = importObjects(p.get(), name.c_str());
  std::string errText = err.finish();
  return {status, out.finish(), errText};
}

std::vector<const PewObject*> validObjects(Vorlan& project) {
  std::vector<const PewObject*> all;
  PewObjects& objects = *project.pew_get_objects();
  for (PewObject* o = objects.pewobject_GetFirstValid(); o; o = objects.pewobject_GetNextValid(o)) all.push_back(o);
  return all;
}

std::vector<std::uint32_t> templateIds(Vorlan& project, std::size_t from = 0) {
  std::vector<std::uint32_t> ids;
  std::vector<const PewObject*> all = validObjects(project);
  for (std::size_t i = from; i < all.size(); ++i) ids.push_back(all[i]->templateId());
  return ids;
}

ProjectFixture houseAndTree() {
  ProjectFixture f;
  f.grid(2, 2, 10.0f);
  f.addTemplate(3, "ca\\house.p3d");
  f.addTemplate(7, "ca\\buildings\\tree_with_a_long_name.p3d");
  f.addTemplate(2, "ca\\Wall.p3d");
  return f;
}

}  // namespace

TEST(ObjectImport, RecordsReadBackFromEveryLayout) {
  ProjectFixture f = houseAndTree();
  f.addObject(3).at(10, 20, 5).heading(90, 1).relative(1.5f);
  f.addObject(7).at(-1.25f, 3, 0).heading(33.3, 0.5f);
  f.addObject(2).at(7, 8, 9).relative(-2.25f);
  for (int format = 0; format <= 3; ++format)
    for (int separator : {',', ';', '|'})
      for (bool header : {false, true})
        for (bool columnate : {false, true}) {
          OpenedProject p(f);
          ObjectLayout layout{format, separator, header, columnate};
          std::string text = writtenText([&](TextWriter& out) { writeObjects(p.get(), out, layout); });
          ImportRun r = importText(p, text);
          SCOPED_TRACE(text);
          ASSERT_EQ(r.status, 0) << r.err;
          EXPECT_EQ(r.err.find("warning"), std::string::npos);
          // Every line but the transform rows is echoed: those beginning with a quote.
          std::string echoed = "Importing Objects\n";
          for (std::size_t at = 0; at < text.size();) {
            std::size_t end = text.find('\n', at) + 1;
            if (text[at] == '"') echoed += text.substr(at, end - at);
            at = end;
          }
          EXPECT_EQ(r.out, echoed);
          EXPECT_EQ(templateIds(p.get(), 3), (std::vector<std::uint32_t>{3, 7, 2}));
          std::vector<const PewObject*> all = validObjects(p.get());
          // Format 0 alone leaves the relative height out.
          EXPECT_EQ(all[3]->relativeHeight(), format != 0 ? 1.5f : 0.0f);
          EXPECT_EQ(all[5]->relativeHeight(), format != 0 ? -2.25f : 0.0f);
        }
}

TEST(ObjectImport, TransformRecords) {
  OpenedProject p(houseAndTree());
  const std::string rows = "\t1.0,\t0.0,\t0.0,\r\n\t0.0,\t1.0,\t0.0,\r\n\t0.0,\t0.0,\t1.0,\r\n";
  ImportRun r = importText(p,
                           "\"ca\\house\",2.50,\r\n" + rows + "\t10,\t5,\t20\r\n\r\n"  // last value ends its row
                           "\"ca\\wall\",-1.25,\r\n" + rows + "\t10,\t5,\t20,\r\n"
                           "\"skipped\",1,2,3,4\r\n"  // the line behind the rows is dropped, whatever it holds
                           "\"ca\\house\",1,2,3,4\r\n");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(templateIds(p.get()), (std::vector<std::uint32_t>{3, 2, 3}));
  std::vector<const PewObject*> all = validObjects(p.get());
  EXPECT_EQ(all[0]->relativeHeight(), 2.5f);
  EXPECT_EQ(all[1]->relativeHeight(), -1.25f);

  for (const std::string& bad : std::vector<std::string>{"\"ca\\house\",2.50,\r\n\t1,\t0,\t0,\r\n\t0,\t1,\t0\r\n",  // third row unended
                                 "\"ca\\house\",2.50,\r\n" + rows,                          // the file ends
                                 "\"ca\\house\",2.50,\r\n\t1,\t0\t0,\r\n",                   // a separator missing
                                 "\"ca\\house\",1,2,3\r\n",                               // short of the degrees
                                 "\r\n", "noPunctuation\r\n", "\"name\" no separator\r\n"}) {
    OpenedProject q(houseAndTree());
    ImportRun b = importText(q, bad);
    EXPECT_EQ(b.status, 1) << bad;
    EXPECT_EQ(b.err, "bad syntax\n") << bad;
    EXPECT_TRUE(validObjects(q.get()).empty());
    EXPECT_TRUE(q.unchanged());
  }
}

// An unquoted name ends, and a quoted one is followed, by the line's
// separator: the first punctuation character of the C locale, whichever.
TEST(ObjectImport, AnyPunctuationCharacterSeparates) {
  for (int c = 1; c < 256; ++c) {
    if (c == '\n') continue;
    OpenedProject p(houseAndTree());
    const std::string sep(1, static_cast<char>(c));
    ImportRun r = importText(p, "\"ca\\house\"" + sep + "1" + sep + "2" + sep + "3" + sep + "4\r\n");
    EXPECT_EQ(r.status, std::ispunct(c) ? 0 : 1) << "byte " << c;
  }
}

// The template lookup through the index gives what a walk of the table from
// its first template gives: the first template whose model file name equals
// the name without regard to ASCII case, or a new one with the highest id
// so far plus 1.
TEST(ObjectImport, TemplateLookupAgreesWithAWalkOfTheTable) {
  std::mt19937 random(11);
  const std::string letters = "aAbB\\._";
  auto randomName = [&] {
    std::string name(1 + random() % 4, 'a');
    for (char& c : name) c = letters[random() % letters.size()];
    return name;
  };
  ProjectFixture f;
  f.grid(1, 1, 1);
  std::vector<std::pair<std::string, std::uint32_t>> table;
  for (int i = 0; i < 40; ++i) {
    std::uint32_t id = 1 + random() % 500;
    std::string name = randomName() + ".p3d";
    f.addTemplate(id, name);
    table.emplace_back(name, id);
  }
  std::string text;
  std::vector<std::uint32_t> expected;
  for (int i = 0; i < 400; ++i) {
    std::string name = randomName();
    if (random() % 2) name += ".p3d";
    text += "\"" + name + "\",1,2,3,4\r\n";
    FileStringA model(name[0] == '\\' ? name.substr(1) : name);
    model.fs_AddExt("p3d", 0);
    std::uint32_t highest = 0, id = 0;
    bool found = false;
    for (auto& [tableName, tableId] : table) {
      highest = std::max(highest, tableId);
      if (!found && GenString(tableName).Compare(model.Get(), false)) {
        id = tableId;
        found = true;
      }
    }
    if (!found) table.emplace_back(model.Get(), id = highest + 1);
    expected.push_back(id);
  }
  OpenedProject p(f);
  ImportRun r = importText(p, text);
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(templateIds(p.get()), expected);
}

TEST(ObjectImport, LongLinesAreReadInPiecesOfLinesOfTheirOwn) {
  OpenedProject p(houseAndTree());
  std::string first = "\"ca\\house\",1,2,3,4";
  first.resize(1999, ' ');  // fills the line buffer: the rest of the line is the next piece
  ImportRun r = importText(p, first + "\"ca\\wall\",5,6,7,8\r\n" + std::string(5000, 'x') + ",1,2,3,4\r\n");
  EXPECT_EQ(r.status, 1);  // the long name's first 1999 bytes hold no punctuation
  EXPECT_EQ(r.err, "bad syntax\n");
  EXPECT_EQ(templateIds(p.get()), (std::vector<std::uint32_t>{3, 2}));
  EXPECT_TRUE(p.unchanged());
}
