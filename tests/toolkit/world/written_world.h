// The world file the toolkit's writer makes from a fixture project, for tests
// that feed the checker real writer output.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "fixture_builder.h"
#include "message_capture.h"
#include "world/morvik.h"
#include "status.h"
#include "temp_dir.h"
#include "project/vorlan.h"

inline std::vector<unsigned char> writtenWorld(const ProjectFixture& f) {
  std::vector<unsigned char> pew = f.bytes();
  Vorlan project;
  EXPECT_EQ(project.pew_Open("map.pew", 0, MessageCapture::sink, pew.data(), pew.size()), status::kOk);
  Morvik world;
  EXPECT_EQ(world.wrp_CreateFromPew(8, &project, MessageCapture::sink), status::kOk);
  TempDir dir;
  EXPECT_EQ(world.wrp_Create(dir.file("w.wrp").c_str(), 8), status::kOk);
  return readFileBytes(dir.file("w.wrp"));
}
