// Writing the built world to a file: the encoder and the safe replacement of
// the target (temporary file in the same folder, fsync, rename).
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "system/byte_sink.h"
#include "system/file_calls.h"
#include "world/morvik.h"
#include "status.h"
#include "system/temporary_files.h"
#include "world/world_format.h"

namespace {

void putZeros(ByteSink& out, std::uint64_t n) {
  static const unsigned char zeros[64 * 1024] = {};
  while (n > 0) {
    std::size_t chunk = n < sizeof zeros ? static_cast<std::size_t>(n) : sizeof zeros;
    out.write(zeros, chunk);
    n -= chunk;
  }
}

// The name of the index-th candidate for the temporary file beside `target`.
std::string temporaryName(const std::string& target, int index) {
  return target + "." + std::to_string(::getpid()) + "-" + std::to_string(index) + ".tmp";
}

}  // namespace

// Streams the world from the project's content: the heights and the object
// records are read where the store keeps them. False when an object's
// template was not met by the build (the project changed since).
bool Morvik::encode(ByteSink& out) const {
  auto columns = static_cast<std::int32_t>(content_->columns);
  auto rows = static_cast<std::int32_t>(content_->rows);
  out.write(wrp::kSignature, sizeof wrp::kSignature);
  out.put(columns);  // land grid = terrain grid
  out.put(rows);
  out.put(columns);
  out.put(rows);
  out.put(cellSize_);
  content_->forEachHeightPiece([&](const unsigned char* bytes, std::size_t count) {
    out.write(bytes, count * sizeof(float));
    return true;
  });
  putZeros(out, std::uint64_t{content_->columns} * content_->rows * 2);
  out.put(std::int32_t{1});  // the surface table: only entry 0, the empty run
  out.put(std::int32_t{0});

  unsigned char record[wrp::kRecordFixedBytes];
  bool known = true;
  content_->objects.forEachSlot([&](const PewObject& o) {
    if (!known || o.validFlag() == 0) return;
    std::int64_t index = nameIndex(o.templateId());
    if (index < 0) {
      known = false;
      return;
    }
    const std::string& name = names_[static_cast<std::size_t>(index)];
    auto length = static_cast<std::int32_t>(name.size());
    std::int32_t id = o.objectId();
    std::memcpy(record, o.record() + pew_record::kTransform, 48);
    std::memcpy(record + wrp::kRecordIdAt, &id, sizeof id);
    std::memcpy(record + wrp::kRecordNameLengthAt, &length, sizeof length);
    out.write(record, sizeof record);
    out.write(name.data(), name.size());
  });
  if (!known) return false;
  for (std::size_t i = 0; i < wrp::kTransformFloats; ++i) std::memcpy(record + 4 * i, &wrp::kQuietNaNBits, 4);
  std::memcpy(record + wrp::kRecordIdAt, &wrp::kTerminatorId, 4);
  std::memset(record + wrp::kRecordNameLengthAt, 0, 4);
  out.write(record, sizeof record);
  return true;
}

int Morvik::wrp_Create(const char* name, int version) {
  std::string target = name ? name : "";
  const char* file = target.c_str();
  if (version != wrp::kEditableVersion) {
    report("%s: world version %d cannot be written; only version 8 (the editable form 8WVR) is\n", file, version);
    return status::kWorldUnsupported;
  }
  if (!built_) {
    report("%s: no world has been built, nothing to write\n", file);
    return status::kNoProject;
  }
  if (content_->objects.changeCount() != objectChanges_) {
    report("%s: the project's objects changed after the world was built; build it again\n", file);
    return status::kNoProject;
  }
  if (target.empty()) {
    report("(no name): cannot write the world file: no file name was given\n");
    return status::kCannotWrite;
  }
  // Only ever replace a regular file: the name might be a device or a folder.
  struct stat st;
  if (::stat(file, &st) == 0) {
    if (!S_ISREG(st.st_mode)) {
      report("%s: cannot write the world file: the name exists and is not a regular file\n", file);
      return status::kCannotWrite;
    }
    dropCachedPages(file);
  }

  std::string temporary;
  std::unique_ptr<ByteSink> out;
  int e = EEXIST;
  for (int attempt = 0; attempt < 100 && e == EEXIST; ++attempt) {
    temporary = temporaryName(target, attempt);
    out = std::make_unique<ByteSink>();
    e = out->createNew(temporary.c_str());
  }
  if (e != 0) {
    report("%s: cannot write the world file: cannot create %s: %s\n", file, temporary.c_str(), std::strerror(e));
    return status::kCannotWrite;
  }
  holdTemporary(temporary);  // an interrupt removes it
  bool complete = encode(*out);
  e = complete ? out->sync() : 0;
  int closed = out->close();
  if (e == 0) e = closed;
  if (complete && e == 0 && ::rename(temporary.c_str(), file) != 0) e = errno;
  if (!complete || e != 0) ::unlink(temporary.c_str());
  releaseTemporary(temporary);
  if (!complete) {
    report("%s: an object's template changed after the world was built; build it again\n", file);
    return status::kNoProject;
  }
  if (e != 0) {
    report("%s: cannot write the world file: %s\n", file, std::strerror(e));
    return status::kCannotWrite;
  }
  // Temporary files of killed runs for this world ("<name>.<pid>-<n>.tmp").
  std::size_t slash = target.find_last_of('/');
  std::string folder = slash == std::string::npos ? "" : target.substr(0, slash + 1);
  removeStaleTemporaries(folder, target.substr(folder.size()) + ".", ".tmp");
  syncFolderOf(target);
  return status::kOk;
}
