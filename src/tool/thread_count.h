#pragma once

#include <cstdint>

// In a repair: source, reader and target, two journals, and a directory that is being synced.
constexpr std::uint64_t k_descriptors_of_worker = 6;

// The number of worker threads: --num_threads, or fewer if the limit of open files requires it. Fewer
// are a warning in the run log.
unsigned thread_count(std::uint64_t descriptors_of_worker = k_descriptors_of_worker);
