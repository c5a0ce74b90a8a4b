#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "catalog/messages/messages.h"

namespace catalog {

// A directory in which something is restored; its counts are of what was committed.
struct RestoredDir {
  const boost::filesystem::path& path;
  record::Directory directory;
  std::uint64_t there_already = 0;
};

// What a restore finds and does.
class RestoreMessages : public Messages {
 public:
  // `changes` is false for what is reported alone.
  RestoreMessages(dct::util::LogFile& log, RunTotals& totals, bool changes)
      : Messages(log, totals), m_changes(changes) {}

  // The directory is done.
  void restored(RestoredDir& dir);
  // The directory could not be restored to its end; it is over.
  void not_restored(RestoredDir& dir, const std::string& reason);

  // POs that are not restored: another one has the name, it is in neither of the directories between
  // which the run moved it, or it cannot be read in the one where it is.
  void collision(RestoredDir& dir, const std::string& basename);
  void gone(const RestoredDir& dir, const boost::filesystem::path& target,
            const std::string& basename);
  void unreadable(const boost::filesystem::path& target, const std::string& basename,
                  const std::string& reason);

  // What comes after the directories of a repair.
  void would_take_away(const boost::filesystem::path& made) const;
  void took_away(const boost::filesystem::path& made) const;
  void not_taken_away(const boost::filesystem::path& made, const std::string& reason);
  void link_restored(const boost::filesystem::path& link, const std::string& target);
  void link_collision(const boost::filesystem::path& link);
  void link_not_restored(const boost::filesystem::path& link, const std::string& reason);

  // Sums up the run in the run log; reports on standard error if not all was restored.
  void sum_up(const record::DirCounts& counts) const;

  // Whether there was nothing of what is not restored.
  bool all_is_restored() const { return m_left == 0; }

 private:
  void left(const std::string& warning);

  const bool m_changes;
  std::atomic<std::uint64_t> m_there_already{0};
  std::atomic<std::uint64_t> m_links{0};
  std::atomic<std::uint64_t> m_left{0};
};

}  // namespace catalog
