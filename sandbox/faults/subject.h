#pragma once

#include <memory>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "sandbox/child.h"
#include "sandbox/faults/task.h"
#include "sandbox/storage_builder.h"

namespace sandbox::faults {

// What is to be found in a storage: every PO in the form of list_pos, and the names of all files but
// logs, lock and those of the product, both in byte order.
struct State {
  std::vector<std::string> pos;
  std::vector<std::string> files;
};

// What a run told, in lines: on standard output, in its task's logs, in the run log and on standard
// error. Lines that name a log, whose names hold the time, are left out.
struct Reports {
  std::vector<std::string> out;
  std::vector<std::string> task_logs;
  std::vector<std::string> run_log;
  std::vector<std::string> err;
};

constexpr int k_all_services = 3;

// A run that takes so long waits for something that never comes.
constexpr int k_longest_run_seconds = 100;

// A storage on which one task of the program is tried again and again, each time from the same
// beginning.
//
// Threads: one thread.
// Errors: Cr_ErrnoException, filesystem_error or system_error, when the storage cannot be made,
//   brought back or read.
class Subject {
 public:
  // Makes the storage in the empty directory `dir`. A task with services needs the right to write
  // /var/run, and none of them there.
  Subject(const boost::filesystem::path& dir, std::string program, const Task& task, unsigned scale,
          unsigned threads);
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

  // Makes what is now the beginning; the logs are none of it.
  void keep() const;

  // Where the storage lies, and other things may.
  const boost::filesystem::path& dir() const { return m_dir; }

  bool is_locked() const;
  void remove_lock() const;

  // How many of the three services run.
  int services() const;

  const Task& task() const { return m_task; }

 private:
  boost::filesystem::path catalog() const;
  Child::Environment environment() const;
  void stop_services() const;

  const boost::filesystem::path m_dir;
  const std::string m_program;
  const Task m_task;
  const unsigned m_threads;
  const StorageBuilder m_storage;
};

}  // namespace sandbox::faults
