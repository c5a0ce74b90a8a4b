#include "report/storage_state.h"

#include <algorithm>
#include <system_error>

#include <boost/filesystem/operations.hpp>

#include "files/storage_layout.h"
#include "lock/file_lock.h"
#include "record/this_host.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace report {

namespace {

// Empty if it is not known or not here.
fs::path storage_root(const Texts& words, const std::vector<RunFile>& runs) {
  try {
    if (words.empty()) return configured_root();
  } catch (const Cr_ErrnoException&) {
    return {};  // the report needs the log directory alone
  }
  const auto run = std::find_if(runs.begin(), runs.end(), [](const RunFile& file) {
    return !file.run.storage_root.empty() && file.run.host == record::this_host();
  });
  return run == runs.end() ? "" : run->run.storage_root;
}

}  // namespace

StorageState state_of_storage(const Texts& words, const std::vector<RunFile>& runs) {
  StorageState state;
  const fs::path root = storage_root(words, runs);
  boost::system::error_code error;
  if (root.empty() || !fs::is_directory(root, error)) return state;
  state.root = root.string();
  const fs::file_type aside = fs::symlink_status(root / layout::k_work_dir, error).type();
  try {
    const util::LockState lock = util::lock_state(root / layout::k_lock_file);
    state.stale_lock = lock == util::LockState::stale;
    const bool is_known =
        aside == fs::file_not_found || (aside != fs::status_error && lock != util::LockState::held);
    if (is_known) state.catalog_aside = aside != fs::file_not_found;
  } catch (const std::system_error&) {
    state.stale_lock.reset();  // not for this user
  }
  return state;
}

}  // namespace report
