#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "catalog/walk/dirs_source.h"
#include "catalog/walk/ks_thread.h"
#include "mtstrm/resource_counter.h"

namespace catalog {

class BaseTraverseCatalog;

// The workers of one traversal. Each draws one policy directory at a time until none is left.
//
// Threads: the public members but WorkerThread belong to the thread that made the pool. A worker
//   never holds two of the locks (directory source, pool, counter) at once; Start takes the counter's
//   inside the pool's.
// Ownership: refers to the task. Does not join on destruction: Stop must have been called.
class TraverseCatalogThreadPool {
 public:
  // Asks the task for its directories; starts no thread.
  // Errors: what the task throws, such as filesystem_error when the catalog cannot be read.
  TraverseCatalogThreadPool(BaseTraverseCatalog* task, bool stop_on_error);

  // Starts the workers; goes on with those that could be created.
  // Errors: Cr_ErrnoException, the system's error, when none could be.
  void Start();

  // Waits until every worker has finished.
  void Wait();

  // Joins the workers.
  void Stop();

  // Throws what a worker's first exception was, if there was one. After Stop.
  void rethrow_exception() const;

  // Whether a failure stopped the walk. After Stop.
  bool failed() const;

  void WorkerThread(Ks_Thread<TraverseCatalogThreadPool>* thread);

 private:
  void visit_dirs();
  void stop_walk(const std::exception_ptr& exception);

  BaseTraverseCatalog* const m_task;
  const bool m_stop_on_error;
  const std::unique_ptr<DirsSource> m_dirs;
  mutable boost::mutex m_mutex;
  bool m_failed BOOST_THREAD_GUARDED_BY(m_mutex) = false;
  std::exception_ptr m_exception BOOST_THREAD_GUARDED_BY(m_mutex);
  mtstrm::server::ResourceCounter m_running;
  std::vector<boost::shared_ptr<Ks_Thread<TraverseCatalogThreadPool>>> m_threads;
};

}  // namespace catalog
