// The config folder: the config language, in stages: source text, lexer,
// preprocessor with macros and includes, parser, the tree of entries
// (rap_entry) and this reader over them. It may use the text and system
// folders; it knows nothing of projects or worlds.
//
// Tovisk: the toolkit's reader of config class text (the syntax of the game's
// configuration files, which template libraries use). rap_Create reads a whole
// file, with its includes and macros, into a tree of rap_entry nodes that the
// reader keeps until the next rap_Create or its own end. A failure leaves no
// tree, and ErrorString tells what went wrong and where ("file:line:col: ...").
#pragma once

#include <memory>
#include <string>

#include "config/config_limits.h"
#include "config/rap_entry.h"

class ConfigTree;

class Tovisk {
 public:
  Tovisk();
  ~Tovisk();
  Tovisk(const Tovisk&) = delete;
  Tovisk& operator=(const Tovisk&) = delete;

  // Reads the text of `file`, or, when `data` is not null, the `dataLength`
  // bytes at `data` (up to its NUL when dataLength is negative), named by
  // `file` (or "<data>") in messages and includes. `flags` and the reserved
  // arguments are not used. Returns 0 or a status from status.h:
  // kCannotOpen (the main text cannot be read), kConfigSyntax, kConfigInclude.
  int rap_Create(const char* file, int flags, const char* data, void* reserved, int dataLength,
                 void* reserved2);

  // The message of the last failure when `code` is its status, otherwise a
  // general text for the code. Valid until the next call on this reader.
  const char* ErrorString(int code);

  // The top-level class of that name (ASCII case ignored), or null.
  rap_entry* rap_get_class(const char* name);
  // The unnamed class holding the top-level entries, or null without a tree.
  rap_entry* rap_get_root();

  // Bounds for the next reads (the defaults suit real libraries).
  void SetLimits(const ConfigLimits& limits) { limits_ = limits; }

 private:
  ConfigLimits limits_;
  std::unique_ptr<ConfigTree> tree_;
  int lastStatus_ = 0;
  std::string lastError_;
  std::string answer_;
};
