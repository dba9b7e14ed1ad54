// The project folder: the .pew codec and the project store (objects and
// their transforms, the template table, the elevation grid). It may use the
// text and system folders; the world folder builds on it.
//
// Vorlan: the open project. It loads a .pew file into memory, gives the
// program its object list, template table and elevation grid to work on in
// place, and writes the project back out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "system/kel_file_io.h"
#include "text/message_sink.h"
#include "project/pew_codec.h"
#include "project/pew_object.h"
#include "project/pew_template.h"


// The elevation grid as the program sees it: columns, rows, and the heights
// row by row (all columns of row 0 first).
struct ElevationGrid {
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  float* heights = nullptr;
};

class Vorlan {
 public:
  Vorlan();
  ~Vorlan();
  Vorlan(const Vorlan&) = delete;
  Vorlan& operator=(const Vorlan&) = delete;

  // Loads the project file `name` (".pew" is added to a name without an
  // extension), or the `dataLength` bytes at `data` when `data` is not null.
  // Problems go to `sink`. Returns 0, or a status of status.h; on failure no
  // project is loaded.
  int pew_Open(const char* name, int flags, MessageSink sink, const unsigned char* data,
               std::size_t dataLength);
  // The flags every caller passes: no flag is defined.
  static constexpr int kNoFlags = 0;
  // Writes the loaded project to `name` (".pew" added as above). A failed
  // write removes what it wrote and returns a non-zero status.
  int pew_Create(const char* name, int flags);
  // Releases the loaded project.
  void Close();
  bool IsLoaded() const { return content_ != nullptr; }
  // Starts a new, empty project in memory with a grid of zero heights.
  void pew_New(std::uint32_t columns, std::uint32_t rows, float spacing);

  // A short summary of what the file holds, through the sink of the last open.
  void pew_show_header();
  void pew_show_tail();

  // Objects and elevations.
  PewObjects* pew_get_objects();
  void pew_delete_objects();
  ElevationGrid* pew_get_elevations();
  float pew_get_gridsize() const;

  // The project's file helper: whole files in memory and text banners.
  KelFileIO* GetIO() { return &io_; }

  // Templates.
  PewObjectTemplate* pew_get_template(unsigned* count);
  PewObjectTemplate* pew_get_template(int id);
  // An empty template with the usual values and an elliptic marker (the one
  // a template library leaves out for natural templates, so that a library
  // reads back as it was written), for the caller to fill in.
  PewObjectTemplate* pew_add_template(int id);
  // A natural template of the model file with a rectangular marker, for an
  // object whose model has no template yet.
  PewObjectTemplate* pew_add_template(int id, const char* modelFilename, int objectType, int colour);
  int pew_get_max_template_id();
  int pew_template_used_in_objects(PewObjectTemplate* t);
  // The number of valid objects; `missing` gets how many of them refer to a
  // template id the table does not hold.
  std::uint32_t pew_count_valid_objects(std::uint32_t* missing);
  int pew_delete_template(PewObjectTemplate* t);
  void pew_delete_templates();

  // The whole content, for the world writer and for tests and generators.
  ProjectContent* content() { return content_.get(); }
  // The content shared: it stays in memory while the holder keeps it, also
  // after this project is closed or another one is opened (the world writer
  // writes from it after building).
  std::shared_ptr<ProjectContent> sharedContent() { return content_; }
  const std::string& fileName() const { return fileName_; }
  void setMessageSink(MessageSink sink) { sink_ = sink; }

 private:
  void report(const char* format, ...);

  std::shared_ptr<ProjectContent> content_;
  PewObjects noObjects_;  // handed out while no project is loaded
  ElevationGrid grid_;
  KelFileIO io_;
  std::string fileName_;
  MessageSink sink_ = nullptr;
};

// `name` with ".pew" added when its last path component has no extension.
std::string projectFileName(const char* name);
