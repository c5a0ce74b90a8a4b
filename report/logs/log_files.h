#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "report/model.h"

namespace report::logs {

enum class Kind { run_log, scan, repair, collisions, orphans, missing, policy_dirs };

// A log, by its name.
struct LogFile {
  Kind kind = Kind::run_log;
  std::string path;
  std::string log_dir;     // that it belongs to, be it in a directory below
  std::int64_t time = 0;   // that the name carries; 0 for run logs
  bool was_named = false;  // itself, not by a directory that it was found in
};

// The logs at the paths, each once: files by their names, and in a directory those that stand in it
// or in the two directories that runs make below it. In ascending order of time; run logs in the
// order in which they were written. What is no log of a run, or cannot be looked at, is noted in
// `unread`.
std::vector<LogFile> find_logs(const std::vector<std::string>& paths,
                               std::vector<SourceFile>& unread);

}  // namespace report::logs
