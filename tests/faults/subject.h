#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "files/storage_layout.h"
#include "record/findings.h"
#include "sandbox/child.h"
#include "sandbox/storage_builder.h"

namespace sandbox::faults {

// The options of mdfixup-faults.
struct Settings {
  std::string program;
  std::string undo;                 // the undo program of the same build
  std::vector<std::string> faults;  // names; empty means all, also for tasks
  std::vector<std::string> tasks;
  std::string calls;    // system calls, as strace names them; empty means those of the fault
  std::string at;       // one point, "call:n"; empty means all
  unsigned points = 0;  // the number of points to draw; 0 means all, and one signal
  unsigned seed = 1;
  unsigned scale = 1;
  unsigned threads = 1;
};

// What a task does to the metadata. It decides what a run with a fault may leave.
enum class Effect { none, moves, deletes, restores };

// A task of the program.
struct Task {
  std::string name;
  std::vector<std::string> arguments;
  Effect effect = Effect::none;
  int failed_exit_status = 1;
  bool resumed = false;   // continues a run that was killed half-way
  bool services = false;  // the simulated services run when it starts
  // Arguments of an earlier run, which the task undoes, or which approved what it deletes.
  std::vector<std::string> earlier = {};
};

// Scan, dry run, deletion, repair, a resumed repair, a repair that stops the services, deletions that a
// dry run approved, and the undoing of a deletion and of a repair, also resumed.
const std::vector<Task>& all_tasks();

using Lines = std::multiset<std::string>;

// The POs of a storage in the form of list_pos, and its file names without logs, lock and product.
struct State {
  Lines pos;
  Lines files;
};

// The output of a run, without lines that name a log: those names contain the time.
struct Reports {
  Lines out;
  Lines task_logs;
  Lines run_log;
  Lines err;
};

constexpr int k_all_services = 3;

// A longer run hangs.
constexpr int k_longest_run_seconds = 100;

// A storage on which one task runs again and again, each time from the same initial state.
//
// Threads: one thread.
// Ownership: refers to the settings and the task, which must outlive it.
// Errors: Cr_ErrnoException, filesystem_error or system_error, if the storage cannot be made,
//   restored or read.
class Subject {
 public:
  // Makes the storage in the empty directory `dir`. A task with services needs a writable /var/run
  // without their pid files.
  Subject(const boost::filesystem::path& dir, const Settings& settings, const Task& task);
  ~Subject();
  Subject(const Subject&) = delete;
  Subject& operator=(const Subject&) = delete;

  // Restores the initial state, and starts the services of a task that has some.
  void restore() const;

  // Starts the program with the task's arguments. `prefix` precedes the command.
  std::unique_ptr<Child> start(const std::vector<std::string>& prefix) const;

  // Starts it and waits for its end.
  Ended run(const std::vector<std::string>& prefix) const;

  // The current state; changes nothing. Errors: also a database that fails its integrity check.
  State state() const;

  Reports reports(const Ended& ended) const;

  // The records of the runs since the initial state. Errors: Cr_ErrnoException for an unreadable one.
  std::vector<record::Run> records() const;

  // The POs in these records, in the form of list_pos without clients. Errors: as records.
  Lines saved_pos() const;

  // Runs the undo program.
  Ended undo(std::vector<std::string> words) const;

  // Undoes the runs since the initial state that changed something, the newest first. Returns the
  // standard error of those that could not be undone. Errors: as records.
  std::string undo_runs() const;

  // The state before the earlier run; without one the initial state.
  const State& original() const { return m_original; }

  // The report on these runs. Errors: as records.
  std::string report() const;

  // Makes the current state, without logs, the initial state.
  void keep() const;

  // The text of the run log; empty if there is none.
  std::string run_log() const;

  // The lock file of the storage.
  boost::filesystem::path lock_file() const { return m_storage.root() / layout::k_lock_file; }

  // The number of services that run.
  int services() const;

  const boost::filesystem::path& storage_root() const { return m_storage.root(); }

  // A file for strace, outside the storage.
  boost::filesystem::path trace_file() const { return m_dir / "trace"; }

  // The initial state before the last keep(), and a file for the trace of the run between them.
  boost::filesystem::path before_stop() const { return m_dir / "before_stop"; }
  boost::filesystem::path stopped_trace() const { return m_dir / "stopped_trace"; }

  const Settings& settings() const { return m_settings; }
  const Task& task() const { return m_task; }

 private:
  boost::filesystem::path tree_dir() const;
  boost::filesystem::path runs_dir() const { return m_storage.log_dir() / layout::k_records; }
  boost::filesystem::path earlier_record() const { return m_dir / "earlier.db"; }
  void make_earlier_run();
  std::map<std::int64_t, boost::filesystem::path> record_files() const;  // by their starts
  void call_services(const char* monitor_argument, const char* engine_argument) const;

  const boost::filesystem::path m_dir;
  const Settings& m_settings;
  const Task& m_task;
  const StorageBuilder m_storage;
  const Child::Environment m_environment;
  State m_original;
};

}  // namespace sandbox::faults
