#include <stdexcept>
#include <string>

#include <boost/filesystem/exception.hpp>

#include "catalog/client_name_case/scan_client_name_case.h"
#include "tool/exit_status.h"
#include "tool/move_tree_aside.h"
#include "tool/run_task.h"
#include "tool/tasks.h"
#include "tool/thread_count.h"

int run_scan(const StoragePaths& storage) {
  try {
    catalog::ScanClientNameCase task(storage.log_dir, storage.tree, thread_count(), false);
    return run_task(task) ? k_exit_success : k_exit_scan_failed;
  } catch (const boost::filesystem::filesystem_error& error) {
    if (!tree_is_aside(storage)) throw;
    std::string text = std::string(error.what()) + "\n" + tree_aside_text(storage);
    text.pop_back();  // the line end, which the handler adds
    throw std::runtime_error(text);
  }
}
