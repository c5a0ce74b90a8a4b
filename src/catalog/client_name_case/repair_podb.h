#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/messages/repair_messages.h"
#include "catalog/podb/base_visit_podb.h"
#include "status/status.h"

namespace catalog::podb {

class FilePO;

// Moves the POs of one policy directory that have another spelling of the client's name. They go to
// the same policy of the client directory with that spelling.
//
// Threads: as the base. Two visitors of one client, in any spelling, and one policy must not work
//   at once: each writes to the other's database.
// Ownership: refers to messages and directory, which must outlive it.
// Errors: as the base. A failure in a database is reported, and is the visitor's status. Throws
//   Cr_ErrnoException when a target cannot be opened or created. At every instant each PO is in at
//   least one database.
class RepairPODB : public BaseVisitPODB {
 public:
  using Names = std::vector<std::string>;
  using ChosenNames = std::vector<Names::const_iterator>;
  // The spelling at the start of the basenames -> the basenames.
  using Groups = std::map<std::string, ChosenNames>;

  RepairPODB(const boost::filesystem::path& policy_dir, RepairMessages& messages,
             record::Directory& directory);

  // Returns 0; k_status_handled if a PO stayed because the target has another one with its name; or
  // the status of a failure. Groups moved before a failure stay moved.
  int visit_podb_impl() override;

  // The last reported failure in a database.
  const std::string& last_error() const { return m_last_error; }

 private:
  using ErrorType = RepairMessages::ErrorType;
  struct Target;

  void report_blobs(const Names& blobs);
  void group_basenames(const Names& names, Groups& groups) const;
  cr_status_t move_basenames_group(Groups::const_iterator group);
  RepairMessages::MadeForTarget made_for(const SQLitePODB& target) const;
  cr_status_t begin_both(Target& target);
  cr_status_t copy_to_target(Groups::const_iterator group, Target& target, ChosenNames& copied);
  cr_status_t copy_group(Groups::const_iterator group, SQLitePODB& source, Target& target,
                         ChosenNames& copied);
  cr_status_t copy_po(FilePO& po, Target& target, const std::string& basename);
  cr_status_t get_from_target(Target& target, const std::string& basename, FilePO& po);
  cr_status_t remove_from_source(const ChosenNames& basenames);
  cr_status_t commit_both(Target& target);
  cr_status_t found_collision(FilePO& po, Target& target, const std::string& basename);
  cr_status_t save_replaced(const FilePO& po, SQLitePODB& target, const std::string& basename);
  void report_collision(const FilePO& po, const std::string& basename,
                        const boost::filesystem::path& target_dir);
  cr_status_t write_error(ErrorType type, cr_status_t status, const boost::filesystem::path& dir,
                          const std::string& basename);

  RepairMessages& m_messages;
  std::string m_last_error;
  bool m_source_is_damaged = false;
  std::unique_ptr<SQLitePODB> m_reader;  // of a damaged source

  // Of the current group, which may be copied twice: the POs that were reported to stay, and those
  // of the target that the record has.
  std::set<std::string_view> m_reported;
  std::set<std::string_view> m_saved;

  bool m_collision_found = false;
};

}  // namespace catalog::podb
