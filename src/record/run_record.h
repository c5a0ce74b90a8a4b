#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "record/record_database.h"

namespace record {

// Stores what a run finds in the SQLite database `<log directory>/mdfixup/runs/<start in
// seconds>-<process id>.db`, which has a write-ahead log until the run ends.
//
// Findings are committed about once a second and at the end. A kill loses only what came after the
// last commit. Before `begin`, and after a failure, nothing is stored.
// Threads: any, except for begin and end; a directory belongs to one thread at a time. SQL runs
//   under the mutex: rows go into memory, and a commit usually writes without a sync.
// Errors: none. A failure to write is reported once, on standard error and in the run log.
class RunRecord {
 public:
  // Makes the record, named by the run's start and pid.
  void begin(const boost::filesystem::path& log_dir, const Run& run);

  // Changes the run as a whole.
  void note(const std::function<void(Run&)>& change);

  // Stores a finding, as RecordDatabase::store does.
  template <class... Finding>
  void add(Finding&&... finding) {
    store([&](RecordDatabase& record) { record.store(finding...); });
  }

  // Stores counts and state of a directory that is done, if the record has it.
  void done(const Directory& directory);
  // The same for one that failed, which is always stored.
  void failed(Directory& directory, const std::string& reason);

  // Commits what was stored, so that a kill cannot lose it. False if the record cannot be written.
  bool commit();

  // What follows if the record cannot be written, for the report; the caller stops the run.
  enum class WhenLost { run_goes_on, run_stops };

  // Before the run changes metadata: commits, and from now on syncs each commit.
  bool sync_commits(WhenLost when_lost);

  // Stores the end of the run, syncs and closes the record.
  void end(const RunEnd& end);

  // Whether the record could not be written.
  bool failed() const { return m_failed; }

 private:
  bool store(const std::function<void(RecordDatabase&)>& what);
  void report_failure(const std::string& why);

  boost::mutex m_mutex;
  std::string m_file;
  std::atomic<WhenLost> m_when_lost{WhenLost::run_goes_on};
  std::atomic<bool> m_failed{false};
  std::unique_ptr<RecordDatabase> m_database BOOST_THREAD_GUARDED_BY(m_mutex);
};

// The record of this process's run.
RunRecord& run_record();

}  // namespace record
