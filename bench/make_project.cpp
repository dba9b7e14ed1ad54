// Writes a synthetic project for benchmarks and demos:
//
//   make_project OUT.pew [--objects N] [--templates N] [--grid N] [--deleted FRACTION]
//                        [--duplicates FRACTION] [--named FRACTION] [--seed N]
//
// The same arguments always give the same file.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "status.h"
#include "project/vorlan.h"

namespace {

struct Settings {
  const char* out = nullptr;
  std::uint32_t objects = 1000;
  std::uint32_t templates = 50;
  std::uint32_t grid = 256;
  double deleted = 0.1;
  double duplicates = 0.0;
  double named = 0.05;
  std::uint64_t seed = 1;
};

// A small, fast generator with a fixed sequence for a given seed.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ull + 1) {}
  std::uint64_t next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return state_;
  }
  double unit() { return static_cast<double>(next() >> 11) / 9007199254740992.0; }

 private:
  std::uint64_t state_;
};

bool parse(int argc, char** argv, Settings& s) {
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    auto value = [&](double& out) {
      if (i + 1 >= argc) return false;
      out = std::strtod(argv[++i], nullptr);
      return true;
    };
    double v = 0;
    if (a == "--objects" && value(v)) s.objects = static_cast<std::uint32_t>(v);
    else if (a == "--templates" && value(v)) s.templates = static_cast<std::uint32_t>(v);
    else if (a == "--grid" && value(v)) s.grid = static_cast<std::uint32_t>(v);
    else if (a == "--deleted" && value(v)) s.deleted = v;
    else if (a == "--duplicates" && value(v)) s.duplicates = v;
    else if (a == "--named" && value(v)) s.named = v;
    else if (a == "--seed" && value(v)) s.seed = static_cast<std::uint64_t>(v);
    else if (a[0] != '-' && !s.out) s.out = argv[i];
    else return false;
  }
  return s.out && s.templates > 0;
}

const char* const kKinds[] = {"house", "tree", "rock", "fence", "road", "bush", "wall", "lamp"};

}  // namespace

int main(int argc, char** argv) {
  Settings s;
  if (!parse(argc, argv, s)) {
    std::fprintf(stderr,
                 "usage: make_project OUT.pew [--objects N] [--templates N] [--grid N] [--deleted FRACTION]\n"
                 "                    [--duplicates FRACTION] [--named FRACTION] [--seed N]\n");
    return 1;
  }
  Random random(s.seed);
  Vorlan project;
  const float spacing = 10.0f;
  project.pew_New(s.grid, s.grid, spacing);
  project.content()->header.dataPath.Set("ca\\demo\\data\\");
  ElevationGrid* grid = project.pew_get_elevations();
  for (std::uint32_t r = 0; r < s.grid; ++r)
    for (std::uint32_t c = 0; c < s.grid; ++c)
      grid->heights[std::size_t{r} * s.grid + c] =
          static_cast<float>(40.0 + 30.0 * std::sin(c * 0.05) * std::cos(r * 0.04) + random.unit());

  for (std::uint32_t id = 1; id <= s.templates; ++id) {
    const char* kind = kKinds[id % 8];
    char file[96], name[64];
    std::snprintf(file, sizeof file, "ca\\%s\\%s_%u.p3d", kind, kind, id);
    std::snprintf(name, sizeof name, "%s %u", kind, id);
    PewObjectTemplate* t = project.pew_add_template(static_cast<int>(id), file, 1, -1);
    t->strModelName.Set(name);
    if (id % 8 == 0 || id % 8 == 3 || id % 8 == 6) t->ulObjectType = kObjectTypeArtificial;
    if (id % 8 == 4) {
      t->ulObjectType = kObjectTypeRoads;
      t->LodNamedSelections = 1;
    }
    t->dblxyGeometryBounds = {0, 2.0 + id % 7, 3.0 + id % 5};
  }

  PewObjects* objects = project.pew_get_objects();
  const double extent = static_cast<double>(s.grid) * spacing;
  PewObject* previous = nullptr;
  for (std::uint32_t i = 0; i < s.objects; ++i) {
    PewObject* o = objects->AddPewObject();
    if (previous && random.unit() < s.duplicates) {
      o->setTemplateId(previous->templateId());
      o->setTransform(previous->transform());
    } else {
      o->setTemplateId(1 + static_cast<std::uint32_t>(random.next() % s.templates));
      Matrix4 t = o->transform();
      t.SetDirectionInDegrees(std::floor(random.unit() * 3600) / 10, 0.8f + 0.4f * static_cast<float>(random.unit()));
      t.mtx4_SetPosition(random.unit() * extent, 40.0 + random.unit() * 30, random.unit() * extent);
      o->setTransform(t);
    }
    if (random.unit() < s.named) {
      char name[32];
      std::snprintf(name, sizeof name, "obj%u", i);
      objects->setInstanceName(o, name);
    }
    if (random.unit() < s.deleted) objects->markInvalid(o);
    previous = o;
  }

  int result = project.pew_Create(s.out, 0);
  if (result != status::kOk) {
    std::fprintf(stderr, "make_project: cannot write %s\n", s.out);
    return result;
  }
  return 0;
}
