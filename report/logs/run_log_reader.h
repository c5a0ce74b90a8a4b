#pragma once

#include <list>
#include <string_view>
#include <vector>

#include "report/model.h"

namespace report::logs {

// Puts the runs together from the lines of one or more run logs. The processes of several runs may
// take turns in a log, since one log directory can serve two storages.
//
// Threads: one thread.
class RunLogReader {
 public:
  // False for a line that is none of a run log.
  bool take(std::string_view line);

  // All runs, newest first, and how many older ones were left out. To be called once, last.
  std::vector<Run> finish(std::uint64_t& left_out);

 private:
  struct Entry;

  Run& run_of(const Entry& entry, bool is_start);
  void close(std::list<Run>::iterator run);

  std::list<Run> m_open;  // without an end yet, oldest first
  std::list<Run> m_closed;
  std::uint64_t m_left_out = 0;
};

}  // namespace report::logs
