#include "tool/main_impl.h"
#include "tool/run_end.h"

int main(int argc, char** argv) {
  return run_to_the_end([&] { return main_impl(argc, argv); });
}
