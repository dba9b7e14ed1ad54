#include "stream_capture.h"

#include <unistd.h>

StreamCapture::StreamCapture(FILE* stream) : stream_(stream), fd_(fileno(stream)) {
  std::fflush(stream_);
  file_ = std::tmpfile();
  saved_ = dup(fd_);
  dup2(fileno(file_), fd_);
}

StreamCapture::~StreamCapture() { finish(); }

Captured captureRun(const std::function<int()>& body) {
  StreamCapture out(stdout), err(stderr);
  int status = body();
  std::string errText = err.finish();
  return {status, out.finish(), errText};
}

std::string StreamCapture::finish() {
  if (saved_ < 0) return text_;
  std::fflush(stream_);
  dup2(saved_, fd_);
  close(saved_);
  saved_ = -1;
  std::rewind(file_);
  char buffer[65536];
  std::size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) text_.append(buffer, n);
  std::fclose(file_);
  file_ = nullptr;
  return text_;
}
