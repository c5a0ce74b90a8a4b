#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace catalog {

// A step of a task that has several.
struct TaskStep {
  std::string name;
  std::chrono::steady_clock::time_point start;
  std::optional<std::uint64_t> dirs;    // to visit, if known
  std::optional<std::uint64_t> images;  // listed so far, in a step that visits no directories
};

}  // namespace catalog
