#pragma once

#include <atomic>

#include "catalog/messages/messages.h"

namespace catalog {

// What a dry run or a deletion finds.
class ConsistencyMessages : public Messages {
 public:
  ConsistencyMessages(dct::util::LogFile& log, dct::util::LogFile& missing_images_log,
                      RunTotals& totals)
      : Messages(log, totals), m_missing_images_log(missing_images_log) {}

  // The header line of the report of missing images.
  void begin_missing() const;

  // The comparison of the directory begins.
  void started(record::Directory& directory, const boost::filesystem::path& policy_dir) const;

  void unparsed(record::Directory& directory, const boost::filesystem::path& policy_dir,
                const record::UnparsedName& name);

  // The text does not say which name holds something else than a number.
  void unparsed_number(record::Directory& directory, const boost::filesystem::path& policy_dir,
                       const record::UnparsedName& name);

  // The directory has copies that are newer than the host's clock: warns once in a run, before
  // anything is deleted.
  void future_copies(const boost::filesystem::path& policy_dir);

  void missing(const record::MissingCopy& copy);

  // The backup catalog has nothing of the directory.
  void none_listed(const boost::filesystem::path& policy_dir) const;

  // An orphan of the dry run, of the deletion once it is deleted, and one whose deletion failed; the
  // last returns what is logged.
  void would_delete(record::Directory& directory, const record::Orphan& orphan);
  void deleted(record::Directory& directory, const record::Orphan& orphan);
  std::string not_deleted(record::Directory& directory, const record::Orphan& orphan);

  // An orphan that a deletion leaves, since nobody has approved what it would take.
  void not_approved(record::Directory& directory, const record::Orphan& orphan);

  // The deletion took another number of POs than was found.
  void took_others(const record::Directory& directory, const record::Orphan& orphan,
                   std::uint64_t taken_pos) const;

  // A signal has stopped the deletion in the directory; it is over.
  void unfinished(record::Directory& directory, const boost::filesystem::path& policy_dir,
                  const std::string& reason);

  // The directory could not be compared; it is over.
  void not_compared(record::Directory& directory, const boost::filesystem::path& policy_dir,
                    int status, const std::string& reason);

  // The one listing of the backup catalog failed: no directory is compared.
  void not_listed(int status, const std::string& reason) const;

 private:
  dct::util::LogFile& m_missing_images_log;
  std::atomic<bool> m_warned_of_clock{false};
};

}  // namespace catalog
