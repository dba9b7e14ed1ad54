// Redirects the process's standard streams for a test, at the file
// descriptor level, so output written with printf/fputs/write and input read
// with read(2) are seen exactly as the program would see them.
#pragma once

#include <cstdio>
#include <string>

// Collects everything written to `stream` (stdout or stderr) until finish()
// or destruction.
class OutputCapture {
 public:
  explicit OutputCapture(FILE* stream);
  ~OutputCapture();
  OutputCapture(const OutputCapture&) = delete;
  OutputCapture& operator=(const OutputCapture&) = delete;

  // Stops capturing and returns what was written.
  std::string finish();

 private:
  FILE* stream_;
  FILE* file_ = nullptr;
  int saved_ = -1;
  std::string text_;
};

// Makes standard input a pipe that holds `bytes` and then ends.
class InputFeed {
 public:
  explicit InputFeed(const std::string& bytes);
  ~InputFeed();
  InputFeed(const InputFeed&) = delete;
  InputFeed& operator=(const InputFeed&) = delete;

 private:
  int saved_ = -1;
};
