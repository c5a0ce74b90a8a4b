#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "catalog/messages/messages.h"
#include "podb/po_row.h"

namespace catalog {

// The messages of a case repair.
class RepairMessages : public Messages {
 public:
  // The step that failed; the source is the visited directory.
  enum class ErrorType {
    begin_target,
    commit_target,
    get_from_target,
    put_to_target,
    list_source,
    get_from_source,
    begin_source,
    commit_source,
    remove_from_source,
  };

  RepairMessages(dct::util::LogFile& log, dct::util::LogFile& collision_log, RunTotals& totals)
      : Messages(log, totals), m_collision_log(collision_log) {}

  // The directory has POs that do not begin with its client's name.
  void case_issues(const record::Directory& directory) const;

  // To be called before POs move: undoing the repair needs the record.
  using MadeForTarget = std::vector<record::Made>;
  void moving(record::Directory& directory, const record::Moved& moved,
              const MadeForTarget& made) const;

  // To be called before a PO of the directory replaces one in the target.
  void replacing(record::Directory& directory, const database::PORow& replaced) const;

  void moved(const record::Moved& moved, const boost::filesystem::path& from,
             const boost::filesystem::path& to) const;

  // `po` describes the PO that stayed in the directory.
  void collision(record::Directory& directory, const record::Collision& collision,
                 const boost::filesystem::path& from, const std::string& po);

  // Reports a failed step, and returns the report without its line end.
  std::string database_error(record::Directory& directory, ErrorType type, int status,
                             const boost::filesystem::path& dir, const std::string& basename);

  // Ends a directory that could not be repaired.
  void unrepaired(record::Directory& directory, const boost::filesystem::path& policy_dir,
                  const std::string& reason);

  // Reports to standard error if there were collisions.
  void report_collisions() const;

 private:
  dct::util::LogFile& m_collision_log;
  std::atomic<bool> m_collisions_found{false};
};

}  // namespace catalog
