// Standard input closed for the length of a test, as in a script started
// with "<&-": the next file a test opens may get descriptor 0. It is put
// back on the way out, also when an assertion ends the test early.
#pragma once

#include <unistd.h>

class ClosedInput {
 public:
  ClosedInput() : saved_(dup(STDIN_FILENO)) { close(STDIN_FILENO); }
  ~ClosedInput() { dup2(saved_, STDIN_FILENO), close(saved_); }
  ClosedInput(const ClosedInput&) = delete;
  ClosedInput& operator=(const ClosedInput&) = delete;

 private:
  int saved_;
};
