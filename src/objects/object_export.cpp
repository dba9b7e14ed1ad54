#include "object_export.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "system/export_file.h"
#include "system/file_string.h"
#include "text/utf_convertors.h"

namespace {

constexpr std::string_view kLineEnd = "\r\n";

// Text as the console's code page shows it. ASCII reads the same in every
// code page, so only other text takes the conversion (which, like printf's
// "%s", also ends the text at a NUL).
std::string shownText(std::string_view text) {
  for (unsigned char c : text) {
    if (c == 0 || c >= 0x80) return utfConvertors::convert_if_local_codepage(std::string(text).c_str());
  }
  return std::string(text);
}

// Blanks for the name column: the unsigned 64-bit difference width - length
// is counted down, one blank each, while it is above 4. A length above the
// width (a header label wider than every name) wraps the difference round to
// nearly 2^64, and the blanks then run on until the output refuses one; the
// first failed write ends them.
void pad(TextWriter& out, std::uint64_t width, std::uint64_t length) {
  static const std::string blanks(256, ' ');
  std::uint64_t n = width - length;
  if (n <= 4) return;
  for (std::uint64_t left = n - 4; left > 0;) {
    std::size_t k = left < blanks.size() ? static_cast<std::size_t>(left) : blanks.size();
    out.put(std::string_view(blanks.data(), k));
    if (!out.ok()) return;
    left -= k;
  }
}

// What the name column needs of one template.
struct ModelName {
  std::string_view base;   // model file name without extension
  std::string_view shown;  // base as written (code page of the console)
  std::size_t fileLength;  // length of the model file name as stored
};

class ModelNames {
 public:
  explicit ModelNames(Vorlan& project) : project_(project) {}

  // The name of the template with this id, or nothing when there is none.
  // Objects come in any order of templates, millions of lookups among
  // thousands of names: the names lie packed in one block and small ids
  // find theirs through a table indexed by id (others through a map), so
  // that all of it stays in the processor's caches.
  std::optional<ModelName> find(std::uint32_t id) {
    std::uint32_t entry = 0;  // index + 1
    if (id < byId_.size()) {
      entry = byId_[id];
    } else if (id >= kIndexed) {
      auto it = far_.find(id);
      if (it != far_.end()) entry = it->second;
    }
    if (entry == 0) {
      PewObjectTemplate* t = project_.pew_get_template(static_cast<int>(id));
      if (!t) return std::nullopt;
      FileStringA base(t->strModelFilename.Get());
      base.fs_RemoveExt("");
      std::string shown = shownText(base.View());
      entries_.push_back(Entry{pool_.size(), base.View().size(), shown.size(), t->strModelFilename.Length()});
      pool_ += base.View();
      pool_ += shown;
      entry = static_cast<std::uint32_t>(entries_.size());
      if (id < kIndexed) {
        if (id >= byId_.size()) byId_.resize(id + 1, 0);
        byId_[id] = entry;
      } else {
        far_.emplace(id, entry);
      }
    }
    const Entry& e = entries_[entry - 1];
    return ModelName{std::string_view(pool_.data() + e.at, e.baseLength),
                     std::string_view(pool_.data() + e.at + e.baseLength, e.shownLength), e.fileLength};
  }

 private:
  struct Entry {
    std::size_t at;  // the base name in pool_, the shown name right behind it
    std::size_t baseLength, shownLength, fileLength;
  };
  static constexpr std::uint32_t kIndexed = 1u << 20;
  Vorlan& project_;
  std::string pool_;
  std::vector<Entry> entries_;
  std::vector<std::uint32_t> byId_;                   // ids below kIndexed
  std::unordered_map<std::uint32_t, std::uint32_t> far_;  // the others
};

void putHeader(TextWriter& out, const ObjectLayout& layout, std::uint64_t width) {
  const char sep = static_cast<char>(layout.separator);
  std::string_view label = layout.format == 0 ? "FileName" : "FileName[:InstanceName]";
  out.put('"');
  out.put(label);
  out.put('"');
  out.put(sep);
  pad(out, width, label.size());  // padded whether columnated or not
  if (!out.ok()) return;
  auto put3 = [&](std::string_view a, std::string_view b, std::string_view c) {
    out.put(a);
    out.put(sep);
    out.put(b);
    out.put(sep);
    out.put(c);
    out.put(sep);
  };
  switch (layout.format) {
    case 0:
    case 1:
      if (layout.columnate) {
        put3("    X   ", "    Y   ", "Height");
        out.put("Degrees");
        if (layout.format == 1) {
          out.put(sep);
          out.put(" +Rel");
          out.put(sep);
          out.put("Scale");
        }
      } else {
        put3("X", "Y", "Height");
        out.put("Orientation");
        if (layout.format == 1) {
          out.put(sep);
          out.put("Relative");
          out.put(sep);
          out.put("Scale");
        }
      }
      break;
    case 2:
    case 3:
      out.put("Relative Height");
      out.put(sep);
      out.put("Transform....");
      break;
    default:
      break;
  }
  out.put(kLineEnd);
}

// The values of formats 0 and 1: x, y, height, degrees and, in format 1,
// the relative height and the scale.
void putPlacement(TextWriter& out, const PewObject& o, const ObjectLayout& layout) {
  const char sep = static_cast<char>(layout.separator);
  const Matrix4 t = o.transform();
  const bool wide = layout.columnate;
  out.putFixed(t.X(), 2, wide ? 8 : 0);
  out.put(sep);
  out.putFixed(t.Y(), 2, wide ? 8 : 0);
  out.put(sep);
  out.putFixed(t.Height(), 2, wide ? 6 : 0);
  out.put(sep);
  out.putFixed(t.GetDirectionInDegrees(), 2, wide ? 6 : 4);
  if (layout.format == 1) {
    out.put(sep);
    out.putFixed(o.relativeHeight(), 2, wide ? 6 : 0);
    out.put(sep);
    out.putFixed(t.Scale(), 2, wide ? 5 : 0);
  }
}

// Formats 2 and 3: the relative height ends the first line, then the four
// rows as stored, one line each.
void putTransform(TextWriter& out, const PewObject& o, char sep) {
  out.putFixed(o.relativeHeight(), 2);
  out.put(sep);
  out.put(kLineEnd);
  const Matrix4 t = o.transform();
  for (const auto& row : t.m) {
    for (float value : row) {
      out.put('\t');
      out.putFixed(value, 6);
      out.put(sep);
    }
    out.put(kLineEnd);
  }
}

}  // namespace

int writeObjects(Vorlan& project, TextWriter& out, const ObjectLayout& layout) {
  PewObjects& objects = *project.pew_get_objects();
  ModelNames names(project);
  const char sep = static_cast<char>(layout.separator);

  // The name width, from every valid object: the longest model file name,
  // widened by the longest instance name and its colon in every format but 0.
  // Every template is looked up here, so the writing below meets no missing
  // one.
  std::uint64_t longestModel = 0, longestInstance = 0;
  for (PewObject* o = objects.pewobject_GetFirstValid(); o; o = objects.pewobject_GetNextValid(o)) {
    std::optional<ModelName> name = names.find(o->templateId());
    if (!name) {
      std::fprintf(stderr, "Error in pew. No template model index %u\n", o->templateId());
      return 0;  // lenient on purpose: nothing written, the export goes on as a success
    }
    if (name->fileLength > longestModel) longestModel = name->fileLength;
    if (layout.format != 0 && o->instanceName().size() > longestInstance) longestInstance = o->instanceName().size();
  }
  const std::uint64_t width = longestModel + (longestInstance ? longestInstance + 1 : 0);

  if (layout.header) putHeader(out, layout, width);

  for (PewObject* o = objects.pewobject_GetFirstValid(); o && out.ok(); o = objects.pewobject_GetNextValid(o)) {
    const ModelName name = *names.find(o->templateId());
    std::size_t length = name.base.size();
    out.put('"');
    if (layout.format == 1 && !o->instanceName().empty()) {
      std::string text = std::string(name.base) + ":" + std::string(o->instanceName());
      length = text.size();
      out.put(shownText(text));
    } else {
      out.put(name.shown);
    }
    out.put('"');
    out.put(sep);
    if (layout.columnate) pad(out, width, length);

    switch (layout.format) {
      case 0:
      case 1:
        putPlacement(out, *o, layout);
        break;
      case 2:
      case 3:  // the same rows as format 2, deliberately
        putTransform(out, *o, sep);
        break;
      default:
        return 1;
    }
    out.put(kLineEnd);
  }
  return out.ok() ? 0 : 1;
}

int exportObjects(Vorlan& project, const char* fileName, const ObjectLayout& layout) {
  if (!fileName || !*fileName) {
    std::fflush(stdout);
    TextWriter out(stdout);
    int status = writeObjects(project, out, layout);
    if (out.flush() != 0) {
      std::fprintf(stderr, "cannot write objects to standard output: %s\n", std::strerror(out.error()));
      return 1;
    }
    return status;
  }

  std::string shownName = utfConvertors::convert_if_local_codepage(fileName);
  ExportFile file;
  if (!file.openOrSay(fileName, project.fileName().c_str(), "cannot create output file %s\n")) return 1;

  int status, error;
  {
    TextWriter out(file.stream());
    status = writeObjects(project, out, layout);
    error = out.flush();
  }
  if (error == 0 && status == 0) error = file.finish(true);
  else file.finish(false);  // the old file stays as it was
  if (error != 0) {
    std::fprintf(stderr, "cannot write output file %s: %s\n", shownName.c_str(), std::strerror(error));
    return 1;
  }
  if (status != 0) return status;
  std::fprintf(stderr, "\nobjects exported to '%s'\n", shownName.c_str());
  return 0;
}
