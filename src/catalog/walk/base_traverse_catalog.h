#pragma once

#include <chrono>
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
#include "catalog/walk/walk_root.h"
#include "status/status.h"

namespace dct::util {
class LogFile;
}

namespace catalog {

// A step of a task that has several.
struct TaskStep {
  std::string name;
  std::chrono::steady_clock::time_point start;
  std::optional<std::uint64_t> dirs;    // to visit, if known
  std::optional<std::uint64_t> images;  // listed so far, in a step that visits no directories
};

// A task over all policy directories of a metadata tree. This class has the task's log, the walk
// and the workers. A derived class works on one directory and sums up the run.
//
// Threads: traverse and summarize_impl on one thread; visit_dir is called from several at once.
// Ownership: shares its log file.
class BaseTraverseCatalog {
 public:
  // `num_threads` below 2: the walk runs on the calling thread. `stop_on_error`: the first
  // directory for which visit_dir returns an error ends the walk.
  BaseTraverseCatalog(const boost::filesystem::path& log_dir,
                      const boost::filesystem::path& tree_root, unsigned num_threads,
                      bool stop_on_error);
  virtual ~BaseTraverseCatalog();
  BaseTraverseCatalog(const BaseTraverseCatalog&) = delete;
  BaseTraverseCatalog& operator=(const BaseTraverseCatalog&) = delete;

  // Whether to visit the directory; the others count as skipped. Called from any thread, also
  // before the traversal.
  virtual bool wants(const boost::filesystem::path& /*policy_dir*/) const { return true; }

  // Processes one policy directory and reports its failures. Returns 0 for success. What it throws
  // ends the walk.
  virtual int visit_dir(const boost::filesystem::path& policy_dir) = 0;

  // Sums up the run. Called once, after the traversal.
  virtual void summarize_impl();

  // The counts so far, in the words of the task, such as "3 collisions". Called from any thread.
  virtual std::string findings() const = 0;

  // The lines that follow the counts at the end of the run, without line ends.
  virtual std::vector<std::string> closing_lines() const { return {}; }

  // The current step of a task that has several. Called from any thread.
  virtual std::optional<TaskStep> step() const { return std::nullopt; }

  // The directories to visit, from the first. Called once for each walk.
  // Errors: filesystem_error when the tree cannot be read.
  virtual std::unique_ptr<DirsSource> open_dirs() const;

  // The number of these directories, if it is known without a walk.
  virtual std::optional<std::uint64_t> number_of_dirs() const { return std::nullopt; }

  // Visits every wanted policy directory, once in each walk of the task. True if all walks ran to
  // their ends and no directory failed. False also when a signal asked the run to stop.
  // Errors: what the walk or visit_dir threw, rethrown on this thread when every worker has ended;
  //   WalkRootChanged.
  bool traverse();

  // Whether the last traversal saw all directories, failed ones among them.
  bool reached_end() const { return m_reached_end; }

  const boost::filesystem::path& tree_root() const { return m_tree_root; }
  const RunTotals& totals() const { return m_totals; }

 protected:
  const boost::filesystem::path& log_dir() const { return m_log_dir; }

  // Opens the task's log `dir`/`file_name`, creates the directory if needed, and prints the log's
  // path to standard output. A derived class's constructor calls it. Returns the log.
  // Errors: filesystem_error, Cr_ErrnoException.
  dct::util::LogFile& init_log_file(const boost::filesystem::path& dir,
                                    const std::string& file_name);

  dct::util::LogFile& log() const { return *m_log; }
  void write_to_log(const std::string& text) const;

  // To be called before a directory without a database is treated as an empty one.
  // Errors: WalkRootChanged, which visit_dir must pass on: it ends the walk.
  void require_same_root() const { m_root.require_unchanged(); }

  // Does the work of visit_dir. If it throws, the directory has failed: `fail` takes the status and
  // the reason, and returns the result of visit_dir. WalkRootChanged passes through.
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

  RunTotals& totals_to_add_to() { return m_totals; }

  enum class AfterWalk { nothing, another_walk, failure };

  // What follows a walk that ran to its end. Called on the traversal's thread, without workers.
  virtual AfterWalk after_walk() { return AfterWalk::nothing; }

 private:
  bool walk();
  int visit_and_count(const boost::filesystem::path& policy_dir);

  const boost::filesystem::path m_log_dir;
  const boost::filesystem::path m_tree_root;
  const unsigned m_num_threads;
  const bool m_stop_on_error;
  boost::shared_ptr<dct::util::LogFile> m_log;
  RunTotals m_totals;
  WalkRoot m_root;  // of the traversal
  bool m_is_first_walk = true;
  bool m_reached_end = false;
};

}  // namespace catalog
