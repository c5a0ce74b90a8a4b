#include "catalog/traverse_catalog_thread_pool.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>

#include <atomic>

#include <boost/filesystem/operations.hpp>

#include "platform/status.h"
#include "tests/catalog/visiting_task.h"
#include "tests/support/temp_dir.h"
#include "util/interrupt.h"

namespace {

// Tells when the thread that failed has ended, with all that it did for the pool on the way.
std::atomic<bool> failed_thread_ended;
struct TellEnd {
  bool failed = false;
  ~TellEnd() {
    if (failed) failed_thread_ended = true;
  }
};
thread_local TellEnd this_thread;

int interrupt() {
  ::raise(SIGTERM);
  while (!util::interrupted()) ::sched_yield();
  return 0;
}

int throw_error() {
  throw Cr_ErrnoException(k_status_malformed, "from a worker");
}

class Traversal : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Threads, Traversal, testing::Values(0U, 1U, 4U));

// What fails in the first directory stops the walk; others hold theirs until its thread is gone.
TEST_P(Traversal, FailureExceptionAndSignalStopIt) {
  const support::TempDir dir;
  for (int i = 0; i < 40; ++i)
    boost::filesystem::create_directories(dir.path() / "catalog/2/a" / std::to_string(i));
  for (int (*fail)() : {+[] { return 7; }, throw_error, interrupt}) {
    const util::SignalGuard signals;
    failed_thread_ended = false;
    std::atomic<unsigned> visited{0};
    VisitingTask task(dir.path(), GetParam(), true, [&] {
      if (++visited == 1) {
        this_thread.failed = true;
        return fail();
      }
      while (!failed_thread_ended) ::sched_yield();
      return 0;
    });
    if (fail == throw_error) {
      EXPECT_THROW(task.traverse(), Cr_ErrnoException);
    } else {
      EXPECT_FALSE(task.traverse());
    }
    EXPECT_LE(visited, std::max(GetParam(), 1U));
  }
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::signal(signal, SIG_DFL);
  const util::SignalGuard forgets_it;
}

}  // namespace
