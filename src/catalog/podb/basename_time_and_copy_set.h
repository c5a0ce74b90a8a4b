#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <tuple>

#include "catalog/podb/base_visit_podb.h"

namespace catalog::podb {

namespace details {

// The key of one image copy within a policy directory; ordered by time, then by copy.
struct numbers {
  std::int64_t backup_time;  // seconds since the epoch
  std::uint32_t copy_number;

  bool operator<(const numbers& other) const {
    return std::tie(backup_time, copy_number) < std::tie(other.backup_time, other.copy_number);
  }
};

}  // namespace details

// The image copies that one policy directory has POs of.
//
// Invariant: until the comparison, each copy that at least one PO names; after it, those that no
// image of the backup catalog matched.
class BasenameTimeAndCopySet : public BaseVisitPODB {
 public:
  BasenameTimeAndCopySet(const boost::filesystem::path& policy_dir, dct::util::LogFile& log,
                         SQLitePODB::Access access);

  // Fills the set. A basename that does not parse is reported in the log and left out; one that is
  // not handled on purpose is left out silently. Returns 0, or the status of a database that could
  // not be read; the set is empty then.
  int visit_podb_impl() override;

  // Sets the flag of each copy (number -> flag) of the image of `backup_time` that the set holds,
  // and takes it out of the set.
  void set_in_tvr_cat(std::int64_t backup_time, std::map<std::uint32_t, bool>& copies);

 protected:
  const std::set<details::numbers>& image_copies() const { return m_image_copies; }

 private:
  void insert(std::string_view basename);
  void report_unparsed(const char* text) const;

  std::set<details::numbers> m_image_copies;
};

}  // namespace catalog::podb
