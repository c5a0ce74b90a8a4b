#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "catalog/messages/consistency_messages.h"
#include "catalog/orphans/copy_set.h"
#include "catalog/podb/base_visit_podb.h"
#include "catalog/podb/basename_time_and_copy.h"

namespace catalog::podb {

// The image copies of the POs in one policy directory.
//
// Invariant: until the comparison, each copy that at least one PO names; after it, those that no
// image of the backup catalog matched.
class BasenameTimeAndCopySet : public BaseVisitPODB {
 public:
  // `copies`: those that another set released.
  BasenameTimeAndCopySet(const boost::filesystem::path& policy_dir, ConsistencyMessages& messages,
                         record::Directory& directory, CopySet copies, SQLitePODB::Access access);

  // Fills the set. A basename that does not parse is reported and left out; one that is skipped on
  // purpose is left out silently. Returns 0, or the status of an unreadable database; the set is
  // then empty.
  int visit_podb_impl() override;

  // Moves the copies out of the set.
  CopySet release_copies();

  // Sets the flag of each copy (number -> flag) of the image of `backup_time` that the set has, and
  // erases it from the set.
  void set_in_tvr_cat(std::int64_t backup_time, std::map<std::uint32_t, bool>& copies);

 protected:
  const CopySet& image_copies() const { return m_image_copies; }
  void erase(const CopyKey& copy) { m_image_copies.erase(copy); }
  ConsistencyMessages& messages() const { return m_messages; }

 private:
  void insert(std::string_view basename);

  ConsistencyMessages& m_messages;
  BasenameTimeAndCopy m_name;
  CopySet m_image_copies;
};

}  // namespace catalog::podb
