// Zeroed memory straight from the system, for large tables: a block of 2 MB
// or more is aligned to 2 MB and asks for huge pages, so that a table of
// millions of entries read in random order costs few address translations.
// Untouched parts take no memory.
#pragma once

#include <cstddef>

// Returns `bytes` of zeroed memory; throws std::bad_alloc when there is none.
void* mapZeroed(std::size_t bytes);
// Gives back memory from mapZeroed() of the same size.
void unmapZeroed(void* memory, std::size_t bytes);
