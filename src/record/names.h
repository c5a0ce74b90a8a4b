#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "record/findings.h"

// How records name the values of enumerations, in their order.
namespace record {

template <class Enum, std::size_t N>
struct Names {
  std::array<const char*, N> all;
};

inline constexpr Names<Task, 6> k_task_names{
    {"none", "scan", "repair", "dry_run", "deletion", "restore"}};
inline constexpr Names<Undo, 4> k_undo_names{{"none", "saved", "off", "forgotten"}};
inline constexpr Names<Ending, 4> k_ending_names{{"none", "orderly", "signal", "exception"}};
inline constexpr Names<Severity, 2> k_severity_names{{"warning", "error"}};

// States of directories.
inline constexpr std::string_view k_done = "done";
inline constexpr std::string_view k_failed = "failed";

template <class Enum, std::size_t N>
std::string name_of(const Names<Enum, N>& names, Enum value) {
  return names.all[static_cast<std::size_t>(value)];
}

// An unknown name gives the first value.
template <class Enum, std::size_t N>
Enum value_of(const Names<Enum, N>& names, std::string_view name) {
  for (std::size_t i = 0; i < N; ++i) {
    if (name == names.all[i]) return static_cast<Enum>(i);
  }
  return Enum();
}

}  // namespace record
