#include "undo/restore/restore_deletion.h"

#include "record/schema.h"
#include "undo/restore/restore_podb.h"

namespace catalog {

namespace {

std::string has_saved_pos() {
  const std::string each = std::to_string(record::k_saved_of_directory);
  return "EXISTS (SELECT 1 FROM saved WHERE saved.id > d.id * " + each +
         " AND saved.id < (d.id + 1) * " + each + ")";
}

}  // namespace

RestoreDeletion::RestoreDeletion(const boost::filesystem::path& log_dir,
                                 const boost::filesystem::path& tree_root, unsigned num_threads,
                                 const RestoreRequest& request)
    : BaseRestore(log_dir, tree_root, num_threads, request, has_saved_pos()) {}

void RestoreDeletion::restore(RestoredDir& dir, std::int64_t id, record::RunReader& reader) {
  podb::RestorePODB podb(tree_root(), dir, messages(), request().dry_run);
  podb.restore(reader, id);
}

}  // namespace catalog
