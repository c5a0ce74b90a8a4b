#pragma once

#include <vector>

namespace sandbox {

// One simulated command of the backup product.
struct Command {
  const char* path;  // below the product's install location
  const char* text;  // of the shell script
};

// All of them. CMake compiles in the scripts of sandbox/commands/.
const std::vector<Command>& commands();

}  // namespace sandbox
