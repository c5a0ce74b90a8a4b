#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace catalog {

// One of the steps of a task that takes several.
struct TaskStep {
  std::string name;
  std::chrono::steady_clock::time_point start;
  std::optional<std::uint64_t> dirs;    // to visit, where that is known
  std::optional<std::uint64_t> images;  // listed until now, in a step that visits no directories
};

}  // namespace catalog
