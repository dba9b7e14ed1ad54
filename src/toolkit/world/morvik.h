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
#include <string>
#include <vector>

#include "project/vorlan.h"

class ByteSink;

class Morvik {
 public:
  Morvik();
  ~Morvik();
  Morvik(const Morvik&) = delete;
  Morvik& operator=(const Morvik&) = delete;

  // Builds the world in memory from `project`: its elevation grid and every
  // valid object in list order (ID, model file name of its template, the
  // transform bit for bit). Only version 8 is made. Progress and problems go
  // to `sink`, which later calls keep using. Returns 0 or a status of
  // status.h; on failure nothing stays built.
  int wrp_CreateFromPew(int version, Vorlan* project, MessageSink sink);
  // Writes the built world to `name`. The bytes go to a temporary file in
  // the same folder that replaces `name` only once it is complete and on
  // disk; a failure leaves neither a partial file nor the temporary one.
  int wrp_Create(const char* name, int version);
  // Checks the world file `name` (or the `dataLength` bytes at `data` when
  // `data` is not null) in one streaming pass. The first problem is reported
  // with its byte offset; a sound file gets a one-line summary. Returns 0,
  // kCannotOpen, kNotWorld (another signature, or shorter than the header)
  // or kDamagedWorld. `flags` is unused. The built world is left alone.
  int wrp_Open(const char* name, int flags, MessageSink sink, const unsigned char* data,
               std::size_t dataLength);
  // Releases the built world.
  void Close();

  bool IsBuilt() const { return built_; }
  std::size_t objectCount() const { return objects_.size(); }

 private:
  // One object as the world holds it. The model file name is an index into
  // names_, one entry per template used, so millions of objects share a
  // handful of strings.
  struct WorldObject {
    float transform[12];
    std::int32_t id;
    std::uint32_t name;
  };

  int addObjects(Vorlan& project);
  void report(const char* format, ...);
  void encode(ByteSink& out) const;

  MessageSink sink_ = nullptr;
  std::string source_;  // the project's file name, for messages
  bool built_ = false;
  std::int32_t columns_ = 0;
  std::int32_t rows_ = 0;
  float cellSize_ = 0;
  std::vector<float> heights_;
  std::vector<std::string> names_;
  std::vector<WorldObject> objects_;
};
