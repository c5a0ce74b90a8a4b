#include "tool/run_end.h"
#include "undo/commands.h"

int main(int argc, char** argv) {
  return run_to_the_end([&] { return undo::run(argc, argv); });
}
