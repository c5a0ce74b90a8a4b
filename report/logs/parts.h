#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <string_view>

#include "report/logs/log_files.h"

namespace report::logs {

// Whether a run begins to write to its log of this kind with the line. Never true of collision logs,
// which begin without a word.
bool begins_part(Kind kind, std::string_view line);

// A reader for each run that wrote to a set of logs. Names of logs carry the second in which they were
// made, so that runs of one second append to the same ones, each behind the one before.
//
// Threads: one thread.
template <class Reader>
class Parts {
 public:
  // The reader of the run that wrote the next line of the log of this kind.
  Reader& reader_for(Kind kind, std::string_view line) {
    std::size_t& begun = m_begun[kind];
    if (begins_part(kind, line)) ++begun;
    const std::size_t part = std::min(std::max<std::size_t>(begun, 1), k_most_parts) - 1;
    if (m_readers.size() <= part) m_readers.resize(part + 1);
    return m_readers[part];
  }

  // The reader of the last run, for a log of which nobody can tell where one begins.
  Reader& last() {
    if (m_readers.empty()) m_readers.resize(1);
    return m_readers.back();
  }

  // In the order in which the runs wrote.
  std::deque<Reader>& all() { return m_readers; }

 private:
  // No more runs than that fit into a second; in what else looks like more, they count as one.
  static constexpr std::size_t k_most_parts = 64;

  std::deque<Reader> m_readers;
  std::map<Kind, std::size_t> m_begun;
};

}  // namespace report::logs
