#include <cstdio>

int main() {
  std::fprintf(stderr, "vorlan: the command-line driver is not built yet\n");
  return 1;
}
