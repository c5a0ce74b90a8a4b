#include "report/collect.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string_view>
#include <utility>

#include "report/logs/case_readers.h"
#include "report/logs/consistency_reader.h"
#include "report/logs/line_reader.h"
#include "report/logs/log_files.h"
#include "report/logs/run_log_reader.h"

namespace report {

namespace {

using logs::Kind;
using logs::LogFile;

// The logs of one run. Their names carry the second in which each was made.
struct LogSet {
  Task task = Task::unknown;  // Task::consistency until a run or a log tells more
  std::int64_t time = 0;
  std::vector<LogFile> files;
  std::optional<Run> run;

  bool has(Kind kind) const {
    return std::any_of(files.begin(), files.end(),
                       [&](const LogFile& file) { return file.kind == kind; });
  }
  bool was_named() const {
    return std::any_of(files.begin(), files.end(),
                       [](const LogFile& file) { return file.was_named; });
  }
};

Task task_of(Kind kind) {
  switch (kind) {
    case Kind::run_log:
      break;
    case Kind::scan:
      return Task::scan;
    case Kind::repair:
    case Kind::collisions:
      return Task::repair;
    case Kind::orphans:
    case Kind::missing:
    case Kind::policy_dirs:
      return Task::consistency;
  }
  return Task::unknown;
}

bool is_of(const Run& run, Task task) {
  if (task != Task::consistency) return run.task == task;
  return run.task == Task::dry_run || run.task == Task::deletion;
}

// `runs` are newest first. One whose end was logged made no logs after it.
std::optional<Run> find_run(const std::vector<Run>& runs, const LogSet& set) {
  const auto run = std::find_if(runs.begin(), runs.end(), [&](const Run& candidate) {
    return is_of(candidate, set.task) && candidate.start_time <= set.time;
  });
  if (run == runs.end() || (run->exit_status && run->end_time < set.time)) return std::nullopt;
  return *run;
}

// Newest first. `files` are in the order of time; the logs of a run are made within moments.
std::vector<LogSet> group(const std::vector<LogFile>& files, const std::vector<Run>& runs) {
  constexpr std::int64_t k_moments_seconds = 2;
  std::vector<LogSet> sets;
  for (const LogFile& file : files) {
    if (file.kind == Kind::run_log) continue;
    const auto set = std::find_if(sets.rbegin(), sets.rend(), [&](const LogSet& candidate) {
      return candidate.task == task_of(file.kind) && !candidate.has(file.kind) &&
             file.time - candidate.time <= k_moments_seconds;
    });
    if (set != sets.rend()) {
      set->files.push_back(file);
    } else {
      sets.push_back({task_of(file.kind), file.time, {file}, std::nullopt});
    }
  }
  for (LogSet& set : sets) {
    set.run = find_run(runs, set);
    if (set.run) set.task = set.run->task;
  }
  std::reverse(sets.begin(), sets.end());
  return sets;
}

class Collector {
 public:
  explicit Collector(const std::vector<std::string>& paths)
      : m_files(logs::find_logs(paths, m_report.files)) {}

  Report collect() {
    read_run_logs();
    std::set<Task> shown;
    for (const LogSet& set : group(m_files, m_report.runs)) {
      if (shown.insert(set.task).second || set.was_named()) {
        read(set);
      } else {
        m_report.files_not_read += set.files.size();
      }
    }
    return std::move(m_report);
  }

 private:
  using Take = std::function<bool(std::string_view)>;

  void read_run_logs() {
    logs::RunLogReader reader;
    read(m_files, Kind::run_log, [&](std::string_view line) { return reader.take(line); });
    m_report.runs = reader.finish(m_report.runs_left_out);
  }

  void read(const LogSet& set) {
    switch (set.task) {
      case Task::scan:
        return read_scan(set);
      case Task::repair:
        return read_repair(set);
      default:
        return read_consistency(set);
    }
  }

  void read_scan(const LogSet& set) {
    logs::ScanReader reader;
    read(set.files, Kind::scan, [&](std::string_view line) { return reader.take(line); });
    reader.finish(add_details(m_report.scans, set));
  }

  void read_repair(const LogSet& set) {
    logs::RepairReader reader;
    read(set.files, Kind::repair, [&](std::string_view line) { return reader.take(line); });
    read(set.files, Kind::collisions,
         [&](std::string_view line) { return reader.take_collision(line); });
    reader.finish(add_details(m_report.repairs, set));
  }

  void read_consistency(const LogSet& set) {
    logs::ConsistencyReader reader;
    read(set.files, Kind::orphans,
         [&](std::string_view line) { return reader.take_orphan_line(line); });
    read(set.files, Kind::missing,
         [&](std::string_view line) { return reader.take_missing_line(line); });
    read(set.files, Kind::policy_dirs,
         [&](std::string_view line) { return reader.take_policy_dir_line(line); });
    reader.finish(add_details(m_report.consistency, set));
  }

  void read(const std::vector<LogFile>& files, Kind kind, const Take& take) {
    for (const LogFile& file : files) {
      if (file.kind == kind) m_report.files.push_back(logs::for_each_line(file.path, take));
    }
  }

  template <class D>
  static D& add_details(std::vector<D>& all, const LogSet& set) {
    D& details = all.emplace_back();
    details.task = set.task;
    details.time = set.time;
    details.run = set.run;
    for (const LogFile& file : set.files) details.files.push_back(file.path);
    return details;
  }

  Report m_report;
  const std::vector<LogFile> m_files;
};

}  // namespace

Report collect(const std::vector<std::string>& paths) {
  return Collector(paths).collect();
}

}  // namespace report
