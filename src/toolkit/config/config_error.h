// The failure of a config read: a status (see status.h) and the complete
// message, already prefixed with "file:line:col: " where a place is known.
// Thrown inside the reader and turned into a status by Tovisk::rap_Create, so
// the parsing code can stop from any depth without threading results through.
#pragma once

#include <string>
#include <utility>

struct ConfigError {
  ConfigError(int code, std::string text) : status(code), message(std::move(text)) {}
  int status;
  std::string message;
};
