#include "stream_redirect.h"

#include <unistd.h>

#include <stdexcept>

OutputCapture::OutputCapture(FILE* stream) : stream_(stream) {
  std::fflush(stream_);
  file_ = std::tmpfile();
  saved_ = dup(fileno(stream_));
  if (!file_ || saved_ < 0 || dup2(fileno(file_), fileno(stream_)) < 0)
    throw std::runtime_error("cannot redirect an output stream");
}

OutputCapture::~OutputCapture() { finish(); }

std::string OutputCapture::finish() {
  if (saved_ < 0) return text_;
  std::fflush(stream_);
  dup2(saved_, fileno(stream_));
  close(saved_);
  saved_ = -1;
  std::rewind(file_);
  char block[4096];
  std::size_t n;
  while ((n = std::fread(block, 1, sizeof block, file_)) > 0) text_.append(block, n);
  std::fclose(file_);
  file_ = nullptr;
  return text_;
}

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
