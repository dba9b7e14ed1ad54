// Building the world from a loaded project, and the writer's bookkeeping.
#include "world/morvik.h"

#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unordered_map>

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
  columns_ = rows_ = 0;
  cellSize_ = 0;
  std::vector<float>().swap(heights_);
  std::vector<std::string>().swap(names_);
  std::vector<WorldObject>().swap(objects_);
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

  const ElevationGrid& grid = *project->pew_get_elevations();
  if (grid.columns == 0 || grid.rows == 0 || grid.columns > INT32_MAX || grid.rows > INT32_MAX) {
    report("%s: the elevation grid of %u x %u points cannot go into a world, which needs 1 to %d columns and rows\n",
           src, grid.columns, grid.rows, INT32_MAX);
    return status::kWorldUnsupported;
  }
  float spacing = project->pew_get_gridsize();
  if (!std::isfinite(spacing) || spacing <= 0) {
    report("%s: the grid spacing %g cannot be a world's land cell size, which must be a positive number\n", src,
           static_cast<double>(spacing));
    return status::kWorldUnsupported;
  }
  std::size_t points = std::size_t{grid.columns} * grid.rows;
  for (std::size_t i = 0; i < points; ++i) {
    std::uint32_t bits;
    std::memcpy(&bits, &grid.heights[i], 4);
    if (wrp::nonFiniteBits(bits)) {
      report("%s: the height at column %zu, row %zu is %g; a world holds only finite heights\n", src,
             i % grid.columns, i / grid.columns, static_cast<double>(grid.heights[i]));
      return status::kWorldUnsupported;
    }
  }
  columns_ = static_cast<std::int32_t>(grid.columns);
  rows_ = static_cast<std::int32_t>(grid.rows);
  cellSize_ = spacing;
  heights_.assign(grid.heights, grid.heights + points);
  report("World 8WVR: terrain grid %d x %d; land grid = terrain grid, cell size %g (the grid spacing)\n", columns_,
         rows_, static_cast<double>(cellSize_));
  report("Surfaces: only the empty surface entry is written and every surface index is 0, because the project's "
         "surface layers are kept as raw editor data\n");

  if (int s = addObjects(*project)) {
    Close();
    return s;
  }
  built_ = true;
  report("Objects: %zu\n", objects_.size());
  return status::kOk;
}

int Morvik::addObjects(Vorlan& project) {
  const char* src = source_.c_str();
  PewObjects& list = *project.pew_get_objects();
  std::size_t count = 0;
  for (PewObject* o = list.pewobject_GetFirstValid(); o; o = list.pewobject_GetNextValid(o)) ++count;
  objects_.reserve(count);
  IdSet ids;
  ids.reserve(count);

  // Objects of one template tend to come in runs: remember the last lookup.
  std::unordered_map<std::uint32_t, std::uint32_t> nameOfTemplate;
  bool haveLast = false;
  std::uint32_t lastTemplate = 0, lastName = 0;
  for (PewObject* o = list.pewobject_GetFirstValid(); o; o = list.pewobject_GetNextValid(o)) {
    if (!haveLast || o->templateId() != lastTemplate) {
      auto found = nameOfTemplate.find(o->templateId());
      if (found == nameOfTemplate.end()) {
        const PewObjectTemplate* t = project.pew_get_template(static_cast<int>(o->templateId()));
        if (!t) {
          report("%s: object %d refers to template %u, which is not in the template table; the world cannot be "
                 "made\n", src, o->objectId(), o->templateId());
          return status::kWorldBadObject;
        }
        if (t->strModelFilename.IsEmpty()) {
          report("%s: object %d uses template %u, whose model file name is empty (it would end the world's "
                 "object list); the world cannot be made\n", src, o->objectId(), o->templateId());
          return status::kWorldBadObject;
        }
        names_.emplace_back(t->strModelFilename.View());
        found = nameOfTemplate.emplace(o->templateId(), static_cast<std::uint32_t>(names_.size() - 1)).first;
      }
      haveLast = true;
      lastTemplate = o->templateId();
      lastName = found->second;
    }

    WorldObject w;
    std::memcpy(w.transform, o->transform().data(), sizeof w.transform);
    for (std::size_t i = 0; i < wrp::kTransformFloats; ++i) {
      std::uint32_t bits;
      std::memcpy(&bits, &w.transform[i], 4);
      if (wrp::nonFiniteBits(bits)) {
        report("%s: object %d (template %u) has transform value %zu of 12 = %g; a world holds only finite "
               "transforms\n", src, o->objectId(), o->templateId(), i + 1, static_cast<double>(w.transform[i]));
        return status::kWorldBadObject;
      }
    }
    if (!ids.insert(o->objectId())) {
      report("%s: object ID %d is used by two objects (the second of template %u); a world needs unique object "
             "IDs\n", src, o->objectId(), o->templateId());
      return status::kWorldBadObject;
    }
    w.id = o->objectId();
    w.name = lastName;
    objects_.push_back(w);
  }
  return status::kOk;
}
