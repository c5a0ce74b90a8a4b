#include "report/logs/run_log_reader.h"

#include <time.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "report/logs/scanner.h"

namespace report::logs {

namespace {

constexpr std::size_t k_most_runs = 1000;
// Runs that were killed never end; more than this many do not run at a time.
constexpr std::size_t k_most_open_runs = 16;

std::int64_t seconds_of_local(const std::string& time) {
  struct tm parts {};
  if (::strptime(time.c_str(), "%Y-%m-%d %H:%M:%S", &parts) == nullptr) return 0;
  parts.tm_isdst = -1;
  return ::mktime(&parts);
}

void read_summary(std::string_view text, Run& run) {
  Summary s;
  Scanner scan(text);
  scan.skip("policy directories ").number(s.dirs).skip(", failed ").number(s.failed_dirs);
  scan.skip(", POs ").number(s.pos).skip(", copies ").number(s.copies);
  scan.skip(", orphan copies ").number(s.orphan_copies);
  scan.skip(", missing copies ").number(s.missing_copies);
  scan.skip(", POs taken ").number(s.taken_pos);
  scan.skip(", of other copies ").number(s.other_copies_pos);
  scan.skip(", POs moved ").number(s.moved_pos).skip(", collisions ").number(s.collisions);
  scan.skip(", seconds ");
  if (!scan || scan.rest().find_first_not_of("0123456789.") != std::string_view::npos) return;
  s.seconds = scan.rest();
  run.summary = s;
}

// Views show it as it stands.
bool is_time(std::string_view text) {
  constexpr std::string_view k_form = "0000-00-00 00:00:00.000";
  return std::equal(text.begin(), text.end(), k_form.begin(), k_form.end(), [](char c, char form) {
    return form == '0' ? c >= '0' && c <= '9' : c == form;
  });
}

Task task_of(std::string_view mode) {
  if (mode == "client name case scan") return Task::scan;
  if (mode == "client name case repair") return Task::repair;
  if (mode == "metadata consistency, dry run") return Task::dry_run;
  if (mode == "metadata consistency, deletion") return Task::deletion;
  return Task::unknown;
}

void read_info(std::string_view text, Run& run) {
  std::uint64_t status = 0;
  if (take_prefix(text, "mode: ")) {
    run.task = task_of(text);
  } else if (take_prefix(text, "summary: ")) {
    read_summary(text, run);
  } else if (take_prefix(text, "progress: ")) {
    run.progress = shortened(text);
  } else if (take_prefix(text, "moved the catalog from ")) {
    constexpr std::string_view k_to = " to /";  // no name holds a slash
    const std::size_t at = text.rfind(k_to);
    if (at == std::string_view::npos) return;
    const std::string_view to = text.substr(at + k_to.size() - 1);
    run.catalog_aside = ends_with(to, "/zelp-database-caseconv") ? shortened(to) : "";
  } else if (text == "the run was interrupted by a signal") {
    run.interrupted = true;
  } else if (Scanner(text).skip("end: exit status ").number(status).end() && status <= 255) {
    run.exit_status = static_cast<int>(status);
  }
}

}  // namespace

// One line: time, level, process, thread and text.
struct RunLogReader::Entry {
  std::string_view time;
  std::string_view level;
  std::string_view text;
  std::uint64_t pid = 0;

  bool parse(std::string_view line) {
    constexpr std::size_t k_time_length = 23;
    std::uint64_t thread = 0;
    time = line.substr(0, k_time_length);
    Scanner scan(line.substr(time.size()));
    scan.skip(" ").up_to(" ", level).skip("pid=").number(pid).skip(" thread=").number(thread);
    scan.skip(" ");
    text = scan.rest();
    return static_cast<bool>(scan) && is_time(time) &&
           (level == "info" || level == "warning" || level == "error");
  }
};

bool RunLogReader::take(std::string_view line) {
  constexpr std::size_t k_most_notes = 10;
  Entry entry;
  if (!entry.parse(line)) return false;
  std::string_view rest = entry.text;
  const bool is_start = take_prefix(rest, "start: ");
  Run& run = run_of(entry, is_start);
  run.end = entry.time;
  if (is_start) {
    std::string_view pid;
    if (Scanner scan(rest); scan.up_to(", arguments", pid)) rest = scan.rest();
    (void)take_prefix(rest, " ");
    run.arguments = shortened(rest);
  } else if (entry.level == "warning") {
    if (rest.find("newer than this host's clock") != std::string_view::npos) {
      run.clock_warning = shortened(entry.text);
    }
    // There may be one for each directory; those of the whole run are not to be lost behind them.
    if (rest.find("none of the copies in /") != std::string_view::npos) {
      run.warnings.add(shortened(entry.text), k_most_notes);
    } else {
      run.warnings.add_in_front(shortened(entry.text), k_most_notes);
    }
  } else if (entry.level == "error") {
    run.errors.add(shortened(entry.text), k_most_notes);
  } else {
    read_info(entry.text, run);
  }
  if (run.exit_status) {
    close(std::find_if(m_open.begin(), m_open.end(), [&](Run& open) { return &open == &run; }));
  }
  return true;
}

// A process id that comes up again without a start is the run's that has it; with one, the earlier
// run has ended without saying so.
Run& RunLogReader::run_of(const Entry& entry, bool is_start) {
  const auto known = std::find_if(m_open.begin(), m_open.end(),
                                  [&](const Run& run) { return run.pid == entry.pid; });
  if (known != m_open.end() && !is_start) return *known;
  if (known != m_open.end()) close(known);
  if (m_open.size() == k_most_open_runs) close(m_open.begin());
  Run run;
  run.start = entry.time;
  run.pid = entry.pid;
  return *m_open.insert(m_open.end(), std::move(run));
}

void RunLogReader::close(std::list<Run>::iterator run) {
  m_closed.splice(m_closed.end(), m_open, run);
  if (m_closed.size() <= k_most_runs) return;
  m_closed.pop_front();
  ++m_left_out;
}

std::vector<Run> RunLogReader::finish(std::uint64_t& left_out) {
  while (!m_open.empty()) close(m_open.begin());
  std::vector<Run> runs(std::make_move_iterator(m_closed.rbegin()),
                        std::make_move_iterator(m_closed.rend()));
  // Logs are written in the order of time, save for two runs that take turns.
  std::stable_sort(runs.begin(), runs.end(),
                   [](const Run& a, const Run& b) { return a.start > b.start; });
  for (Run& run : runs) {
    run.start_time = seconds_of_local(run.start);
    run.end_time = seconds_of_local(run.end);
  }
  left_out = m_left_out;
  return runs;
}

}  // namespace report::logs
