#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "catalog/walk/dirs_source.h"
#include "catalog/walk/ks_thread.h"
#include "mtstrm/resource_counter.h"

namespace catalog {

// The workers of one traversal. Each draws one policy directory at a time until there are no more.
//
// Threads: the public members but WorkerThread belong to the thread that made the pool. A worker
//   never holds two of the locks (directory source, pool, counter) at once.
// Ownership: the destructor ends the walk and joins the workers.
class TraverseCatalogThreadPool {
 public:
  // Visits one directory, on several threads at once. Returns 0 for success.
  using Visit = std::function<int(const std::string& policy_dir)>;

  // Starts no thread.
  TraverseCatalogThreadPool(std::unique_ptr<DirsSource> dirs, unsigned num_threads,
                            bool stop_on_error, Visit visit);
  ~TraverseCatalogThreadPool();
  TraverseCatalogThreadPool(const TraverseCatalogThreadPool&) = delete;
  TraverseCatalogThreadPool& operator=(const TraverseCatalogThreadPool&) = delete;

  // Starts the workers. If only some can be created, these do the work.
  // Errors: Cr_ErrnoException, the system's error, when none could be.
  void Start();

  // Waits until every worker has finished.
  void Wait();

  // Joins the workers.
  // Errors: rethrows the first exception of a worker.
  void Stop();

  // Visits directories on the calling thread until there are no more.
  void visit_dirs();

  // Whether a failure stopped the walk. After Stop or visit_dirs.
  bool failed() const;

  void WorkerThread(Ks_Thread<TraverseCatalogThreadPool>* thread);

 private:
  void join();
  void stop_walk(const std::exception_ptr& exception);

  const std::unique_ptr<DirsSource> m_dirs;
  const bool m_stop_on_error;
  const Visit m_visit;
  mutable boost::mutex m_mutex;
  bool m_failed BOOST_THREAD_GUARDED_BY(m_mutex) = false;
  std::exception_ptr m_exception BOOST_THREAD_GUARDED_BY(m_mutex);
  mtstrm::server::ResourceCounter m_running;
  std::vector<boost::shared_ptr<Ks_Thread<TraverseCatalogThreadPool>>> m_threads;
};

}  // namespace catalog
