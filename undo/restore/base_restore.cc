#include "undo/restore/base_restore.h"

#include <ctime>

#include "dct/filesystem.h"
#include "files/storage_layout.h"
#include "podb/podb_creation.h"
#include "signals/interrupt.h"

namespace fs = boost::filesystem;

namespace catalog {

BaseRestore::BaseRestore(const fs::path& log_dir, const fs::path& tree_root, unsigned num_threads,
                         const RestoreRequest& request, const std::string& condition)
    : BaseTraverseCatalog(log_dir, tree_root, num_threads, false),
      m_request(request),
      m_readers(request.record) {
  const auto reader = m_readers.lend();
  m_dirs = std::make_unique<RecordedDirs>(*reader, condition, request.wanted, tree_root);
  init_log_file(log_dir / layout::k_restore_logs,
                "Restore_" + std::to_string(std::time(nullptr)) + ".log");
  write_to_log("Record of the run:           " + request.record + "\n");
  m_messages = std::make_unique<RestoreMessages>(log(), totals_to_add_to(), !request.dry_run);
}

// A vanished database is created again, unless the whole storage vanished.
int BaseRestore::visit_dir(const fs::path& policy_dir) {
  RestoredDir dir{policy_dir, directory_of(policy_dir)};
  const auto fail = [&](int status, const std::string& why) {
    m_messages->not_restored(dir, why);
    return status == k_status_ok ? k_status_malformed : status;
  };
  return do_or_fail(
      [&] {
        if (!dct::filesystem::exists(database::podb_file(policy_dir))) require_same_root();
        const auto reader = m_readers.lend();
        for (const std::int64_t id : m_dirs->ids_of(policy_dir.string())) {
          restore(dir, id, *reader);
        }
        m_messages->restored(dir);
        return k_status_ok;
      },
      fail);
}

void BaseRestore::summarize_impl() {
  m_messages->sum_up(totals().counts());
}

std::string BaseRestore::findings() const {
  const record::DirCounts counts = totals().counts();
  return number_of(counts, &record::DirCounts::restored_pos) + ", " +
         number_of(counts, &record::DirCounts::collisions);
}

void stop_if_interrupted() {
  if (util::interrupted()) throw Cr_ErrnoException(k_status_interrupted, "it was interrupted");
}

}  // namespace catalog
