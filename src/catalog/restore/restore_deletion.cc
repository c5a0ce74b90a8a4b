#include "catalog/restore/restore_deletion.h"

#include "catalog/restore/restore_podb.h"
#include "record/schema.h"

namespace catalog {

namespace {

std::string has_saved_pos() {
  const std::string each = std::to_string(record::k_saved_of_directory);
  return "EXISTS (SELECT 1 FROM saved WHERE saved.id > d.id * " + each +
         " AND saved.id < (d.id + 1) * " + each + ")";
}

}  // namespace

RestoreDeletion::RestoreDeletion(const boost::filesystem::path& log_dir,
                                 const boost::filesystem::path& catalog_dir, unsigned num_threads,
                                 const RestoreRequest& request)
    : BaseRestore(log_dir, catalog_dir, num_threads, request, has_saved_pos()) {}

void RestoreDeletion::restore(RestoredDir& dir, std::int64_t id, record::RunReader& reader) {
  podb::RestorePODB podb(metadata_dir(), dir, restore_findings(), request().dry_run);
  podb.restore(reader, id);
}

}  // namespace catalog
