#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "catalog/messages/messages.h"

namespace catalog {

// A directory in which POs are restored; its counts are those of committed transactions.
struct RestoredDir {
  const boost::filesystem::path& path;
  record::Directory directory;
  std::uint64_t there_already = 0;
};

// The messages of a restore.
class RestoreMessages : public Messages {
 public:
  // `changes` is false in a dry run.
  RestoreMessages(dct::util::LogFile& log, RunTotals& totals, bool changes)
      : Messages(log, totals), m_changes(changes) {}

  // Both end the directory; the second after an error.
  void restored(RestoredDir& dir);
  void not_restored(RestoredDir& dir, const std::string& reason);

  // A PO stays as it is: another has its name, it is in neither directory of the move, or it cannot
  // be read.
  void collision(RestoredDir& dir, const std::string& basename);
  void gone(const RestoredDir& dir, const boost::filesystem::path& target,
            const std::string& basename);
  void unreadable(const boost::filesystem::path& target, const std::string& basename,
                  const std::string& reason);

  // What follows the directories of a repair.
  void removed(const boost::filesystem::path& made) const;
  void not_removed(const boost::filesystem::path& made, const std::string& reason);
  void link_restored(const boost::filesystem::path& link, const std::string& target);
  void link_collision(const boost::filesystem::path& link);
  void link_not_restored(const boost::filesystem::path& link, const std::string& reason);

  // Sums up the run in the run log; reports to standard error if anything was not restored.
  void sum_up(const record::DirCounts& counts) const;

  bool all_is_restored() const { return m_not_restored == 0; }

 private:
  void warn_not_restored(const std::string& warning);

  const bool m_changes;
  std::atomic<std::uint64_t> m_there_already{0};
  std::atomic<std::uint64_t> m_links{0};
  std::atomic<std::uint64_t> m_not_restored{0};
};

}  // namespace catalog
