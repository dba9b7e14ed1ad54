// Times the world writer on a large project: a 2048 x 2048 grid and a
// million objects over a hundred templates. Usage: world_bench [folder]
// (the world file is written there and removed afterwards).
#include <chrono>
#include <cstdio>
#include <string>
#include <unistd.h>

#include "world/morvik.h"
#include "project/vorlan.h"

namespace {

bool quiet(const char*, ...) { return true; }

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
  std::string folder = argc > 1 ? argv[1] : "/tmp";
  std::string file = folder + "/world_bench.wrp";
  const std::uint32_t side = 2048;
  const int objects = 1000000;

  Vorlan project;
  project.pew_New(side, side, 5.0f);
  ElevationGrid* grid = project.pew_get_elevations();
  for (std::size_t i = 0; i < std::size_t{side} * side; ++i) grid->heights[i] = static_cast<float>(i % 977) * 0.25f;
  for (int t = 1; t <= 100; ++t)
    project.pew_add_template(t, ("ca\\structures\\model_" + std::to_string(t) + ".p3d").c_str(), 1, -1);
  PewObjects* list = project.pew_get_objects();
  for (int i = 0; i < objects; ++i) {
    PewObject* o = list->AddPewObject();
    o->setTemplateId(static_cast<std::uint32_t>(1 + i % 100));
    Matrix4 t = o->transform();
    t.SetDirectionInDegrees(i % 360, 1.0f);
    t.mtx4_SetPosition(i % 10240, 12.5, i / 10240 * 100.0);
    o->setTransform(t);
  }

  Morvik world;
  auto start = std::chrono::steady_clock::now();
  if (int s = world.wrp_CreateFromPew(8, &project, quiet)) return s;
  double built = secondsSince(start);
  start = std::chrono::steady_clock::now();
  if (int s = world.wrp_Create(file.c_str(), 8)) return s;
  double written = secondsSince(start);
  world.Close();
  start = std::chrono::steady_clock::now();
  int checked = world.wrp_Open(file.c_str(), 0, quiet, nullptr, 0);
  double verified = secondsSince(start);

  FILE* f = std::fopen(file.c_str(), "rb");
  std::fseek(f, 0, SEEK_END);
  double megabytes = static_cast<double>(std::ftell(f)) / 1e6;
  std::fclose(f);
  ::unlink(file.c_str());
  std::printf("world: %.1f MB, %d objects\n", megabytes, objects);
  std::printf("build  %.3f s\n", built);
  std::printf("write  %.3f s, %.0f MB/s (with fsync)\n", written, megabytes / written);
  std::printf("check  %.3f s, %.0f MB/s, status %d\n", verified, megabytes / verified, checked);
  return checked;
}
