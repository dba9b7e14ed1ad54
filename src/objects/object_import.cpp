#include "object_import.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

#include "driver/console.h"
#include "driver/save_project.h"
#include "line_reader.h"
#include "name_index.h"
#include "system/file_string.h"
#include "text/ascii_case.h"
#include "text/number_text.h"
#include "text/utf_convertors.h"

namespace {

// ispunct of the C locale: the printable ASCII characters that are neither
// letters, digits nor the blank.
bool isPunct(unsigned char c) {
  return (c >= 33 && c <= 47) || (c >= 58 && c <= 64) || (c >= 91 && c <= 96) || (c >= 123 && c <= 126);
}

// Moves `at` just behind the next separator at or after it; false when no
// separator follows (the field is the line's last). The field's number is
// the text at the old position, read by the caller where it is needed.
bool skipField(const char*& at, const char* end, char sep) {
  const void* found = std::memchr(at, sep, static_cast<std::size_t>(end - at));
  if (!found) return false;
  at = static_cast<const char*>(found) + 1;
  return true;
}

// Splits a record line into its model name and the values behind it. The
// name is quoted, or runs up to the first punctuation character; that
// character, the first one behind a quoted name, is the line's separator.
bool splitName(const char* line, const char* end, std::string_view& name, char& sep, const char*& values) {
  const char* at;
  if (line < end && *line == '"') {
    const char* close = std::find(line + 1, end, '"');
    if (close == end) return false;
    name = std::string_view(line + 1, static_cast<std::size_t>(close - line - 1));
    at = close + 1;
    while (at < end && !isPunct(static_cast<unsigned char>(*at))) ++at;
  } else {
    if (line == end) return false;
    at = line;
    while (at < end && !isPunct(static_cast<unsigned char>(*at))) ++at;
    name = std::string_view(line, static_cast<std::size_t>(at - line));
  }
  if (at == end) return false;
  sep = *at;
  values = at + 1;
  return true;
}

// The four rows of a transform record, each on a line of its own with its
// three values separated (the last row's third value may end the line),
// and the empty line behind them. The values are checked, not kept.
bool readRows(LineReader& lines, char sep) {
  for (int complete = 0;;) {
    if (!lines.next()) return false;
    const char* at = lines.text();
    const char* end = at + lines.length();
    if (!skipField(at, end, sep) || !skipField(at, end, sep)) return false;
    if (skipField(at, end, sep) || complete == 3) {
      if (++complete == 4) {
        lines.next();  // the record's empty last line
        return true;
      }
    } else {
      return false;
    }
  }
}

// The model file name of a record's name: read as the single-byte code page,
// without one leading backslash, with ".p3d" added when it has no extension.
std::string modelFileName(std::string_view raw) {
  std::wstring wide = utfConvertors::sbcs_to_unicode(raw.data(), static_cast<int>(raw.size()));
  std::string text = utfConvertors::unicode_to_utf8(wide.c_str());
  if (!text.empty() && text[0] == '\\') text.erase(0, 1);
  FileStringA name(text);
  name.fs_AddExt("p3d", 0);
  return std::string(name.View());
}

// Model file names with ASCII letters in lower case: names that
// GenString::Compare(name, false) finds equal get the same key.
std::string foldedName(std::string_view name) {
  return foldedAscii(name);
}

// The template of each model, as a walk of the table from its first template
// finds it (the first whose model file name matches without regard to ASCII
// case), but through an index made once, so a line costs one lookup. A model
// without template gets a new one with the highest id in the table plus one.
class ModelTemplates {
 public:
  explicit ModelTemplates(Vorlan& project) : project_(project) {
    for (PewObjectTemplate* t = project.pew_get_template(nullptr); t; t = t->next) {
      if (t->templateId > highest_) highest_ = t->templateId;
      byModel_.insert(foldedName(t->strModelFilename.View()), t->templateId);  // the first one stays
    }
  }

  // Writes the warnings held back. A text that names a new model on every
  // line gives one warning a line: they go out in batches, not in a write
  // each, which would cost more than the import itself.
  void flushWarnings() {
    std::fwrite(warnings_.data(), 1, warnings_.size(), stderr);
    warnings_.clear();
  }

  // Starts looking up a record's name, which idFor() then finishes: with
  // thousands of names the index is larger than the processor's caches, and
  // the rest of the line is read while its memory is fetched.
  void prepare(std::string_view raw) { rawHash_ = byRecordName_.prefetch(raw); }

  // The template id for a record's name as written in the file, the one
  // prepare() was given last.
  std::uint32_t idFor(std::string_view raw, TextWriter& echo, bool interactive) {
    if (const std::uint32_t* known = byRecordName_.find(raw, rawHash_)) return *known;
    std::string name = modelFileName(raw);
    std::string key = foldedName(name);
    std::uint32_t id;
    if (const std::uint32_t* found = byModel_.find(key)) {
      id = *found;
    } else {
      id = highest_ + 1;
      warnings_ += "warning: template '";
      warnings_ += utfConvertors::convert_if_local_codepage(name.c_str());
      warnings_ += "' created\n";
      if (interactive) {
        echo.flush();  // on a terminal the lines so far come first
        flushWarnings();
      } else if (warnings_.size() >= kWarningBatch) {
        flushWarnings();
      }
      project_.pew_add_template(static_cast<int>(id), name.c_str(), 1, -1);
      highest_ = id;
      byModel_.insert(key, id);
    }
    byRecordName_.insert(raw, id);
    return id;
  }

 private:
  static constexpr std::size_t kWarningBatch = std::size_t{64} << 10;
  Vorlan& project_;
  std::string warnings_;
  std::uint32_t highest_ = 0;
  std::uint64_t rawHash_ = 0;
  NameIndex byModel_;       // folded model file name -> template id
  NameIndex byRecordName_;  // name as the records write it -> template id
};

}  // namespace

int readObjectRecords(Vorlan& project, FILE* file, TextWriter& echo, const char* shownName, bool interactive) {
  LineReader lines(file);
  ModelTemplates templates(project);
  PewObjects& objects = *project.pew_get_objects();
  auto badSyntax = [&] {
    echo.flush();
    templates.flushWarnings();
    std::fputs("bad syntax\n", stderr);
    return 1;
  };

  std::string name;
  for (bool first = true; lines.next(); first = false) {
    const char* line = lines.text();
    const char* end = line + lines.length();
    echo.put(std::string_view(line, lines.length()));
    if (interactive) echo.flush();

    std::string_view rawName;
    char sep;
    const char* values;
    if (!splitName(line, end, rawName, sep, values)) return badSyntax();
    // A first line whose values do not start with a number (a column title)
    // or start with 0 is a header line.
    if (first && parseDouble(values, nullptr) == 0.0) continue;
    name.assign(rawName);  // the row lines below reuse the line buffer
    templates.prepare(name);

    const char* at = values;
    const double value1 = parseDouble(at, nullptr);
    if (!skipField(at, end, sep)) return badSyntax();
    double relativeHeight = 0.0;
    if (skipField(at, end, sep)) {
      // A short record: x, y, then the height, which must be followed by
      // the degrees; the relative height and the scale behind them are
      // optional. The relative height goes into the new object.
      if (!skipField(at, end, sep)) return badSyntax();
      if (skipField(at, end, sep)) relativeHeight = parseDouble(at, nullptr);
    } else {
      relativeHeight = value1;
      if (!readRows(lines, sep)) return badSyntax();
    }

    std::uint32_t templateId = templates.idFor(name, echo, interactive);
    PewObject* o = objects.AddPewObject();
    // A new object is valid, with the unnamed members 1.0, -1, -1 and an
    // empty instance name already; the rest is the record's.
    o->setTemplateId(templateId);
    o->setRelativeHeight(static_cast<float>(relativeHeight));
  }
  echo.flush();
  templates.flushWarnings();
  if (lines.error() != 0) {
    std::fprintf(stderr, "cannot read import file '%s': %s\n", shownName, std::strerror(lines.error()));
    return 1;
  }
  return 0;
}

int importObjects(Vorlan& project, const char* fileName) {
  if (!confirmAction("Importing Objects")) return 1;
  std::string shownName = utfConvertors::convert_if_local_codepage(fileName);
  std::string problem;
  FILE* file = FileStringA::fs_open_file(fileName, &problem);
  if (!file) {
    bool refused = errno == EINVAL;
    std::fprintf(stderr, "no such import file '%s'\n", shownName.c_str());
    if (refused) std::fprintf(stderr, "'%s' %s\n", shownName.c_str(), problem.c_str());  // a device or a folder
    return 1;
  }
  int status;
  {
    std::fflush(stdout);
    TextWriter echo(stdout);
    status = readObjectRecords(project, file, echo, shownName.c_str(), isatty(STDOUT_FILENO) != 0);
  }
  std::fclose(file);
  if (status != 0) return status;
  return saveProject(nullptr);
}
