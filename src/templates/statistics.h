// The statistics report printed for every project that is opened, and the
// template listing (-LT).
#pragma once

#include <cstdint>

#include "project/vorlan.h"

// Counters of the last statistics report, kept for the driver to read.
struct StatisticsCounters {
  std::uint32_t objectSlots = 0;    // all object records, deleted ones included
  std::uint32_t usedObjects = 0;    // valid objects
  std::uint32_t missing = 0;        // valid objects whose template is missing
  std::uint32_t templates = 0;
  std::uint32_t usedTemplates = 0;  // templates some object refers to
  std::uint32_t duplicated = 0;     // ordered pairs of templates sharing a model file
};

extern StatisticsCounters statistics;

// Prints the report through `sink`; always returns 0.
int showStatistics(Vorlan& project, MessageSink sink);
// Prints one line per template to standard output; always returns 0.
int listTemplates(Vorlan& project, int separator);
