// Makes standard input a pipe that holds the given bytes and then ends, at
// the file descriptor level, so code that reads keys with read(2) sees them
// exactly as typed.
#pragma once

#include <string>

class InputFeed {
 public:
  explicit InputFeed(const std::string& bytes);
  ~InputFeed();
  InputFeed(const InputFeed&) = delete;
  InputFeed& operator=(const InputFeed&) = delete;

 private:
  int saved_ = -1;
};
