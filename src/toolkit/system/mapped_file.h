// MappedFile: the bytes of a whole file in memory without copying them: the
// file is mapped privately, so pages are read only when touched and the
// holder may write into them without the writes ever reaching the file. A
// zero byte always follows the file's bytes, for readers of text.
// Bytes given in memory are copied into a buffer of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

class MappedFile {
 public:
  MappedFile() = default;
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  ~MappedFile();

  // Maps the file and keeps it open; returns 0 or the errno of the failure
  // (EISDIR for a folder). A file that is not regular, or empty, holds no
  // bytes.
  int open(const char* name);
  // The same for a file already open (the descriptor stays open).
  int map(int fd);
  // The bytes before `upTo` will not be read again: their memory goes back
  // (the file's pages stay cached by the system), in steps of at least
  // kGiveBackStep: each step costs the system a flush of address
  // translations on every processor, which a reader that calls this once a
  // line would otherwise pay thousands of times.
  void giveBack(std::size_t upTo);
  static constexpr std::size_t kGiveBackStep = std::size_t{8} << 20;
  // The same for the whole pages within the `n` bytes at `start`, anywhere
  // in the file, for a reader that passes over a part once. Only for bytes
  // the holder never wrote to: a page given back is read from the file again.
  void giveBackRange(const void* start, std::size_t n);
  // Lets go of the bytes held.
  void release();
  // Holds a copy of the `size` bytes at `data`.
  void copy(const unsigned char* data, std::size_t size);

  unsigned char* data() { return data_; }
  const unsigned char* data() const { return data_; }
  std::size_t size() const { return size_; }
  bool contains(const void* p) const {
    auto* b = static_cast<const unsigned char*>(p);
    return b >= data_ && b < data_ + size_;
  }

  // Cuts the `n` bytes at `start` into pieces, in order, and tells for each
  // whether it still holds the bytes of the file opened by open(): then
  // `f(piece, length, descriptor, offset)` gets the file's descriptor and the
  // piece's offset in it, so that the system can copy the piece from the
  // file itself; otherwise (bytes written to since, bytes elsewhere, no file
  // open) the descriptor is -1. Which pages were written to is asked of the
  // system, page by page.
  using PieceFunction = std::function<void(const unsigned char*, std::size_t, int, std::uint64_t)>;
  void forEachPiece(const void* start, std::size_t n, const PieceFunction& f) const;
  // The whole pages within the bytes [from, to) of the file opened by
  // open() that still hold the file's bytes leave the mapping, and the
  // system is asked to drop the file's cached pages there (it keeps those
  // not yet on disk). Bytes dropped and read again come from the file.
  // Safe to call from another thread while the holder writes nothing.
  void dropPages(std::size_t from, std::size_t to) const;

 private:

  unsigned char* data_ = nullptr;
  std::size_t size_ = 0;
  int fd_ = -1;  // the file opened by open(), kept open while it is mapped
  std::size_t mappedRoom_ = 0;  // bytes of the mapping; 0 when nothing is mapped
  std::size_t given_ = 0;       // bytes from the start given back
  std::vector<unsigned char> copy_;
};
