#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include "catalog/walk/run_totals.h"
#include "dct/log_file.h"
#include "record/findings.h"

namespace catalog {

// Takes what a task finds. For each task a derived class words the findings for the task's log and the
// standard streams, and stores them in the record of the run; whoever finds something does neither.
//
// Threads: every member may be called from any thread; a directory belongs to one at a time.
// Ownership: refers to log and totals, which must outlive it.
class Messages {
 public:
  Messages(dct::util::LogFile& log, RunTotals& totals) : m_log(log), m_totals(totals) {}
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;

  dct::util::LogFile& log() const { return m_log; }

  // To be called once for each directory, last: adds its counts to the totals, and stores it.
  void done(const record::Directory& directory);
  void failed(record::Directory& directory, const std::string& reason);

 protected:
  ~Messages() = default;

  void write_to_log(const std::string& text) const { m_log.write(text); }

  // Reports on log and standard error why the directory failed, and ends it.
  void report_failed(record::Directory& directory, const std::string& report,
                     const std::string& reason);

 private:
  void end(const record::Directory& directory);

  dct::util::LogFile& m_log;
  RunTotals& m_totals;
};

// The directory of a path, with nothing found.
record::Directory directory_of(const boost::filesystem::path& policy_dir);

// Stores the totals in the record.
void store_totals(const RunTotals& totals);

}  // namespace catalog
