#include "driver/program_entry.h"
#include "driver/run_state.h"

int main(int argc, char** argv) {
  return runProgram(argc, argv, {toolkit.dll_GetVersion(), toolkit.dll_GetVersionStr()});
}
