#include "project/vorlan.h"

#include <cerrno>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "status.h"

std::string projectFileName(const char* name) {
  std::string file = name ? name : "";
  std::size_t slash = file.find_last_of("/\\");
  std::size_t dot = file.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) file += ".pew";
  return file;
}

Vorlan::Vorlan() = default;
Vorlan::~Vorlan() = default;

void Vorlan::report(const char* format, ...) {
  va_list args;
  va_start(args, format);
  sendMessageV(sink_, format, args);
  va_end(args);
}

static const char* failureKind(int status) {
  switch (status) {
    case status::kNotProject: return "not a project file";
    case status::kUnsupported: return "unsupported project file";
    default: return "damaged project file";
  }
}

int Vorlan::pew_Open(const char* name, int, MessageSink sink, const unsigned char* data, std::size_t dataLength) {
  sink_ = sink;
  content_.reset();  // the old project goes first: only one is held at a time
  fileName_ = data ? (name ? name : "(memory)") : projectFileName(name);
  auto content = std::make_unique<ProjectContent>();
  if (data) {
    content->file.copy(data, dataLength);
  } else if (int e = content->file.open(fileName_.c_str())) {
    report("%s: cannot open the project file: %s\n", fileName_.c_str(), std::strerror(e));
    return status::kCannotOpen;
  }
  DecodeFailure failure;
  if (!decodeProject(*content, failure)) {
    report("%s: %s at byte %" PRIu64 ", in the %s: %s\n", fileName_.c_str(), failureKind(failure.status),
           failure.offset, failure.block.c_str(), failure.what.c_str());
    return failure.status;
  }
  content_ = std::move(content);
  return status::kOk;
}

int Vorlan::pew_Create(const char* name, int) {
  std::string file = projectFileName(name);
  if (!content_) {
    report("%s: no project is loaded, nothing to write\n", file.c_str());
    return status::kNoProject;
  }
  ByteSink out;
  int e = out.create(file.c_str());
  if (e == 0) {
    encodeProject(*content_, out);
    e = out.close();
    // Never leave a partial project behind (but only ever remove a regular
    // file: the name may be a device).
    struct stat st;
    if (e != 0 && ::stat(file.c_str(), &st) == 0 && S_ISREG(st.st_mode)) ::unlink(file.c_str());
  }
  if (e != 0) {
    report("%s: cannot write the project file: %s\n", file.c_str(), std::strerror(e));
    return status::kCannotWrite;
  }
  return status::kOk;
}

void Vorlan::Close() { content_.reset(); }

void Vorlan::pew_New(std::uint32_t columns, std::uint32_t rows, float spacing) {
  content_ = std::make_unique<ProjectContent>();
  content_->makeEmpty(columns, rows, spacing);
  fileName_.clear();
}

void Vorlan::pew_show_header() {
  if (!content_) return;
  const PewHeader& h = content_->header;
  report("Project %s, format %.7s\r\n", fileName_.c_str(), h.signature);
  report("Data path: %s\r\n", h.dataPath.Get());
  report("Elevation grid: %u x %u points, spacing %.2f\r\n", content_->columns, content_->rows,
         static_cast<double>(h.gridSpacing));
}

void Vorlan::pew_show_tail() {
  if (!content_) return;
  report("Templates: %u, object slots: %u\r\n", content_->templates.count(), content_->objects.slotCount());
  report("Editor data kept unchanged: %zu bytes\r\n", content_->tailSize);
}

PewObjects* Vorlan::pew_get_objects() { return content_ ? &content_->objects : &noObjects_; }

void Vorlan::pew_delete_objects() {
  if (content_) content_->objects.clear();
}

ElevationGrid* Vorlan::pew_get_elevations() {
  if (content_) {
    grid_.columns = content_->columns;
    grid_.rows = content_->rows;
    grid_.heights = content_->heights().data();
  } else {
    grid_ = ElevationGrid();
  }
  return &grid_;
}

float Vorlan::pew_get_gridsize() const { return content_ ? content_->header.gridSpacing : 0.0f; }

PewObjectTemplate* Vorlan::pew_get_template(unsigned* count) {
  if (count) *count = content_ ? content_->templates.count() : 0;
  return content_ ? content_->templates.first() : nullptr;
}

PewObjectTemplate* Vorlan::pew_get_template(int id) {
  return content_ ? content_->templates.find(static_cast<std::uint32_t>(id)) : nullptr;
}

PewObjectTemplate* Vorlan::pew_add_template(int id) {
  PewObjectTemplate* t = content_ ? content_->templates.add(static_cast<std::uint32_t>(id)) : nullptr;
  if (t) t->ulMarkerType = kMarkerEllipse;
  return t;
}

PewObjectTemplate* Vorlan::pew_add_template(int id, const char* modelFilename, int objectType, int colour) {
  PewObjectTemplate* t = content_ ? content_->templates.add(static_cast<std::uint32_t>(id)) : nullptr;
  if (!t) return nullptr;
  t->strModelFilename.Set(modelFilename);
  t->ulObjectType = static_cast<std::uint32_t>(objectType);
  t->ulOutlineColour = t->ulObjectColour = static_cast<std::uint32_t>(colour);
  return t;
}

int Vorlan::pew_get_max_template_id() {
  return content_ ? static_cast<int>(content_->templates.maxId()) : -1;
}

int Vorlan::pew_template_used_in_objects(PewObjectTemplate* t) {
  return content_ && content_->templates.usage(t, content_->objects) > 0 ? 1 : 0;
}

std::uint32_t Vorlan::pew_count_valid_objects(std::uint32_t* missing) {
  TemplateTable::ValidObjects counts;
  if (content_) counts = content_->templates.validObjects(content_->objects);
  if (missing) *missing = counts.withoutTemplate;
  return counts.count;
}

int Vorlan::pew_delete_template(PewObjectTemplate* t) {
  return content_ && content_->templates.remove(t) ? 1 : 0;
}

void Vorlan::pew_delete_templates() {
  if (!content_) return;
  content_->templates.clear();
  content_->objects.clear();
}
