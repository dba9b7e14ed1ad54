// The world folder: the world writer and its checker. It reads the project
// store and may use the project, system and text folders.
//
// Morvik: the world writer. It builds the game's editable world (a .wrp file
// of the form 8WVR, "version 8") from a loaded project, writes it out, and
// checks world files.
//
// The project's surface layers sit in the editor data that the store keeps
// as raw bytes, so a built world has land grid = terrain grid, land cell
// size = the project's grid spacing, a surface table with only the empty
// entry and every surface index 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "project/vorlan.h"

class ByteSink;

class Morvik {
 public:
  Morvik();
  ~Morvik();
  Morvik(const Morvik&) = delete;
  Morvik& operator=(const Morvik&) = delete;

  // Builds the world from `project`: its elevation grid and every valid
  // object in list order (ID, model file name of its template, the
  // transform bit for bit), after checking that each can go into a world.
  // Only version 8 is made. The world keeps a share of the project's content
  // (which stays in memory after the project is closed) and is written from
  // it, not from copies; the project's objects must not change until the
  // world is written. Progress and problems go to `sink`, which later calls
  // keep using. Returns 0 or a status of status.h; on failure nothing stays
  // built.
  int wrp_CreateFromPew(int version, Vorlan* project, MessageSink sink);
  // Writes the built world to `name`. The bytes go to a temporary file in
  // the same folder that replaces `name` only once it is complete and on
  // disk; a failure leaves neither a partial file nor the temporary one.
  // A project whose objects changed since the build is refused.
  int wrp_Create(const char* name, int version);
  // Checks the world file `name` (or the `dataLength` bytes at `data` when
  // `data` is not null) in one streaming pass. The first problem is reported
  // with its byte offset; a sound file gets a one-line summary. Returns 0,
  // kCannotOpen, kNotWorld (another signature, or shorter than the header)
  // or kDamagedWorld. `flags` is unused. The built world is left alone.
  int wrp_Open(const char* name, int flags, MessageSink sink, const unsigned char* data,
               std::size_t dataLength);
  // Releases the built world and its share of the project.
  void Close();

  bool IsBuilt() const { return built_; }
  std::size_t objectCount() const { return objectCount_; }

 private:
  int checkGrid();
  int addObjects();
  // The index in names_ of the model file name of template `id`, or -1 when
  // the build did not meet it. Objects of one template tend to come in
  // runs, so the last answer is kept.
  std::int64_t nameIndex(std::uint32_t id) const {
    if (haveLastTemplate_ && id == lastTemplate_) return lastName_;
    auto found = nameOfTemplate_.find(id);
    if (found == nameOfTemplate_.end()) return -1;
    haveLastTemplate_ = true;
    lastTemplate_ = id;
    lastName_ = found->second;
    return lastName_;
  }
  void report(const char* format, ...);
  bool encode(ByteSink& out) const;

  MessageSink sink_ = nullptr;
  std::string source_;  // the project's file name, for messages
  bool built_ = false;
  std::shared_ptr<ProjectContent> content_;
  std::uint64_t objectChanges_ = 0;  // the object list's change count when built
  std::size_t objectCount_ = 0;
  float cellSize_ = 0;
  // The model file name of every template the objects use, once each, so
  // that the world does not depend on the template table after the build.
  std::vector<std::string> names_;
  std::unordered_map<std::uint32_t, std::uint32_t> nameOfTemplate_;
  mutable bool haveLastTemplate_ = false;
  mutable std::uint32_t lastTemplate_ = 0, lastName_ = 0;
};
