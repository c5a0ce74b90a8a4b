#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

// How far a run is.
struct ProgressState {
  enum class Phase { working, stopping, finishing };

  std::uint64_t done_dirs = 0;
  std::optional<std::uint64_t> total_dirs;
  std::uint64_t failed_dirs = 0;
  std::string findings;  // the task's text; may be empty
  std::chrono::duration<double> time{0};
  Phase phase = Phase::working;
};

// The state on one line, without line end: "1234 of 20000 directories, 3 min 35 s left, 87.3/s, 2
// failed, 3 collisions". Leaves out what is unknown.
std::string progress_text(const ProgressState& state);

// The same while the task lists images and visits no directories: "123456 images, 2 failed, 3 collisions".
std::string listing_progress_text(const ProgressState& state, std::uint64_t images);
