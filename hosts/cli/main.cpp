// The entry point of the program `trovex`.

#include "hosts/cli/program.h"

int main(int argc, char** argv) {
  return trovex::cli::RunProgram(argc, argv);
}
