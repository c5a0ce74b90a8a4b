#pragma once

#include <cstdint>

// In a repair: source, reader and target, two journals, and a directory that is synced.
constexpr std::uint64_t k_descriptors_of_worker = 6;

// The worker threads to use: as many as were asked for, or as the limit of open files carries. Fewer
// are a warning in the run log.
unsigned thread_count(std::uint64_t descriptors_of_worker = k_descriptors_of_worker);
