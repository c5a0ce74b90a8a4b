#include "undo/restore/restore_messages.h"

#include "console/run_log.h"
#include "dct/report_error.h"
#include "record/run_record.h"
#include "text/one_line.h"

namespace fs = boost::filesystem;

namespace catalog {

namespace {

std::string shown(const fs::path& path) {
  return util::on_one_line(path.string());
}

}  // namespace

void RestoreMessages::restored(RestoredDir& dir) {
  m_there_already += dir.there_already;
  const std::uint64_t pos = dir.directory.counts.restored_pos;
  if (pos != 0) record::run_record().add(dir.directory);
  write_to_log((m_changes ? "Restored " : "Would restore ") + std::to_string(pos) + " POs to " +
               shown(dir.path) + "; " + std::to_string(dir.there_already) +
               (m_changes ? " were there already.\n" : " are there already.\n"));
  done(dir.directory);
}

void RestoreMessages::not_restored(RestoredDir& dir, const std::string& reason) {
  m_there_already += dir.there_already;
  report_failed(dir.directory,
                "ERROR: could not restore " + shown(dir.path) + " to its end; " +
                    util::on_one_line(reason) + "; " +
                    std::to_string(dir.directory.counts.restored_pos) + " POs were restored\n",
                reason);
}

void RestoreMessages::warn_not_restored(const std::string& warning) {
  ++m_not_restored;
  write_to_log("Warning: " + warning + "\n");
}

void RestoreMessages::collision(RestoredDir& dir, const std::string& basename) {
  ++dir.directory.counts.collisions;
  record::run_record().add(dir.directory, record::Collision{dir.directory.client, basename});
  warn_not_restored("another PO with the name " + util::on_one_line(basename) + " is in " +
                    shown(dir.path) + "; it is left as it is");
}

void RestoreMessages::gone(const RestoredDir& dir, const fs::path& target,
                           const std::string& basename) {
  warn_not_restored("the PO " + util::on_one_line(basename) + " is neither in " + shown(target) +
                    " nor in " + shown(dir.path));
}

void RestoreMessages::unreadable(const fs::path& target, const std::string& basename,
                                 const std::string& reason) {
  warn_not_restored("the PO " + util::on_one_line(basename) + " stays in " + shown(target) + ": " +
                    reason);
}

void RestoreMessages::removed(const fs::path& made) const {
  write_to_log((m_changes ? "Removed " : "Would remove ") + shown(made) +
               ", which the repair made" + (m_changes ? ".\n" : ", if nothing is left in it.\n"));
}

void RestoreMessages::not_removed(const fs::path& made, const std::string& reason) {
  warn_not_restored("could not remove " + shown(made) + ", which the repair made: " + reason);
}

void RestoreMessages::link_restored(const fs::path& link, const std::string& target) {
  ++m_links;
  write_to_log((m_changes ? "Restored the symbolic link " : "Would restore the symbolic link ") +
               shown(link) + " to " + util::on_one_line(target) + "\n");
}

void RestoreMessages::link_collision(const fs::path& link) {
  warn_not_restored("something else is in the place of the symbolic link " + shown(link) +
                    "; it is left as it is");
}

void RestoreMessages::link_not_restored(const fs::path& link, const std::string& reason) {
  warn_not_restored("could not restore the symbolic link " + shown(link) + ": " + reason);
}

void RestoreMessages::sum_up(const record::DirCounts& counts) const {
  InfoA("restore: " + number_of(counts, &record::DirCounts::restored_pos) +
        (m_changes ? "" : " (dry run)") + ", there already " + std::to_string(m_there_already) +
        ", symbolic links " + std::to_string(m_links) + ", not restored " +
        std::to_string(m_not_restored));
  if (all_is_restored()) return;
  dct::report_error("Not everything could be restored.\nSee " + log().path() + "\n");
}

}  // namespace catalog
