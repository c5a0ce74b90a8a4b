#pragma once

#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>

#include "catalog/podb/policy_location.h"
#include "podb/sqlite_podb.h"
#include "record/findings.h"

namespace dct::util {
class LogFile;
}

namespace catalog::podb {

// Works on the path-object database of one policy directory.
//
// Threads: one thread; visitors of different directories may work side by side.
// Ownership: owns the open database; refers to the log and to `directory`, whose counts it adds to.
//   Both must outlive it.
// Errors: the constructor throws boost::bad_lexical_cast for a DSID that is no number and
//   Cr_ErrnoException for a database that cannot be opened.
class BaseVisitPODB {
 public:
  BaseVisitPODB(const boost::filesystem::path& policy_dir, dct::util::LogFile& log,
                record::Directory& directory, SQLitePODB::Access access);
  virtual ~BaseVisitPODB();
  BaseVisitPODB(const BaseVisitPODB&) = delete;
  BaseVisitPODB& operator=(const BaseVisitPODB&) = delete;

  // Does the visitor's work. Returns 0, k_status_handled or the status of what failed.
  virtual int visit_podb_impl() = 0;

  const boost::filesystem::path& policy_path() const { return m_policy_dir; }
  const std::string& client() const { return m_location.client; }
  const std::string& policy() const { return m_location.policy; }
  bool has_database() const { return m_podb->is_there(); }

 protected:
  void write_to_log(const std::string& text) const;
  const PolicyLocation& location() const { return m_location; }
  SQLitePODB& podb() const { return *m_podb; }
  record::Directory& directory() const { return m_directory; }
  record::DirCounts& tally() const { return m_directory.counts; }

 private:
  boost::filesystem::path m_policy_dir;
  PolicyLocation m_location;
  boost::shared_ptr<SQLitePODB> m_podb;
  dct::util::LogFile& m_log;
  record::Directory& m_directory;
};

}  // namespace catalog::podb
