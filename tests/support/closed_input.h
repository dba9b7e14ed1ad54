// Standard input closed for the length of a test, as in a script run with "<&-",
// so that the next file opened may get descriptor 0; put back even after a failed ASSERT.
#pragma once

#include <unistd.h>

class ClosedInput {
  int saved_ = dup(STDIN_FILENO);

 public:
  ClosedInput() { close(STDIN_FILENO); }
  ~ClosedInput() { dup2(saved_, STDIN_FILENO), close(saved_); }
  ClosedInput(const ClosedInput&) = delete;
  ClosedInput& operator=(const ClosedInput&) = delete;
};
