#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "report/model.h"

namespace report::fleet {

// What a host needs, the most urgent first.
enum class State {
  catalog_aside,
  not_reached,
  no_report,
  check_failed,
  no_recent_check,
  concerns,
  case_issues,
  orphans,
  clean,
};

// In words.
const char* name_of(State state);
// Whether somebody has to look at such a host.
bool needs_attention(State state);

// Whether a host could be asked, from the file that the playbook writes.
struct Reached {
  std::string state;  // "checked", "failed" or "unreachable"
  std::string text;
  std::optional<std::int64_t> time = {};
};

// The newest attempt of a task, and the newest run that looked at the storage.
struct TaskRuns {
  Value attempt = unknown();  // both are runs as in a report, or null
  Value run = unknown();
  Value listed = unknown();  // the counts of the run's record
  Texts concerns;            // about the run
  Table findings;            // orphans or clients, the first rows
  Table failed_dirs;

  // The end of the newest attempt, if that ended well.
  std::optional<std::int64_t> good_end() const;
};

// What a host's report says. Texts are what the host wrote.
struct HostReport {
  Value newest = unknown();   // of all runs
  Value changed = unknown();  // the newest run that changed the storage
  bool repaired = false;      // after the newest scan
  TaskRuns scan;
  TaskRuns dry_run;
  std::optional<std::int64_t> time;  // of the report
  std::optional<bool> catalog_aside;
  std::optional<bool> stale_lock;
  std::string lacks;  // what could not be read on the host
};

// Whether the object is of the playbook.
bool is_of_playbook(const Value& object);
// Errors: std::runtime_error if the object is something else, or of a version that is unknown.
HostReport host_report(const Value& object);
Reached reached(const Value& object);

// A host with all that is known of it.
struct Host {
  std::string name;        // of its files
  std::string file;        // the path of its report
  std::string state_file;  // the path of the playbook's file
  std::optional<HostReport> report;
  std::optional<Reached> reached;
  std::string fault;          // why its report cannot be read
  std::string reached_fault;  // why the file of the playbook cannot be read
  // Made of the above:
  State state = State::clean;
  Texts reasons = {};  // for this state and for graver ones
};

// Sets state and reasons. `now` is in seconds since the epoch.
void judge(Host& host, std::int64_t now);

// The host's row in the table of all, with a link to `section`.
Row row_of(const Host& host, const std::string& section);

// The host's details.
Section section_of(const Host& host, const std::string& id);

}  // namespace report::fleet
