#include "tool/main_impl.h"
#include "tool/run_program.h"

int main(int argc, char** argv) {
  return run_program([&] { return main_impl(argc, argv); });
}
