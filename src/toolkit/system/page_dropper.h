// PageDropper: lets go of a mapped file's pages behind a writer that copies
// the file into a new one, on a thread of its own.
//
// A save that replaces the file has no use for the old file's pages once it
// has taken their bytes: freed while it writes, they are what the system
// hands out for the new file's pages, instead of memory it must first fetch
// and clear, and the old file's close has little left to free. The freeing
// itself is work for the other processor, not for the writer.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

#include "system/mapped_file.h"

class PageDropper {
 public:
  explicit PageDropper(const MappedFile& file) : file_(file) {}
  // Waits until every step handed over is dropped.
  ~PageDropper();
  PageDropper(const PageDropper&) = delete;
  PageDropper& operator=(const PageDropper&) = delete;

  // The writer has taken the file's bytes before `upTo` (an address in the
  // mapping; others are ignored). They are dropped a step of
  // MappedFile::kGiveBackStep at a time, so a small file starts no thread.
  void behind(const void* upTo);

 private:
  void run();

  const MappedFile& file_;
  std::size_t handed_ = 0;  // bytes from the start handed to the thread
  std::size_t dropped_ = 0;
  bool finished_ = false;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::thread thread_;
};
