#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "catalog/messages/messages.h"
#include "podb/po_row.h"

namespace catalog {

// What a case repair finds and does.
class RepairMessages : public Messages {
 public:
  // What could not be done; the source is the directory at hand.
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

  // Before POs are moved: it is undone with the record.
  using MadeForTarget = std::vector<record::Made>;
  void moving(record::Directory& directory, const record::Moved& moved,
              const MadeForTarget& made) const;

  // Before a PO of the target is replaced by one of the directory.
  void replacing(record::Directory& directory, const database::PORow& replaced) const;

  void moved(const record::Moved& moved, const boost::filesystem::path& from,
             const boost::filesystem::path& to) const;

  // `po` is all that can be said of the PO that stayed.
  void collision(record::Directory& directory, const record::Collision& collision,
                 const boost::filesystem::path& from, const std::string& po);

  // A step failed; a PO that could not be read stays where it is. Returns what is reported, without the
  // line end.
  std::string database_error(record::Directory& directory, ErrorType type, int status,
                             const boost::filesystem::path& dir, const std::string& basename);

  // The directory could not be repaired; it is over.
  void unrepaired(record::Directory& directory, const boost::filesystem::path& policy_dir,
                  const std::string& reason);

  // Reports on standard error that there were collisions, if there were.
  void tell_collisions() const;

 private:
  dct::util::LogFile& m_collision_log;
  std::atomic<bool> m_collisions_found{false};
};

}  // namespace catalog
