// Bounds that keep the config reader finite on any input. The defaults fit
// hand-edited template libraries of any sensible size; tests and fuzzing
// lower them to reach each bound quickly.
#pragma once

#include <cstddef>

struct ConfigLimits {
  std::size_t maxFileBytes = std::size_t{256} << 20;   // one file or buffer
  std::size_t maxTotalBytes = std::size_t{512} << 20;  // all files read, includes counted each time
  int maxIncludeDepth = 32;                            // files open at once
  int maxNesting = 256;                                // classes and arrays inside each other
  std::size_t maxExpansionTokens = std::size_t{8} << 20;  // made by all macro expansions together
  std::size_t maxExpansionLength = std::size_t{1} << 20;  // one expansion or one argument
  int maxMacroDepth = 200;                             // macro calls nested in arguments
  // Entries of the tree (classes, properties, arrays, elements). Each one
  // read costs at least a token, but "name[] += {...}" in a class whose base
  // has that array copies the base's elements: without this bound a few
  // hundred kilobytes of text could ask for gigabytes of copies.
  std::size_t maxEntries = std::size_t{1} << 22;
};
