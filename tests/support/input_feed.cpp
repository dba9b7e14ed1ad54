#include "input_feed.h"

#include <unistd.h>

#include <stdexcept>

InputFeed::InputFeed(const std::string& bytes) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("cannot make a pipe");
  // Test inputs are small enough to fit into the pipe without a reader.
  if (write(ends[1], bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
    throw std::runtime_error("cannot fill the pipe");
  close(ends[1]);
  saved_ = dup(STDIN_FILENO);
  dup2(ends[0], STDIN_FILENO);
  close(ends[0]);
}

InputFeed::~InputFeed() {
  dup2(saved_, STDIN_FILENO);
  close(saved_);
}
