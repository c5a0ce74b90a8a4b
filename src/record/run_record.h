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

// Stores what a run finds in one SQLite database, `<log directory>/mdfixup/runs/<start, seconds>-<process
// id>.db`: with a write-ahead log during the run, as a single file after its end.
//
// Findings are committed about once a second and at the end. A kill loses what came after the last
// commit; what is in the database is whole. Before `begin`, and after a failure, nothing is stored.
// Threads: every member but begin and end may be called from any thread; one directory belongs to one
//   thread at a time. SQL runs under the mutex: rows go into memory, a commit writes without a sync.
// Errors: none. A failure to write is reported once, on standard error and in the run log.
class RunRecord {
 public:
  RunRecord() = default;
  ~RunRecord() = default;
  RunRecord(const RunRecord&) = delete;
  RunRecord& operator=(const RunRecord&) = delete;

  // Makes the record. Of `run`, pid and start name it.
  void begin(const boost::filesystem::path& log_dir, const Run& run);

  // Changes what is known of the run as a whole.
  void note(const std::function<void(Run&)>& change);

  // Stores a finding, as RecordDatabase::store does.
  template <class... Finding>
  void add(Finding&&... finding) {
    store([&](RecordDatabase& record) { record.store(finding...); });
  }

  // Stores counts and state of a directory that is done, if it is in the record.
  void done(const Directory& directory);
  // The same of one that failed, which is stored in any case.
  void failed(Directory& directory, const std::string& reason);

  // Commits what was stored until now, for what must not be lost by a kill. False when the record does
  // not hold it.
  bool commit();

  // What becomes of a run whose record cannot be written. That it stops is the caller's doing.
  enum class WhenLost { run_goes_on, run_stops };

  // For a run that changes the metadata, before it does: commits, and from now on syncs each commit.
  bool sync_commits(WhenLost when_lost);

  // Stores how the run ended, syncs and closes the record.
  void end(const RunEnd& end);

  // Whether something could not be written.
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
