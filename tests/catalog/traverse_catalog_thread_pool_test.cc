#include "catalog/traverse_catalog_thread_pool.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>

#include <atomic>
#include <functional>

#include <boost/filesystem/operations.hpp>

#include "catalog/base_traverse_catalog.h"
#include "platform/status.h"
#include "tests/support/temp_dir.h"
#include "util/interrupt.h"

namespace {

// A task that does in each directory what the test says.
class Task : public catalog::BaseTraverseCatalog {
 public:
  Task(const boost::filesystem::path& dir, unsigned threads, bool stop_on_error,
       std::function<int()> visit)
      : BaseTraverseCatalog(dir / "log", dir / "catalog", threads, stop_on_error),
        m_visit(std::move(visit)) {
    init_log_file(log_dir(), "task.log");
  }

  int visit_dir(const boost::filesystem::path& /*policy_dir*/) override {
    ++visited;
    return m_visit();
  }

  std::atomic<unsigned> visited{0};

 private:
  const std::function<int()> m_visit;
};

class Traversal : public testing::TestWithParam<unsigned> {
 protected:
  Traversal() {
    for (unsigned i = 0; i < k_dirs; ++i) {
      boost::filesystem::create_directories(m_dir.path() / "catalog" / "2" / "a" /
                                            std::to_string(i));
    }
  }
  static constexpr unsigned k_dirs = 40;
  support::TempDir m_dir;
};

INSTANTIATE_TEST_SUITE_P(Threads, Traversal, testing::Values(0U, 1U, 4U));

TEST_P(Traversal, VisitsEveryDirectoryWhenFailuresDoNotStopIt) {
  Task task(m_dir.path(), GetParam(), false, [] { return 7; });
  EXPECT_TRUE(task.traverse());
  EXPECT_EQ(task.visited, k_dirs);
  EXPECT_EQ(support::read_text(m_dir.path() / "log" / "task.log"),
            "Number of threads:           " + std::to_string(GetParam()) +
                "\nDeduplication metadata dir:  " + (m_dir.path() / "catalog").string() + "\n");
}

// Tells when the thread that failed has ended, with all that it did for the pool on the way.
std::atomic<bool> failed_thread_ended;
struct TellEnd {
  bool failed = false;
  ~TellEnd() {
    if (failed) failed_thread_ended = true;
  }
};
thread_local TellEnd this_thread;

// Fails in the first directory; what others hold takes them until the thread that failed is gone.
std::function<int()> fail_once(const std::function<int()>& fail) {
  failed_thread_ended = false;
  const auto failed = std::make_shared<std::atomic<bool>>(false);
  return [=] {
    if (!failed->exchange(true)) {
      this_thread.failed = true;
      return fail();
    }
    while (!failed_thread_ended) ::sched_yield();
    return 0;
  };
}

TEST_P(Traversal, FailureStopsIt) {
  Task task(m_dir.path(), GetParam(), true, fail_once([] { return 7; }));
  EXPECT_FALSE(task.traverse());
  EXPECT_LE(task.visited, std::max(GetParam(), 1U));
}

TEST_P(Traversal, ExceptionStopsItAndReachesTheCaller) {
  const auto fail = []() -> int { throw Cr_ErrnoException(k_status_malformed, "from a worker"); };
  Task task(m_dir.path(), GetParam(), false, fail_once(fail));
  EXPECT_THROW(task.traverse(), Cr_ErrnoException);
  EXPECT_LE(task.visited, std::max(GetParam(), 1U));
}

TEST_P(Traversal, InterruptStopsIt) {
  {
    const util::SignalGuard signals;
    std::atomic<bool> sent{false};
    Task task(m_dir.path(), GetParam(), false, [&] {
      if (!sent.exchange(true)) ::raise(SIGTERM);
      while (!util::interrupted()) ::sched_yield();
      return 0;
    });
    EXPECT_FALSE(task.traverse());
    EXPECT_LE(task.visited, std::max(GetParam(), 1U));
  }
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::signal(signal, SIG_DFL);
  const util::SignalGuard forgets_it;
}

TEST_F(Traversal, ThreadsThatCannotBeCreatedAreNotWaitedFor) {
  Task task(m_dir.path(), 4, false, [] { return 0; });
  constexpr std::size_t k_impossible_stack = std::size_t{1} << 60U;
  catalog::TraverseCatalogThreadPool pool(&task, false, k_impossible_stack);
  EXPECT_THROW(pool.Start(), Cr_ErrnoException);
  pool.Wait(0);
  pool.Stop();
  EXPECT_EQ(task.visited, 0U);
}

TEST(ResourceCounter, TimedWaitReturnsWhatIsLeft) {
  mtstrm::server::ResourceCounter counter("test");
  counter.decrement();
  EXPECT_EQ(counter.waitForNoReferences(1), 0U);
  counter.increment();
  EXPECT_EQ(counter.waitForNoReferences(1), 1U);
}

}  // namespace
