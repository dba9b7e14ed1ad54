#include "objects/object_export.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include "object_test_support.h"
#include "project_description.h"
#include "stream_capture.h"

namespace {

std::string exported(Vorlan& project, const ObjectLayout& layout, int* status = nullptr) {
  return writtenText([&](TextWriter& out) {
    int s = writeObjects(project, out, layout);
    if (status) *status = s;
  });
}

ObjectLayout layoutOf(int format, int separator, bool header, bool columnate) {
  ObjectLayout l;
  l.format = format;
  l.separator = separator;
  l.header = header;
  l.columnate = columnate;
  return l;
}

}  // namespace

// Every layout of the project of varied_objects.txt, byte for byte, against
// the approved texts beside this test (VORLAN_UPDATE_EXPECTED=1 rewrites them).
TEST(ObjectExport, EveryLayoutByteForByte) {
  OpenedProject p(describedProject(std::string(TEST_DATA_DIR) + "/varied_objects.txt"));
  std::string all;
  int i = 0;
  for (int format = 0; format <= 3; ++format)
    for (bool header : {false, true})
      for (bool columnate : {false, true}) {
        ObjectLayout layout = layoutOf(format, ",;|"[i++ % 3], header, columnate);
        int status = -1;
        all += "== format " + std::to_string(format) + " separator " + char(layout.separator) + " header " +
               std::to_string(header) + " columns " + std::to_string(columnate) + "\n" +
               exported(p.get(), layout, &status);
        EXPECT_EQ(status, 0);
      }
  const std::string expected = std::string(TEST_DATA_DIR) + "/object_export_layouts.txt";
  if (std::getenv("VORLAN_UPDATE_EXPECTED")) writeFileText(expected, all);
  EXPECT_EQ(all, readFileText(expected));
}

TEST(ObjectExport, HeaderPaddingCountsDownToFour) {
  // Label "FileName" (8): a width of 12 pads nothing, 13 one blank.
  for (auto [model, blanks] : {std::pair{"abcdefghijkl", 0}, std::pair{"abcdefghijklm", 1}, std::pair{"abcdefghijklmnop", 4}}) {
    ProjectFixture f = oneTemplate(model);
    f.addObject(1);
    OpenedProject p(f);
    std::string text = exported(p.get(), layoutOf(0, ',', true, false));
    EXPECT_EQ(text.substr(0, text.find("\r\n")), "\"FileName\"," + std::string(blanks, ' ') + "X,Y,Height,Orientation");
  }
}

TEST(ObjectExport, InvalidObjectsNeitherAppearNorWiden) {
  ProjectFixture f = oneTemplate("a.p3d");
  f.addTemplate(2, "a_very_long_model_name_that_would_widen.p3d");
  f.addObject(1).at(1, 2, 3);
  f.addObject(2).named("long_instance_name_too");
  f.addDeleted(2);
  OpenedProject p(f);
  PewObjects& objects = *p.get().pew_get_objects();
  objects.markInvalid(objects.pewobject_GetNextValid(objects.pewobject_GetFirstValid()));
  EXPECT_EQ(exported(p.get(), layoutOf(1, ',', false, true)), "\"a\",    1.00,    2.00,  3.00,  0.00,  0.00, 1.00\r\n");
}

TEST(ObjectExport, FormatOutsideTheLayoutsFailsAfterTheFirstName) {
  ProjectFixture f = oneTemplate("buildings\\hut_number_one.p3d");  // 28 wide: one blank behind the label
  f.addObject(1);
  f.addObject(1);
  OpenedProject p(f);
  int status = -1;
  EXPECT_EQ(exported(p.get(), layoutOf(4, ',', false, false), &status), "\"buildings\\hut_number_one\",");
  EXPECT_EQ(status, 1);
  EXPECT_EQ(exported(p.get(), layoutOf(-1, ',', true, true), &status),
            "\"FileName[:InstanceName]\", \r\n\"buildings\\hut_number_one\",");
  EXPECT_EQ(status, 1);

  // To a file: the old content stays, nothing is reported.
  std::string out = p.file("objects.txt");
  writeFileText(out, "old\r\n");
  StreamCapture err(stderr);
  EXPECT_EQ(exportObjects(p.get(), out.c_str(), layoutOf(4, ',', false, false)), 1);
  EXPECT_EQ(err.finish(), "");
  EXPECT_EQ(readFileText(out), "old\r\n");
  EXPECT_EQ(p.folderContent(), (std::vector<std::string>{"map.pew", "objects.txt"}));
}

TEST(ObjectExport, FilesThatCannotBeWrittenLeaveEverythingAsItWas) {
  ProjectFixture f = oneTemplate();
  f.addObject(1);
  OpenedProject p(f);
  {
    StreamCapture err(stderr);
    EXPECT_EQ(exportObjects(p.get(), p.file("").c_str(), ObjectLayout{}), 1);  // a folder
    EXPECT_EQ(err.finish(), "cannot create output file " + p.file("") + "\n");
  }
  // The project itself, by any name, is never the export's target.
  std::string link = p.file("link.txt");
  ASSERT_EQ(symlink(p.path().c_str(), link.c_str()), 0);
  for (const std::string& name : {p.path(), link}) {
    StreamCapture err(stderr);
    EXPECT_EQ(exportObjects(p.get(), name.c_str(), ObjectLayout{}), 1);
    EXPECT_EQ(err.finish(), "cannot create output file " + name + "\n" + name + " is the open project: an export never writes over it\n");
  }
  EXPECT_TRUE(p.unchanged());
  EXPECT_EQ(p.folderContent(), (std::vector<std::string>{"link.txt", "map.pew"}));
}

// With the header label wider than every name the padding count wraps round
// and blanks are written until the output refuses them. A pipe nobody reads
// refuses at once (a full device is shown by an end-to-end case).
TEST(ObjectExport, WrappedHeaderPaddingStopsAtTheFirstFailedWrite) {
  OpenedProject p(oneTemplate());  // no objects: the name width is 0
  auto previous = std::signal(SIGPIPE, SIG_IGN);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  std::fflush(stdout);
  int saved = dup(STDOUT_FILENO);
  dup2(ends[1], STDOUT_FILENO);
  close(ends[1]);
  StreamCapture err(stderr);
  int status = exportObjects(p.get(), "", layoutOf(0, ',', true, false));
  std::string message = err.finish();
  std::fflush(stdout);
  std::clearerr(stdout);
  dup2(saved, STDOUT_FILENO);
  close(saved);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(message, "cannot write objects to standard output: Broken pipe\n");
  std::signal(SIGPIPE, previous);
  EXPECT_TRUE(p.unchanged());
}
