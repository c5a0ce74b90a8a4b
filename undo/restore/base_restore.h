#pragma once

#include <memory>
#include <optional>
#include <string>

#include "catalog/walk/base_traverse_catalog.h"
#include "undo/restore/record_readers.h"
#include "undo/restore/recorded_dirs.h"
#include "undo/restore/restore_messages.h"

namespace catalog {

// What to restore.
struct RestoreRequest {
  std::string record;  // the file
  WantedNames wanted;
  bool dry_run = false;
};

// Undoes a run with its record. Visits the directories that the record names. It may be interrupted
// anywhere; a second run finishes it.
//
// Threads: as the base.
// Errors: a directory that cannot be restored is reported, and the traversal goes on.
class BaseRestore : public BaseTraverseCatalog {
 public:
  int visit_dir(const boost::filesystem::path& policy_dir) override;
  std::unique_ptr<DirsSource> open_dirs() const override { return m_dirs->source(); }
  std::optional<std::uint64_t> number_of_dirs() const override { return m_dirs->size(); }
  void summarize_impl() override;
  std::string findings() const override;

  // Whether every PO, and after a repair every link, was restored.
  bool all_is_restored() const { return m_messages->all_is_restored(); }

 protected:
  // `condition` selects the directories; see RecordedDirs.
  // Errors: filesystem_error or Cr_ErrnoException when the log cannot be made or the record not
  //   read.
  BaseRestore(const boost::filesystem::path& log_dir, const boost::filesystem::path& tree_root,
              unsigned num_threads, const RestoreRequest& request, const std::string& condition);

  // Restores what the record has for a directory with the number `id`. Errors: Cr_ErrnoException.
  virtual void restore(RestoredDir& dir, std::int64_t id, record::RunReader& reader) = 0;

  RestoreMessages& messages() { return *m_messages; }
  const RestoreRequest& request() const { return m_request; }
  RecordReaders& readers() { return m_readers; }

 private:
  const RestoreRequest m_request;
  RecordReaders m_readers;
  std::unique_ptr<const RecordedDirs> m_dirs;
  std::unique_ptr<RestoreMessages> m_messages;
};

// To be called between two transactions of a directory.
// Errors: Cr_ErrnoException when a signal asked the run to stop.
void stop_if_interrupted();

}  // namespace catalog
