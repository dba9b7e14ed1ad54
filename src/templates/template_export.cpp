#include "template_export.h"


#include <cstdio>
#include <string>

#include "driver/console.h"
#include "driver/program_entry.h"
#include "system/export_file.h"
#include "system/file_string.h"
#include "text/utf_convertors.h"

namespace {

// Every line of the library ends in "\r\n", also on Linux: the editor's own
// tools read these files on Windows.
//
// Lines begun by the writer start with `indent` blanks (one per nesting
// level); member lines of templates and artificial objects carry their
// blanks in their literal instead.
struct LibraryWriter {
  FILE* out = nullptr;
  unsigned indent = 0;

  void writeIndent() const {
    for (unsigned i = 0; i < indent; ++i) std::fputc(' ', out);
  }

  void openClass(const char* name) {
    writeIndent();
    std::fprintf(out, "class %s\r\n", name);
    writeIndent();
    std::fputs("{\r\n", out);
    ++indent;
  }

  void closeClass() {
    --indent;
    writeIndent();
    std::fputs("};\r\n", out);
  }
};

std::string shown(const char* text) { return utfConvertors::convert_if_local_codepage(text); }

// Blanks and '-' are not allowed in class names.
void cleanClassName(std::string& name) {
  for (char& c : name)
    if (c == ' ' || c == '-') c = '_';
}

void writeColour(LibraryWriter& w, const char* name, std::uint32_t value) {
  if (value == kDefaultColour) return;
  const char* named = nullptr;
  switch (value) {
    case 0x000000: named = "RGB_BLACK"; break;
    case 0x0000FF: named = "RGB_RED"; break;
    case 0x007F00: named = "RGB_DARK_GREEN"; break;
    case 0x00FF00: named = "RGB_GREEN"; break;
    case 0x7F7F7F: named = "RGB_GREY"; break;
    case 0xFF0000: named = "RGB_BLUE"; break;
    default: break;
  }
  w.writeIndent();
  // Four digits only, although the defines use six: the editor's libraries
  // have always been written this way.
  if (named) std::fprintf(w.out, "%s=%s;\r\n", shown(name).c_str(), named);
  else std::fprintf(w.out, "%s=0x%04X;\r\n", shown(name).c_str(), value);
}

void writeVector(LibraryWriter& w, const char* name, const Vector3& v) {
  if (v.x == 0.0f && v.y == 0.0f && v.z == 0.0f) return;
  GenString text;
  w.writeIndent();
  std::fprintf(w.out, "%s[]={%s};\r\n", shown(name).c_str(), text.str_FloatToStr(&v, 0));
}

// With a default of 0 (the bounds) the flag means nothing and is left out;
// the random spreads carry it as a third value.
void writePair(LibraryWriter& w, const char* name, const XYPair& pair, double byDefault) {
  GenString x, y;
  if (byDefault == 0.0) {
    if (pair.x == 0.0 && pair.y == 0.0) return;
    w.writeIndent();
    std::fprintf(w.out, "%s[]={%s,%s};\r\n", shown(name).c_str(), x.str_FloatToStr(pair.x, 0),
                 y.str_FloatToStr(pair.y, 0));
    return;
  }
  if (pair.flag == 0 && pair.x == byDefault && pair.y == byDefault) return;
  w.writeIndent();
  std::fprintf(w.out, "%s[]={%s,%s,%d};\r\n", shown(name).c_str(), x.str_FloatToStr(pair.x, 0),
               y.str_FloatToStr(pair.y, 0), static_cast<int>(pair.flag));
}

// Four rows of three values; rows 1 to 3 start under the first value and
// the closing brace stands under the opening one.
void writeFrame(LibraryWriter& w, const char* name, const Matrix4& frame) {
  std::string member = shown(name);
  const float* v = frame.data();
  GenString a, b, c;
  const unsigned before = w.indent;
  w.writeIndent();
  std::fprintf(w.out, "%s[]={", member.c_str());
  w.indent += static_cast<unsigned>(member.size()) + 4;
  for (int row = 0; row < 4; ++row) {
    if (row > 0) w.writeIndent();
    std::fprintf(w.out, "%s,%s,%s%s\r\n", a.str_FloatToStr(v[3 * row], 0), b.str_FloatToStr(v[3 * row + 1], 0),
                 c.str_FloatToStr(v[3 * row + 2], 0), row < 3 ? "," : "");
  }
  --w.indent;
  w.writeIndent();
  std::fputs("};\r\n", w.out);
  w.indent = before;
}

void writeArtificialObjects(LibraryWriter& w, const PewObjectTemplate& t) {
  w.openClass("ArtificialObjects");
  int number = 0;
  for (const Chain* node = t.ArtificialObjects.first; node; node = node->next, ++number) {
    const auto* a = static_cast<const PewArtificialObject*>(node);
    // The class name takes the name's wide text through a narrow "%s": what
    // is printed are the bytes of its first character up to the first zero
    // byte, so in effect only the first character. The number after it keeps
    // the names of one template's sub-classes apart.
    std::wstring wide = utfConvertors::sbcs_to_unicode(a->strName.Get(), -1);
    std::string className;
    formatText(className, "AObject_%s%d", reinterpret_cast<const char*>(wide.c_str()), number);
    cleanClassName(className);
    w.openClass(className.c_str());
    std::fprintf(w.out, "    strName=\"%s\";\r\n", a->strName.Get());
    std::fprintf(w.out, "    lbUnknown=%u;\r\n", a->lbUnknown);
    std::uint32_t count = a->StartEndPos.get_count();
    if (count > 0) {
      const Vector3* points = a->StartEndPos.points();
      GenString text;
      std::fputs("    StartEndPos[]={", w.out);
      for (std::uint32_t i = 0; i < count; ++i) {
        if (i > 0) std::fputc(',', w.out);
        std::fputs(text.str_FloatToStr(&points[i], 0), w.out);
      }
      std::fputs("};\r\n", w.out);
    }
    w.closeClass();
  }
  w.closeClass();
}

void writeTemplate(LibraryWriter& w, const PewObjectTemplate& t) {
  FileStringA base;
  base.fs_Extract(FileStringA::kName, t.strModelName.Get());
  std::string className;
  formatText(className, "Object%d_%s", static_cast<int>(t.templateId), base.Get());
  cleanClassName(className);
  w.openClass(className.c_str());

  switch (t.ulObjectType) {
    case kObjectTypeNatural: break;  // the default
    case kObjectTypeArtificial: std::fputs("  ulObjectType=ARTIFICIAL;\r\n", w.out); break;
    case kObjectTypeRoads: std::fputs("  ulObjectType=ROADS;\r\n", w.out); break;
    default: std::fprintf(w.out, "  ulObjectType=%u;\r\n", t.ulObjectType); break;
  }
  // A new template's marker is the ellipse; a natural template's ellipse is
  // therefore left out, while every other marker is written.
  if (t.ulMarkerType == kMarkerRectangle) {
    std::fputs("  ulMarkerType=RECTANGLE;\r\n", w.out);
  } else if (t.ulMarkerType == kMarkerEllipse) {
    if (t.ulObjectType != kObjectTypeNatural) std::fputs("  ulMarkerType=ELLIPSE;\r\n", w.out);
  } else {
    std::fprintf(w.out, "  ulMarkerType=%u;\r\n", t.ulMarkerType);
  }
  std::fprintf(w.out, "  strModelFilename=\"%s\";\r\n", t.strModelFilename.Get());
  std::fprintf(w.out, "  strModelName=\"%s\";\r\n", t.strModelName.Get());
  writeColour(w, "ulOutlineColour", t.ulOutlineColour);
  writeColour(w, "ulObjectColour", t.ulObjectColour);
  if (t.sbUnknownFlag != 1) std::fprintf(w.out, "  sbUnknownFlag=%d;\r\n", static_cast<int>(t.sbUnknownFlag));
  writeVector(w, "GeometryAutoCenterPos", t.GeometryAutoCenterPos);
  writeVector(w, "ResolutionAutoCenterPos", t.ResolutionAutoCenterPos);
  writePair(w, "dblxyGeometryBounds", t.dblxyGeometryBounds, 0);
  writePair(w, "dblxyResolutionBounds", t.dblxyResolutionBounds, 0);
  writePair(w, "dblxyRandomScale", t.dblxyRandomScale, 50);
  writePair(w, "dblxyRandomRotate", t.dblxyRandomRotate, 20);
  writePair(w, "dblxyRandomOrientation", t.dblxyRandomOrientation, 180);
  if (t.LodNamedSelections != 0) {
    w.openClass("LodNamedSelections");
    // The leading blank lines the values up with those of "XRoad".
    writeFrame(w, " Road", t.RoadFrame);
    writeFrame(w, "XRoad", t.XRoadFrame);
    w.closeClass();
  }
  if (t.ArtificialObjects.count != 0) writeArtificialObjects(w, t);
  w.closeClass();
}

const char* const kDefines =
    "#define _ZUNA_\r\n"
    "#define NATURAL 1\r\n"
    "#define ARTIFICIAL 2\r\n"
    "#define ROADS 3\r\n"
    "\r\n"
    "#define RECTANGLE 0\r\n"
    "#define ELLIPSE 1\r\n"
    "\r\n"
    "#define RGB_DEFAULT -1\r\n"
    "#define RGB_BLACK 0x000000\r\n"
    "#define RGB_BLUE 0xFF0000\r\n"
    "#define RGB_GREEN 0x00FF00\r\n"
    "#define RGB_RED 0x0000FF\r\n"
    "#define RGB_GREY 0x7F7F7F\r\n"
    "#define RGB_DARK_GREEN 0x007F00\r\n"
    "\r\n";

}  // namespace

int exportTemplates(Vorlan& project, const char* fileName, KelFileIO* io) {
  const char* name = fileName ? fileName : "";
  LibraryWriter w;
  std::printf("Exporting template to: %s\n", shown(name).c_str());
  ExportFile file;
  if (!file.openOrSay(name, project.fileName().c_str(), "error: no output file %s\n")) return 1;
  w.out = file.stream();
  std::string title;
  formatText(title, "Vorlan %.2f: ObjectTemplate Library ", static_cast<double>(kProgramVersion));
  GenString banner;
  long date = FileStringA().fs_GetFileDate(file.writingName());
  if (io) io->io_Banner(&banner, title.c_str(), date);
  else KelFileIO::io_Banner(&banner, title.c_str(), date);
  std::fputs(banner.Get(), w.out);
  std::fputs(kDefines, w.out);

  w.openClass("ObjectTemplate");
  for (const PewObjectTemplate* t = project.pew_get_template(static_cast<unsigned*>(nullptr)); t; t = t->next)
    writeTemplate(w, *t);
  w.closeClass();

  if (std::ferror(w.out) || file.finish(true) != 0) {
    file.finish(false);  // the old file, or none, stays
    std::fprintf(stderr, "error: cannot write %s\n", shown(name).c_str());
    return 1;
  }
  std::printf("\ndone\n");
  return 0;
}
