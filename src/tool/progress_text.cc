#include "tool/progress_text.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <boost/format.hpp>

namespace {

constexpr std::uint64_t k_minute_seconds = 60;
constexpr std::uint64_t k_hour_seconds = 3600;

using Phase = ProgressState::Phase;

// Directories may have appeared or vanished since they were counted.
std::string dirs_text(const ProgressState& state) {
  std::string text = std::to_string(state.done_dirs);
  if (state.phase == Phase::finishing) {
    text += " of " + text;
  } else if (state.total_dirs) {
    text += " of " + std::to_string(std::max(*state.total_dirs, state.done_dirs));
  }
  return text + " directories";
}

std::string with_one_decimal(double number) {
  constexpr double k_base = 10;
  return (boost::format("%.1f") % (std::round(number * k_base) / k_base)).str();
}

// Per second; or per minute or hour if it is less than one in the shorter time.
std::string rate_text(double dirs_a_second) {
  constexpr std::pair<const char*, double> k_units[] = {
      {"s", 1}, {"min", k_minute_seconds}, {"h", k_hour_seconds}};
  std::string text;
  for (const auto& [name, seconds] : k_units) {
    const double rate = dirs_a_second * seconds;
    text = with_one_decimal(rate) + "/" + name;
    if (rate >= 1) break;
  }
  return text;
}

std::string time_text(std::uint64_t seconds) {
  const std::uint64_t minutes = seconds / k_minute_seconds;
  const std::uint64_t hours = seconds / k_hour_seconds;
  if (hours != 0) {
    return std::to_string(hours) + " h " + std::to_string(minutes % k_minute_seconds) + " min";
  }
  const std::string rest = std::to_string(seconds % k_minute_seconds) + " s";
  return minutes == 0 ? rest : std::to_string(minutes) + " min " + rest;
}

std::string found_text(const ProgressState& state) {
  const std::string text = ", " + std::to_string(state.failed_dirs) + " failed";
  return state.findings.empty() ? text : text + ", " + state.findings;
}

}  // namespace

// A narrow terminal cuts the end of the line, so the most important parts come first.
std::string progress_text(const ProgressState& state) {
  const auto done = static_cast<double>(state.done_dirs);
  const double seconds = state.time.count();
  const bool has_rate = done > 0 && seconds > 0;
  std::string text = dirs_text(state);
  if (state.phase == Phase::stopping) {
    text += ", stopping";
  } else if (state.phase == Phase::finishing) {
    text += ", all directories done, finishing";
  } else if (has_rate && state.total_dirs && *state.total_dirs > state.done_dirs) {
    const auto left = static_cast<double>(*state.total_dirs - state.done_dirs);
    text +=
        ", " + time_text(static_cast<std::uint64_t>(std::ceil(left * seconds / done))) + " left";
  }
  if (has_rate) text += ", " + rate_text(done / seconds);
  return text + found_text(state);
}

std::string listing_progress_text(const ProgressState& state, std::uint64_t images) {
  return std::to_string(images) + " images" + (state.phase == Phase::stopping ? ", stopping" : "") +
         found_text(state);
}
