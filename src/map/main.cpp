#include <cstdio>
#include <new>

#include "map_program.h"

int main(int argc, char** argv) {
  try {
    return runMap(argc, argv);
  } catch (const std::bad_alloc&) {
    std::fputs("vorlan-map: not enough memory for the picture\n", stderr);
    return 1;
  }
}
