// Building the world from a loaded project, and the writer's bookkeeping.
#include "world/morvik.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "project/id_set.h"
#include "status.h"
#include "world/world_format.h"

Morvik::Morvik() = default;
Morvik::~Morvik() = default;

void Morvik::report(const char* format, ...) {
  va_list args;
  va_start(args, format);
  sendMessageV(sink_, format, args);
  va_end(args);
}

void Morvik::Close() {
  built_ = false;
  content_.reset();
  objectCount_ = 0;
  cellSize_ = 0;
  std::vector<std::string>().swap(names_);
  nameOfTemplate_.clear();
  haveLastTemplate_ = false;
}

int Morvik::wrp_CreateFromPew(int version, Vorlan* project, MessageSink sink) {
  Close();
  sink_ = sink;
  source_ = project && !project->fileName().empty() ? project->fileName() : "the project";
  const char* src = source_.c_str();
  if (version != wrp::kEditableVersion) {
    report("%s: world version %d cannot be made; only version 8 (the editable form 8WVR) is written\n", src,
           version);
    return status::kWorldUnsupported;
  }
  if (!project || !project->IsLoaded()) {
    report("%s: no project is loaded, so no world can be made\n", src);
    return status::kNoProject;
  }
  content_ = project->sharedContent();
  int s = checkGrid();
  if (s == status::kOk) {
    report("World 8WVR: terrain grid %u x %u; land grid = terrain grid, cell size %g (the grid spacing)\n",
           content_->columns, content_->rows, static_cast<double>(cellSize_));
    report("Surfaces: only the empty surface entry is written and every surface index is 0, because the project's "
           "surface layers are kept as raw editor data\n");
    s = addObjects();
  }
  if (s != status::kOk) {
    Close();
    return s;
  }
  built_ = true;
  report("Objects: %zu\n", objectCount_);
  return status::kOk;
}

int Morvik::checkGrid() {
  const char* src = source_.c_str();
  const std::uint32_t columns = content_->columns, rows = content_->rows;
  if (columns == 0 || rows == 0 || !std::in_range<std::int32_t>(columns) || !std::in_range<std::int32_t>(rows)) {
    report("%s: the elevation grid of %u x %u points cannot go into a world, which needs 1 to %d columns and rows\n",
           src, columns, rows, INT32_MAX);
    return status::kWorldUnsupported;
  }
  float spacing = content_->header.gridSpacing;
  if (!std::isfinite(spacing) || spacing <= 0) {
    report("%s: the grid spacing %g cannot be a world's land cell size, which must be a positive number\n", src,
           static_cast<double>(spacing));
    return status::kWorldUnsupported;
  }
  cellSize_ = spacing;
  std::size_t index = 0;
  bool finite = content_->forEachHeightPiece([&](const unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, ++index) {
      std::uint32_t bits;
      std::memcpy(&bits, bytes + 4 * i, sizeof bits);
      if (wrp::nonFiniteBits(bits)) {
        float height;
        std::memcpy(&height, &bits, sizeof height);
        report("%s: the height at column %zu, row %zu is %g; a world holds only finite heights\n", src,
               index % columns, index / columns, static_cast<double>(height));
        return false;
      }
    }
    return true;
  });
  return finite ? status::kOk : status::kWorldUnsupported;
}

int Morvik::addObjects() {
  const char* src = source_.c_str();
  const PewObjects& list = content_->objects;
  // A first pass for the count and the range of the IDs, which sizes the
  // set that finds repeated IDs.
  std::size_t count = 0;
  std::int32_t lowest = INT32_MAX, highest = INT32_MIN;
  list.forEachSlot([&](const PewObject& o) {
    if (o.validFlag() == 0) return;
    ++count;
    lowest = std::min(lowest, o.objectId());
    highest = std::max(highest, o.objectId());
  });
  IdSet ids;
  ids.reserve(count, lowest, highest);

  int s = status::kOk;
  list.forEachSlot([&](const PewObject& o) {
    if (s != status::kOk || o.validFlag() == 0) return;
    const std::uint32_t templateId = o.templateId();
    if (nameIndex(templateId) < 0) {
      const PewObjectTemplate* t = content_->templates.find(templateId);
      if (!t) {
        report("%s: object %d refers to template %u, which is not in the template table; the world cannot be "
               "made\n", src, o.objectId(), templateId);
        s = status::kWorldBadObject;
        return;
      }
      if (t->strModelFilename.IsEmpty()) {
        report("%s: object %d uses template %u, whose model file name is empty (it would end the world's "
               "object list); the world cannot be made\n", src, o.objectId(), templateId);
        s = status::kWorldBadObject;
        return;
      }
      names_.emplace_back(t->strModelFilename.View());
      nameOfTemplate_.emplace(templateId, static_cast<std::uint32_t>(names_.size() - 1));
    }

    const unsigned char* transform = o.record() + pew_record::kTransform;
    for (std::size_t i = 0; i < wrp::kTransformFloats; ++i) {
      std::uint32_t bits;
      std::memcpy(&bits, transform + 4 * i, sizeof bits);
      if (wrp::nonFiniteBits(bits)) {
        float value;
        std::memcpy(&value, &bits, sizeof value);
        report("%s: object %d (template %u) has transform value %zu of 12 = %g; a world holds only finite "
               "transforms\n", src, o.objectId(), templateId, i + 1, static_cast<double>(value));
        s = status::kWorldBadObject;
        return;
      }
    }
    if (!ids.insert(o.objectId())) {
      report("%s: object ID %d is used by two objects (the second of template %u); a world needs unique object "
             "IDs\n", src, o.objectId(), templateId);
      s = status::kWorldBadObject;
      return;
    }
  });
  objectCount_ = count;
  objectChanges_ = list.changeCount();
  return s;
}
