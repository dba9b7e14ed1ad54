// Captures what the code under test writes to standard output or standard
// error (through stdio or straight to the file descriptor) into a string.
#pragma once

#include <cstdio>
#include <functional>
#include <string>

class StreamCapture {
 public:
  explicit StreamCapture(FILE* stream);  // stdout or stderr
  ~StreamCapture();
  StreamCapture(const StreamCapture&) = delete;
  StreamCapture& operator=(const StreamCapture&) = delete;

  // Stops capturing (once) and returns everything written meanwhile.
  std::string finish();

 private:
  FILE* stream_;
  int fd_;
  int saved_ = -1;
  FILE* file_ = nullptr;
  std::string text_;
};

// What `body` returned and wrote to standard output and standard error.
struct Captured {
  int status;
  std::string out, err;
};
Captured captureRun(const std::function<int()>& body);
