#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include "catalog/walk/run_totals.h"
#include "dct/log_file.h"
#include "record/findings.h"

namespace catalog {

// Words what a task reports, writes it to the task's log and the standard streams, and stores it in
// the record of the run. Each task has a derived class.
//
// Threads: every member may be called from any thread; a directory belongs to one at a time.
// Ownership: refers to log and totals, which must outlive it.
class Messages {
 public:
  Messages(dct::util::LogFile& log, RunTotals& totals) : m_log(log), m_totals(totals) {}
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;

  dct::util::LogFile& log() const { return m_log; }

  // Ends a directory: adds its counts to the totals, and stores it.
  void done(const record::Directory& directory);
  void failed(record::Directory& directory, const std::string& reason);

 protected:
  ~Messages() = default;

  void write_to_log(const std::string& text) const { m_log.write(text); }

  // Ends the directory as failed, and reports that to log and standard error.
  void report_failed(record::Directory& directory, const std::string& report,
                     const std::string& reason);

 private:
  void end(const record::Directory& directory);

  dct::util::LogFile& m_log;
  RunTotals& m_totals;
};

// The directory of a path, with all counts 0.
record::Directory directory_of(const boost::filesystem::path& policy_dir);

// Stores the totals in the record.
void store_totals(const RunTotals& totals);

}  // namespace catalog
