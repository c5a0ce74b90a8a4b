#pragma once

#include <atomic>

#include "catalog/messages/messages.h"

namespace catalog {

// The messages of a dry run and of a deletion.
class ConsistencyMessages : public Messages {
 public:
  ConsistencyMessages(dct::util::LogFile& log, dct::util::LogFile& missing_images_log,
                      RunTotals& totals)
      : Messages(log, totals), m_missing_images_log(missing_images_log) {}

  // Writes the header line of the report of missing images.
  void begin_missing() const;

  void started(record::Directory& directory, const boost::filesystem::path& policy_dir) const;

  void unparsed(record::Directory& directory, const boost::filesystem::path& policy_dir,
                const record::UnparsedName& name);

  // The same if the reason does not name the basename.
  void unparsed_number(record::Directory& directory, const boost::filesystem::path& policy_dir,
                       const record::UnparsedName& name);

  // Warns once in a run of copies that are newer than the host's clock.
  void future_copies(const boost::filesystem::path& policy_dir);

  void missing(const record::MissingCopy& copy);

  // The backup catalog has nothing of the directory.
  void none_listed(const boost::filesystem::path& policy_dir) const;

  // An orphan of the dry run; one that was deleted; one whose deletion failed. The last returns the
  // logged text.
  void would_delete(record::Directory& directory, const record::Orphan& orphan);
  void deleted(record::Directory& directory, const record::Orphan& orphan);
  std::string not_deleted(record::Directory& directory, const record::Orphan& orphan);

  // An orphan that stays because its deletion was not approved.
  void not_approved(record::Directory& directory, const record::Orphan& orphan);

  // The deletion took a different number of POs than was found.
  void took_others(const record::Directory& directory, const record::Orphan& orphan,
                   std::uint64_t taken_pos) const;

  // Ends a directory in which a signal stopped the deletion.
  void unfinished(record::Directory& directory, const boost::filesystem::path& policy_dir,
                  const std::string& reason);

  // Ends a directory that could not be compared.
  void not_compared(record::Directory& directory, const boost::filesystem::path& policy_dir,
                    int status, const std::string& reason);

  // The one listing of the backup catalog failed, so no directory is compared.
  void not_listed(int status, const std::string& reason) const;

 private:
  dct::util::LogFile& m_missing_images_log;
  std::atomic<bool> m_warned_of_clock{false};
};

}  // namespace catalog
