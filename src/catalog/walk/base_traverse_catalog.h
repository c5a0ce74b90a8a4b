#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>

#include "catalog/walk/dirs_source.h"
#include "catalog/walk/run_totals.h"
#include "catalog/walk/task_step.h"
#include "catalog/walk/walk_root.h"
#include "status/status.h"

namespace dct::util {
class LogFile;
}

namespace catalog {

// A task over all policy directories of a catalog: the log, the walk and the workers are here, what
// is done in one directory and how the run is summed up is a derived class's.
//
// Threads: traverse and summarize_impl on one thread; visit_dir is called from several at once.
// Ownership: shares its log file.
class BaseTraverseCatalog {
 public:
  // `num_threads` below 2: the walk runs on the calling thread. `stop_on_error`: the first
  // directory for which visit_dir returns an error ends the walk.
  BaseTraverseCatalog(const boost::filesystem::path& log_dir,
                      const boost::filesystem::path& metadata_dir, unsigned num_threads,
                      bool stop_on_error);
  virtual ~BaseTraverseCatalog();

  // Whether the directory is to be visited; the others count as skipped. Called from any thread, also
  // before the traversal.
  virtual bool wants(const boost::filesystem::path& policy_dir) const;

  // Processes one policy directory. Returns 0 for success. Reports what goes wrong inside the
  // directory; what it throws ends the walk.
  virtual int visit_dir(const boost::filesystem::path& policy_dir) = 0;

  // Sums up the run. Called once, after the traversal; this one says nothing.
  virtual void summarize_impl();

  // What was found so far, in the words of the task: "3 collisions, 5 of another kind". Called from
  // any thread.
  virtual std::string findings() const = 0;

  // What the end of the run says after the counts, each a line without its end.
  virtual std::vector<std::string> closing_lines() const;

  // The step that a task of several is at; none for the others. Called from any thread.
  virtual std::optional<TaskStep> step() const { return std::nullopt; }

  // The directories to visit, from the first; this one walks the catalog. Called once for each walk.
  // Errors: filesystem_error when it cannot be read.
  virtual std::unique_ptr<DirsSource> open_dirs() const;

  // How many these are, if it is known without a walk.
  virtual std::optional<std::uint64_t> number_of_dirs() const { return std::nullopt; }

  BaseTraverseCatalog(const BaseTraverseCatalog&) = delete;
  BaseTraverseCatalog& operator=(const BaseTraverseCatalog&) = delete;

  // Visits every policy directory that is wanted, once in each walk of the task. True when all ran to
  // their ends and no directory failed; false too when a signal asked the run to stop, however far it had
  // come.
  // Errors: what the walk or visit_dir threw, rethrown on this thread when every worker has ended;
  //   WalkRootChanged.
  bool traverse();

  // Whether the last traversal saw all directories, failed ones among them.
  bool reached_end() const { return m_reached_end; }

  // Visits one directory, if it is wanted, and counts it; for the traversal's own use.
  int visit_and_count(const boost::filesystem::path& policy_dir);

  const boost::filesystem::path& metadata_dir() const { return m_metadata_dir; }
  unsigned num_threads() const { return m_num_threads; }
  dct::util::LogFile& log() const { return *m_log; }
  const RunTotals& totals() const { return m_totals; }

 protected:
  const boost::filesystem::path& log_dir() const { return m_log_dir; }

  // Opens the task's log `dir`/`file_name`, makes the directory if need be, and tells standard
  // output where the log is. To be called in the derived class's constructor. Returns the log.
  // Errors: filesystem_error, Cr_ErrnoException.
  dct::util::LogFile& init_log_file(const boost::filesystem::path& dir,
                                    const std::string& file_name);

  void write_to_log(const std::string& text) const;

  // To be called when a listed directory has no database, before that is taken for an empty one.
  // Errors: WalkRootChanged, which visit_dir is to pass on, as it ends the walk.
  void require_same_root() const { m_root.require_unchanged(); }

  // Does the work of visit_dir. What it throws ends the directory: `fail` takes the status and the
  // reason, and returns what visit_dir is to. What ends the walk passes through.
  template <class Work, class Fail>
  static int do_or_fail(Work work, Fail fail) {
    try {
      return work();
    } catch (const WalkRootChanged&) {
      throw;
    } catch (const Cr_ErrnoException& error) {
      return fail(error.GetStatus(), error.GetString());
    } catch (const std::exception& error) {
      return fail(k_status_malformed, error.what());
    }
  }

  // For what is counted in a directory.
  RunTotals& totals_to_add_to() { return m_totals; }

  // What follows a walk that ran to its end.
  enum class AfterWalk { nothing, another_walk, failure };

  // Called on the thread of the traversal after each such walk, while there are no workers.
  virtual AfterWalk after_walk() { return AfterWalk::nothing; }

 private:
  bool walk();
  bool walk_on_this_thread();
  bool walk_on_workers();

  const boost::filesystem::path m_log_dir;
  const boost::filesystem::path m_metadata_dir;
  const unsigned m_num_threads;
  const bool m_stop_on_error;
  boost::shared_ptr<dct::util::LogFile> m_log;
  RunTotals m_totals;
  WalkRoot m_root;  // of the traversal
  bool m_is_first_walk = true;
  bool m_reached_end = false;
};

}  // namespace catalog
