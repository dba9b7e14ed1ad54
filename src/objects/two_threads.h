// Work split between this thread and one more, for the passes over millions
// of objects that a second processor shortens.
#pragma once

#include <exception>
#include <system_error>
#include <thread>

// Runs work(0) on this thread and work(1) on a second one, or after work(0)
// when `two` is false or no thread can be had. An exception of either reaches
// the caller once both are done.
template <typename Work>
void runBoth(bool two, Work&& work) {
  std::exception_ptr failed[2];
  auto guarded = [&](int part) {
    try {
      work(part);
    } catch (...) {
      failed[part] = std::current_exception();
    }
  };
  std::thread second;
  if (two) {
    try {
      second = std::thread(guarded, 1);
    } catch (const std::system_error&) {
    }
  }
  guarded(0);
  if (second.joinable()) second.join();
  else guarded(1);
  for (const std::exception_ptr& e : failed)
    if (e) std::rethrow_exception(e);
}
