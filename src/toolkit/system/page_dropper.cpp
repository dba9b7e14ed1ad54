#include "system/page_dropper.h"

#include <system_error>

PageDropper::~PageDropper() {
  if (!thread_.joinable()) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    finished_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void PageDropper::behind(const void* upTo) {
  if (!file_.contains(upTo) && upTo != file_.data() + file_.size()) return;
  const auto offset = static_cast<std::size_t>(static_cast<const unsigned char*>(upTo) - file_.data());
  if (offset <= handed_ || offset - handed_ < MappedFile::kGiveBackStep) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    handed_ = offset;
  }
  if (thread_.joinable()) {
    wake_.notify_one();
    return;
  }
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    // No thread to be had: the writer drops the pages itself.
    file_.dropPages(dropped_, handed_);
    dropped_ = handed_;
  }
}

void PageDropper::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return finished_ || handed_ > dropped_; });
    if (handed_ == dropped_) return;  // finished, nothing left
    const std::size_t from = dropped_, to = handed_;
    lock.unlock();
    file_.dropPages(from, to);
    lock.lock();
    dropped_ = to;
  }
}
