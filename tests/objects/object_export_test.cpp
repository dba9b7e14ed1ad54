#include "objects/object_export.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <cstdarg>
#include <random>

#include "system/file_string.h"
#include "object_test_support.h"
#include "stream_capture.h"

namespace {

// The export as plain printf calls, one per piece the layouts name, for the
// byte comparison with the buffered writer. Only for projects whose names
// are ASCII and at least as long as the header label.
class PrintfExport {
 public:
  std::string run(Vorlan& project, const ObjectLayout& layout) {
    text_.clear();
    const int f = layout.format;
    const char c = static_cast<char>(layout.separator);
    PewObjects& objects = *project.pew_get_objects();
    std::size_t longestModel = 0, longestInstance = 0;
    for (PewObject* o = objects.pewobject_GetFirstValid(); o; o = objects.pewobject_GetNextValid(o)) {
      longestModel = std::max(longestModel, std::strlen(project.pew_get_template(static_cast<int>(o->templateId))->strModelFilename.Get()));
      if (f != 0) longestInstance = std::max(longestInstance, std::strlen(o->instanceName.Get()));
    }
    std::uint64_t width = longestModel + (longestInstance ? longestInstance + 1 : 0);
    if (layout.header) {
      const char* label = f == 0 ? "FileName" : "FileName[:InstanceName]";
      if (width < std::strlen(label)) throw std::logic_error("the header would pad without end");
      print("\"%s\"%c", label, c);
      for (std::uint64_t n = width - std::strlen(label); n > 4; --n) print(" ");
      if (f == 0 && !layout.columnate) print("X%cY%cHeight%c%s", c, c, c, "Orientation");
      if (f == 0 && layout.columnate) print("    X   %c    Y   %cHeight%c%s", c, c, c, "Degrees");
      if (f == 1 && !layout.columnate) print("X%cY%cHeight%c%s%cRelative%cScale", c, c, c, "Orientation", c, c);
      if (f == 1 && layout.columnate) print("    X   %c    Y   %cHeight%c%s%c +Rel%cScale", c, c, c, "Degrees", c, c);
      if (f == 2 || f == 3) print("Relative Height%cTransform....", c);
      print("\r\n");
    }
    for (PewObject* o = objects.pewobject_GetFirstValid(); o; o = objects.pewobject_GetNextValid(o)) {
      FileStringA base(project.pew_get_template(static_cast<int>(o->templateId))->strModelFilename.Get());
      base.fs_RemoveExt("");
      std::string name = base.Get();
      if (f == 1 && !o->instanceName.IsEmpty()) name += std::string(":") + o->instanceName.Get();
      print("\"%s\"%c", name.c_str(), c);
      if (layout.columnate)
        for (std::uint64_t n = width - name.size(); n > 4; --n) print(" ");
      const auto& m = o->transform.m;
      double x = m[3][0], y = m[3][2], h = m[3][1];
      double degrees = o->transform.GetDirectionInDegrees();
      double scale = std::sqrt(double(m[0][0]) * m[0][0] + double(m[1][0]) * m[1][0] + double(m[2][0]) * m[2][0]);
      if (f == 0 || f == 1) {
        if (layout.columnate) print("%8.2f%c%8.2f%c%6.2f%c%6.2f", x, c, y, c, h, c, degrees);
        else print("%.2f%c%.2f%c%.2f%c%4.2f", x, c, y, c, h, c, degrees);
      }
      if (f == 1) {
        if (layout.columnate) print("%c%6.2f%c%5.2f", c, o->relativeHeight, c, scale);
        else print("%c%.2f%c%.2f", c, o->relativeHeight, c, scale);
      }
      if (f == 2 || f == 3) {
        print("%.2f%c\r\n", o->relativeHeight, c);
        for (const auto& row : m) print("\t%f%c\t%f%c\t%f%c\r\n", row[0], c, row[1], c, row[2], c);
      }
      print("\r\n");
    }
    return text_;
  }

 private:
  void print(const char* format, ...) {
    char buffer[2048];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    text_ += buffer;
  }
  std::string text_;
};

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

// Objects of every kind the layouts treat differently: long and short names,
// folders, names without extension, instance names, negative and huge
// values, negative zeros, random rotations and scales.
ProjectFixture varied(unsigned seed, int count) {
  ProjectFixture f;
  f.grid(2, 2, 10.0f);
  f.addTemplate(1, "ca\\buildings\\house_with_a_long_name.p3d");
  f.addTemplate(2, "tree.p3d");
  f.addTemplate(5, "rocks\\stone");
  f.addTemplate(9, "a.b.c.p3d");
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> any(-1.0e5f, 1.0e5f), unit(-1.0f, 1.0f);
  std::uniform_int_distribution<int> pick(0, 3), kind(0, 9);
  const std::uint32_t ids[] = {1, 2, 5, 9};
  for (int i = 0; i < count; ++i) {
    FixtureObject& o = f.addObject(ids[pick(random)]);
    switch (kind(random)) {
      case 0:  // any bytes a float can hold in a sane range, rows included
        for (float& v : o.transform) v = any(random);
        break;
      case 1:
        o.at(-0.0f, 0.004999f, -0.005f).heading(0, 1);
        o.transform[2] = -0.0f;
        break;
      case 2:
        o.at(1.0e9f, -1.0e9f, 123456.789f).heading(359.999, 10.5f);
        break;
      default:
        o.at(any(random), any(random), unit(random) * 500).heading(unit(random) * 720, 0.5f + unit(random) * 0.4f);
        break;
    }
    if (kind(random) == 0) o.named("inst" + std::to_string(i));
    if (kind(random) < 3) o.relative(unit(random) * 100);
  }
  return f;
}

}  // namespace

TEST(ObjectExport, EveryLayoutMatchesPlainPrintf) {
  OpenedProject p(varied(7, 400));
  PrintfExport reference;
  for (int format = 0; format <= 3; ++format)
    for (int separator : {',', ';', '|'})
      for (bool header : {false, true})
        for (bool columnate : {false, true}) {
          ObjectLayout layout = layoutOf(format, separator, header, columnate);
          int status = -1;
          std::string text = exported(p.get(), layout, &status);
          EXPECT_EQ(status, 0);
          EXPECT_EQ(text, reference.run(p.get(), layout))
              << "format " << format << " separator " << char(separator) << " header " << header << " columns "
              << columnate;
        }
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

TEST(ObjectExport, InstanceNamesByFormat) {
  ProjectFixture f = oneTemplate("ca\\hut.p3d");  // 10 characters
  f.addObject(1).named("front_door_number_1");      // 19: width 30 from format 1 on
  f.addObject(1);
  OpenedProject p(f);
  // Format 0 neither writes nor counts it: width 10, names of 6 pad nothing.
  EXPECT_EQ(exported(p.get(), layoutOf(0, ',', false, true)).substr(0, 9), "\"ca\\hut\",");
  std::string one = exported(p.get(), layoutOf(1, ',', false, true));
  EXPECT_EQ(one.substr(0, one.find(' ')), "\"ca\\hut:front_door_number_1\",");
  EXPECT_EQ(one.substr(one.find("\r\n") + 2, 9 + 20), "\"ca\\hut\"," + std::string(20, ' '));
  // Formats 2 and 3 leave it out but pad to its width.
  std::string two = exported(p.get(), layoutOf(2, ',', false, true));
  EXPECT_EQ(two.substr(0, 9 + 20 + 5), "\"ca\\hut\"," + std::string(20, ' ') + "0.00,");
  EXPECT_EQ(two, exported(p.get(), layoutOf(3, ',', false, true)));
}

TEST(ObjectExport, InvalidObjectsNeitherAppearNorWiden) {
  ProjectFixture f = oneTemplate("a.p3d");
  f.addTemplate(2, "a_very_long_model_name_that_would_widen.p3d");
  f.addObject(1).at(1, 2, 3);
  f.addObject(2).named("long_instance_name_too");
  f.addDeleted(2);
  OpenedProject p(f);
  PewObjects& objects = *p.get().pew_get_objects();
  objects.pewobject_GetNextValid(objects.pewobject_GetFirstValid())->validFlag = 0;
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

TEST(ObjectExport, NoValidObjectsWithoutHeaderGivesAnEmptyFile) {
  OpenedProject p(oneTemplate());
  std::string out = p.file("empty.txt");
  StreamCapture err(stderr);
  EXPECT_EQ(exportObjects(p.get(), out.c_str(), layoutOf(1, ',', false, true)), 0);
  EXPECT_EQ(err.finish(), "\nobjects exported to '" + out + "'\n");
  EXPECT_EQ(readFileText(out), "");
}

TEST(ObjectExport, FilesThatCannotBeWrittenLeaveEverythingAsItWas) {
  ProjectFixture f = oneTemplate();
  f.addObject(1);
  OpenedProject p(f);
  for (std::string name : {p.file("no/such/folder/out.txt"), p.file("")}) {
    StreamCapture err(stderr);
    EXPECT_EQ(exportObjects(p.get(), name.c_str(), ObjectLayout{}), 1);
    EXPECT_EQ(err.finish(), "cannot create output file " + name + "\n");
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
// and blanks are written until the output refuses them. Only outputs that
// refuse at once are used here: a full device and a pipe nobody reads.
TEST(ObjectExport, WrappedHeaderPaddingStopsAtTheFirstFailedWrite) {
  OpenedProject p(oneTemplate());  // no objects: the name width is 0
  std::string full = p.file("full.txt");
  ASSERT_EQ(symlink("/dev/full", full.c_str()), 0);
  StreamCapture err(stderr);
  EXPECT_EQ(exportObjects(p.get(), full.c_str(), ObjectLayout{}), 1);
  EXPECT_EQ(err.finish(), "cannot write output file " + full + ": No space left on device\n");

  auto previous = std::signal(SIGPIPE, SIG_IGN);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  {
    std::fflush(stdout);
    int saved = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
    StreamCapture err2(stderr);
    int status = exportObjects(p.get(), "", layoutOf(0, ',', true, false));
    std::string message = err2.finish();
    std::fflush(stdout);
    std::clearerr(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(message, "cannot write objects to standard output: Broken pipe\n");
  }
  std::signal(SIGPIPE, previous);
  EXPECT_TRUE(p.unchanged());
}
