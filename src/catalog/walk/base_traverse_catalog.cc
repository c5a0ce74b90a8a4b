#include "catalog/walk/base_traverse_catalog.h"

#include <boost/filesystem/operations.hpp>

#include "catalog/walk/locked_dirs_iterator.h"
#include "catalog/walk/traverse_catalog_thread_pool.h"
#include "console/standard_streams.h"
#include "dct/log_file.h"
#include "record/run_record.h"
#include "signals/interrupt.h"

namespace fs = boost::filesystem;

namespace catalog {

BaseTraverseCatalog::BaseTraverseCatalog(const fs::path& log_dir, const fs::path& tree_root,
                                         unsigned num_threads, bool stop_on_error)
    : m_log_dir(log_dir),
      m_tree_root(tree_root),
      m_num_threads(num_threads),
      m_stop_on_error(stop_on_error) {}

BaseTraverseCatalog::~BaseTraverseCatalog() = default;

void BaseTraverseCatalog::summarize_impl() {}

std::unique_ptr<DirsSource> BaseTraverseCatalog::open_dirs() const {
  return std::make_unique<LockedDirsIterator>(m_tree_root, m_log.get());
}

bool BaseTraverseCatalog::traverse() {
  m_root = WalkRoot(m_tree_root);
  auto next = AfterWalk::another_walk;
  while (next == AfterWalk::another_walk) {
    next = walk() ? after_walk() : AfterWalk::failure;
    m_is_first_walk = false;
  }
  m_reached_end = next == AfterWalk::nothing;
  return m_reached_end && m_totals.failed_dirs() == 0;
}

bool BaseTraverseCatalog::walk() {
  TraverseCatalogThreadPool pool(open_dirs(), m_num_threads, m_stop_on_error,
                                 [this](const std::string& dir) { return visit_and_count(dir); });
  if (m_num_threads < 2) {
    pool.visit_dirs();
  } else {
    pool.Start();
    pool.Wait();
    pool.Stop();
  }
  // If the storage is gone, an open directory may end without an error, and others may fail.
  m_root.require_unchanged();
  return !pool.failed() && !util::interrupted();
}

int BaseTraverseCatalog::visit_and_count(const fs::path& policy_dir) {
  if (!wants(policy_dir)) {
    m_totals.add_skipped_dir();
    return k_status_ok;
  }
  if (m_is_first_walk) m_totals.add_dir();
  const int status = visit_dir(policy_dir);
  m_totals.add_done_dir();
  return status;
}

dct::util::LogFile& BaseTraverseCatalog::init_log_file(const fs::path& dir,
                                                       const std::string& file_name) {
  fs::create_directories(dir);
  dct::util::make_LogFile(dir / file_name, m_log);
  console::print("Log file: " + m_log->path() + "\n");
  write_to_log("Number of threads:           " + std::to_string(m_num_threads) + "\n" +
               "Deduplication metadata dir:  " + m_tree_root.string() + "\n");
  record::run_record().note([this](record::Run& run) { run.threads = m_num_threads; });
  return *m_log;
}

void BaseTraverseCatalog::write_to_log(const std::string& text) const {
  m_log->write(text);
}

}  // namespace catalog
