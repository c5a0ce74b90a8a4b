#include "tool/run_program.h"
#include "undo/commands.h"

int main(int argc, char** argv) {
  return run_program([&] { return undo::run(argc, argv); });
}
