#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "record/findings.h"
#include "sandbox/child.h"
#include "sandbox/storage_builder.h"

namespace sandbox::faults {

// What is tried, as the options of mdfixup-faults say.
struct Settings {
  std::string program;
  std::string undo;                 // the program that undoes what that one did
  std::vector<std::string> faults;  // names; all when there are none, as with tasks
  std::vector<std::string> tasks;
  std::string calls;    // system calls, as strace names them; the fault's own when empty
  std::string at;       // one moment alone, "call:n"; all when empty
  unsigned points = 0;  // so many, drawn at random; 0 for all, but for one signal
  unsigned seed = 1;
  unsigned scale = 1;
  unsigned threads = 1;
};

// What a task does to the metadata when nothing goes wrong, and so what may be found when it did.
enum class Effect { none, moves, deletes, restores };

// A task of the program that faults are tried on.
struct Task {
  std::string name;
  std::vector<std::string> arguments;
  Effect effect = Effect::none;
  int failed_exit_status = 1;
  bool resumed = false;   // it goes on where one that was killed half-way stopped
  bool services = false;  // the simulated services run when it starts
  std::vector<std::string> undone =
      {};  // a run with these arguments comes before it, and is undone
};

// Scan, dry run, deletion, repair, a repair after one that was killed half-way, one that stops the
// services itself, and the undoing of a deletion and of a repair.
const std::vector<Task>& all_tasks();

using Lines = std::multiset<std::string>;

// What is to be found in a storage: every PO in the form of list_pos, and the names of all files but
// logs, lock and those of the product.
struct State {
  Lines pos;
  Lines files;
};

// What a run told: on standard output, in its task's logs, in the run log and on standard error.
// Lines that name a log, whose names hold the time, are left out.
struct Reports {
  Lines out;
  Lines task_logs;
  Lines run_log;
  Lines err;
};

constexpr int k_all_services = 3;

// A run that takes so long waits for something that never comes.
constexpr int k_longest_run_seconds = 100;

// A storage on which one task of the program is tried again and again, each time from the same
// beginning.
//
// Threads: one thread.
// Ownership: refers to the settings and the task, which must outlive it.
// Errors: Cr_ErrnoException, filesystem_error or system_error, when the storage cannot be made,
//   brought back or read.
class Subject {
 public:
  // Makes the storage in the empty directory `dir`. A task with services needs the right to write
  // /var/run, and none of them there.
  Subject(const boost::filesystem::path& dir, const Settings& settings, const Task& task);
  ~Subject();
  Subject(const Subject&) = delete;
  Subject& operator=(const Subject&) = delete;

  // Brings the storage back to its beginning, and starts the services of a task that has some.
  void restore() const;

  // Starts the program with the task's arguments, behind the words of `prefix`.
  std::unique_ptr<Child> start(const std::vector<std::string>& prefix) const;

  // The same, and waits for its end.
  Ended run(const std::vector<std::string>& prefix) const {
    return start(prefix)->wait(k_longest_run_seconds);
  }

  // Looks at the storage as it is now, and leaves it so. A database that does not pass its integrity
  // check is an error.
  State state() const;

  Reports reports(const Ended& ended) const;

  // What the records say of the runs since the beginning. Errors: Cr_ErrnoException for one that cannot
  // be read.
  std::vector<record::Run> records() const;

  // The POs that they hold, without the directories, in the form of list_pos. Errors: the same.
  Lines saved_pos() const;

  // Undoes the runs since the beginning that changed something, the last one first. Returns what was
  // told by those that could not be undone. Errors: the same.
  std::string undo_runs() const;

  // As it was before the run that is undone, or else in the beginning.
  const State& original() const { return m_original; }

  // What the report of these runs says. Errors: the same.
  std::string report() const;

  // Makes what is now the beginning; the logs are none of it.
  void keep() const;

  bool is_locked() const;
  void remove_lock() const;

  // How many of the three services run.
  int services() const;

  // Beside the storage, for whoever traces a run.
  boost::filesystem::path trace_file() const { return m_dir / "trace"; }

  const Settings& settings() const { return m_settings; }
  const Task& task() const { return m_task; }

 private:
  boost::filesystem::path catalog() const;
  boost::filesystem::path runs_dir() const;
  boost::filesystem::path undone_record() const;
  void make_undone_run();
  std::vector<boost::filesystem::path> record_files() const;
  void call_services(const char* monitor_argument, const char* engine_argument) const;

  const boost::filesystem::path m_dir;
  const Settings& m_settings;
  const Task& m_task;
  const StorageBuilder m_storage;
  const Child::Environment m_environment;
  State m_original;
};

}  // namespace sandbox::faults
