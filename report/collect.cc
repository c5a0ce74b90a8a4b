#include "report/collect.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "report/logs/case_readers.h"
#include "report/logs/consistency_reader.h"
#include "report/logs/line_reader.h"
#include "report/logs/log_files.h"
#include "report/logs/parts.h"
#include "report/logs/run_log_reader.h"
#include "report/wording.h"

namespace report {

namespace {

using logs::Kind;
using logs::LogFile;

// The logs of one run, or of several that began in one second: their names carry no more than that.
struct LogSet {
  Task task = Task::unknown;  // Task::consistency stands for dry runs and deletions
  std::int64_t time = 0;
  std::vector<LogFile> files;

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

// Newest first. `files` are in the order of time; the logs of a run are made within moments.
std::vector<LogSet> group(const std::vector<LogFile>& files) {
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
      sets.push_back({task_of(file.kind), file.time, {file}});
    }
  }
  std::reverse(sets.begin(), sets.end());
  return sets;
}

class Collector {
 public:
  // All of one log directory.
  explicit Collector(std::vector<LogFile> files) : m_files(std::move(files)) {}

  Report collect() {
    read_run_logs();
    for (const LogSet& set : group(m_files)) {
      m_writers = writers_of(set);
      if (set.was_named() || has_news(set)) {
        read(set);
      } else {
        m_report.files_not_read += set.files.size();
        (void)take_writer(set.task);
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

  // The runs that may have written the logs, newest first: of the task, begun by then, and without
  // logs yet. One whose end was logged made no logs after it; of those without an end, the newest may
  // have made them. One that was refused made none.
  std::vector<std::size_t> writers_of(const LogSet& set) const {
    std::vector<std::size_t> writers;
    for (std::size_t i = 0; i < m_report.runs.size(); ++i) {
      const Run& run = m_report.runs[i];
      if (m_with_logs.count(i) != 0 || !is_of(run, set.task) || run.start_time > set.time) continue;
      const bool had_ended = run.end_time < set.time;
      const bool may_be_open = !run.exit_status && writers.empty();
      if (had_ended && !may_be_open) break;
      if (run.summary || !run.exit_status) writers.push_back(i);
      if (had_ended) break;
    }
    return writers;
  }

  // The newest run that may have written what is of this task; null where the run log does not tell.
  const Run* take_writer(Task task) {
    const auto writer =
        std::find_if(m_writers.begin(), m_writers.end(), [&](std::size_t candidate) {
          return task == Task::consistency || m_report.runs[candidate].task == task;
        });
    if (writer == m_writers.end()) return nullptr;
    const Run& run = m_report.runs[*writer];
    m_with_logs.insert(*writer);
    m_writers.erase(m_writers.begin(), writer + 1);
    return &run;
  }

  // A run of the same task that made no logs, and one that changed what this one saw, be it that it
  // was killed or still goes on.
  void add_later_runs(const Run* run, Details& details) const {
    for (const Run* later = run; later != m_report.runs.data();) {
      --later;
      const bool began = later->summary || !later->exit_status;
      const bool changed = later->task == Task::repair || later->task == Task::deletion;
      if (later->task == run->task && !later->summary && later->exit_status) {
        details.later_runs.push_back(
            "a later one was refused or aborted: " + title_of(*later) +
            (later->errors.first.empty() ? "" : ", " + later->errors.first[0]));
      } else if (changed && began && run->task != Task::deletion && run->task != Task::repair) {
        details.later_runs.push_back("this is how it was before a later run: " + title_of(*later));
      }
      constexpr std::size_t k_most = 3;
      if (details.later_runs.size() == k_most) return;
    }
  }

  bool has_news(const LogSet& set) const {
    if (m_writers.empty()) return m_shown.count(set.task) == 0;
    return std::any_of(m_writers.begin(), m_writers.end(), [&](std::size_t writer) {
      return m_shown.count(m_report.runs[writer].task) == 0;
    });
  }

  void read(const LogSet& set) {
    switch (set.task) {
      case Task::scan:
        return read_scans(set);
      case Task::repair:
        return read_repairs(set);
      default:
        return read_consistency(set);
    }
  }

  void read_scans(const LogSet& set) {
    logs::Parts<logs::ScanReader> parts;
    read(set.files, Kind::scan,
         [&](std::string_view line) { return parts.reader_for(Kind::scan, line).take(line); });
    show(parts, set, m_report.scans);
  }

  void read_repairs(const LogSet& set) {
    logs::Parts<logs::RepairReader> parts;
    read(set.files, Kind::repair,
         [&](std::string_view line) { return parts.reader_for(Kind::repair, line).take(line); });
    read(set.files, Kind::collisions,
         [&](std::string_view line) { return parts.last().take_collision(line); });
    show(parts, set, m_report.repairs);
  }

  void read_consistency(const LogSet& set) {
    logs::Parts<logs::ConsistencyReader> parts;
    read(set.files, Kind::orphans, [&](std::string_view line) {
      return parts.reader_for(Kind::orphans, line).take_orphan_line(line);
    });
    read(set.files, Kind::missing, [&](std::string_view line) {
      return parts.reader_for(Kind::missing, line).take_missing_line(line);
    });
    read(set.files, Kind::policy_dirs, [&](std::string_view line) {
      return parts.reader_for(Kind::policy_dirs, line).take_policy_dir_line(line);
    });
    const std::size_t known = m_report.consistency.size();
    show(parts, set, m_report.consistency);
    for (std::size_t i = known; i < m_report.consistency.size(); ++i) {
      m_report.consistency[i].orphans_were_read = set.has(Kind::orphans);
      m_report.consistency[i].missing_were_read = set.has(Kind::missing);
    }
  }

  void read(const std::vector<LogFile>& files, Kind kind, const Take& take) {
    for (const LogFile& file : files) {
      if (file.kind == kind) m_report.files.push_back(logs::for_each_line(file.path, take));
    }
  }

  // Newest first: the last part is the newest run's.
  template <class Reader, class D>
  void show(logs::Parts<Reader>& parts, const LogSet& set, std::vector<D>& all) {
    (void)parts.last();  // an empty log is one that found nothing
    for (auto reader = parts.all().rbegin(); reader != parts.all().rend(); ++reader) {
      D details;
      details.task = set.task;
      details.time = set.time;
      reader->finish(details);  // lines that tell a dry run from a deletion set the task
      if (const Run* run = take_writer(details.task); run != nullptr) {
        details.run = *run;
        details.task = run->task;
        add_later_runs(run, details);
      }
      for (const LogFile& file : set.files) details.files.push_back(file.path);
      if (m_shown.insert(details.task).second || set.was_named()) all.push_back(std::move(details));
    }
  }

  std::set<Task> m_shown;
  std::set<std::size_t> m_with_logs;   // runs whose logs are known
  std::vector<std::size_t> m_writers;  // of the set at hand
  Report m_report;
  const std::vector<LogFile> m_files;
};

template <class T, class Newer>
void merge(std::vector<T> more, std::vector<T>& all, Newer newer) {
  std::move(more.begin(), more.end(), std::back_inserter(all));
  std::stable_sort(all.begin(), all.end(), newer);
}

void add(Report more, Report& all) {
  const auto later = [](const Details& a, const Details& b) { return a.time > b.time; };
  merge(std::move(more.runs), all.runs,
        [](const Run& a, const Run& b) { return a.start > b.start; });
  merge(std::move(more.consistency), all.consistency, later);
  merge(std::move(more.scans), all.scans, later);
  merge(std::move(more.repairs), all.repairs, later);
  std::move(more.files.begin(), more.files.end(), std::back_inserter(all.files));
  all.runs_left_out += more.runs_left_out;
  all.files_not_read += more.files_not_read;
}

}  // namespace

Report collect(const std::vector<std::string>& paths) {
  Report report;
  std::map<std::string, std::vector<LogFile>> of_dirs;
  for (const LogFile& file : logs::find_logs(paths, report.files)) {
    of_dirs[file.log_dir].push_back(file);
  }
  for (auto& [dir, files] : of_dirs) add(Collector(std::move(files)).collect(), report);
  return report;
}

}  // namespace report
