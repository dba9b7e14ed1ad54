#include "driver/program_entry.h"
#include "driver/run_state.h"
#include "system/ordered_output.h"

int main(int argc, char** argv) {
  flushOutputBeforeErrors();
  return runProgram(argc, argv, {toolkit.dll_GetVersion(), toolkit.dll_GetVersionStr()});
}
