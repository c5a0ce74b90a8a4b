#include "catalog/walk/traverse_catalog_thread_pool.h"

#include <cstddef>
#include <cstring>
#include <utility>

#include "console/run_log.h"
#include "signals/interrupt.h"
#include "status/status.h"

namespace catalog {

using Worker = Ks_Thread<TraverseCatalogThreadPool>;

TraverseCatalogThreadPool::TraverseCatalogThreadPool(std::unique_ptr<DirsSource> dirs,
                                                     unsigned num_threads, bool stop_on_error,
                                                     Visit visit)
    : m_dirs(std::move(dirs)),
      m_stop_on_error(stop_on_error),
      m_visit(std::move(visit)),
      m_running("Traverse Catalog Thread Pool") {
  for (unsigned i = 0; i < num_threads; ++i) {
    m_threads.emplace_back(new Worker(&TraverseCatalogThreadPool::WorkerThread, this, 0, i));
  }
}

TraverseCatalogThreadPool::~TraverseCatalogThreadPool() {
  m_dirs->stop();
  join();
}

void TraverseCatalogThreadPool::Start() {
  std::size_t created = 0;
  int error = 0;
  for (const auto& thread : m_threads) {
    m_running.increment();
    const int result = thread->create();
    if (result == 0) {
      ++created;
    } else {
      m_running.decrement();  // there is no worker that does it
      error = result;
    }
  }
  if (error == 0) return;
  if (created == 0) {
    throw Cr_ErrnoException(error, "could not create a worker thread", std::strerror(error));
  }
  WarningA("only " + std::to_string(created) + " of " + std::to_string(m_threads.size()) +
           " worker threads could be created: " + std::strerror(error));
}

void TraverseCatalogThreadPool::Wait() {
  m_running.waitForNoReferences();
}

// Not under the pool's mutex, which a worker takes on its way out.
void TraverseCatalogThreadPool::join() {
  for (const auto& thread : m_threads) {
    thread->request_stop();
    thread->join();
  }
}

void TraverseCatalogThreadPool::Stop() {
  join();
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  if (m_exception) std::rethrow_exception(m_exception);
}

bool TraverseCatalogThreadPool::failed() const {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  return m_failed;
}

void TraverseCatalogThreadPool::WorkerThread(Worker* thread) {
  // Start has counted this worker already.
  const mtstrm::server::AutoResourceCount counted(m_running, false);
  try {
    visit_dirs();
  } catch (...) {
    stop_walk(std::current_exception());
  }
  thread->request_stop();  // one call a worker
}

void TraverseCatalogThreadPool::visit_dirs() {
  while (!util::interrupted()) {
    const std::string path = m_dirs->get_next_path();
    if (path.empty()) return;
    if (m_visit(path) != k_status_ok && m_stop_on_error) {
      stop_walk(nullptr);
      return;
    }
  }
}

void TraverseCatalogThreadPool::stop_walk(const std::exception_ptr& exception) {
  m_dirs->stop();
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  m_failed = true;
  if (!m_exception) m_exception = exception;
}

}  // namespace catalog
