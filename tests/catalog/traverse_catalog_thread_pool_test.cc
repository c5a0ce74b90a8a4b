#include "catalog/traverse_catalog_thread_pool.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <atomic>
#include <functional>

#include <boost/filesystem/operations.hpp>

#include "catalog/base_traverse_catalog.h"
#include "platform/status.h"
#include "tests/support/temp_dir.h"

namespace {

using catalog::TraverseCatalogThreadPool;

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

  std::atomic<int> visited{0};

 private:
  const std::function<int()> m_visit;
};

template <class Call>
std::string text_thrown_by(Call call) {
  try {
    call();
    return "nothing";
  } catch (const Cr_ErrnoException& error) {
    return error.GetString();
  }
}

class Traversal : public testing::TestWithParam<unsigned> {
 protected:
  Traversal() {
    for (int i = 0; i < k_dirs; ++i) {
      boost::filesystem::create_directories(m_dir.path() / "catalog" / "2" / "a" /
                                            std::to_string(i));
    }
  }
  static constexpr int k_dirs = 600;
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

// The other workers go on until they are told.
int fail_once(std::atomic<bool>& failed, const std::function<int()>& fail) {
  if (!failed.exchange(true)) return fail();
  ::sched_yield();
  return 0;
}

TEST_P(Traversal, FailureStopsIt) {
  std::atomic<bool> failed{false};
  Task task(m_dir.path(), GetParam(), true, [&] { return fail_once(failed, [] { return 7; }); });
  EXPECT_FALSE(task.traverse());
  EXPECT_LT(task.visited, k_dirs);
}

TEST_P(Traversal, ExceptionStopsItAndReachesTheCaller) {
  std::atomic<bool> failed{false};
  const auto fail = []() -> int { throw Cr_ErrnoException(k_status_malformed, "from a worker"); };
  Task task(m_dir.path(), GetParam(), false, [&] { return fail_once(failed, fail); });
  EXPECT_EQ(text_thrown_by([&] { task.traverse(); }), "from a worker");
  EXPECT_LT(task.visited, k_dirs);
}

TEST_F(Traversal, ThreadsThatCannotBeCreatedAreNotWaitedFor) {
  Task task(m_dir.path(), 4, false, [] { return 0; });
  constexpr std::size_t k_impossible_stack = std::size_t{1} << 60U;
  TraverseCatalogThreadPool pool(&task, false, k_impossible_stack);
  EXPECT_THROW(pool.Start(), Cr_ErrnoException);
  pool.Wait(0);
  pool.Stop();
  EXPECT_EQ(task.visited, 0);
}

TEST_F(Traversal, WaitIsLimited) {
  boost::mutex gate;
  Task task(m_dir.path(), 1, false, [&] {
    const boost::lock_guard<boost::mutex> guard(gate);
    return 0;
  });
  gate.lock();
  TraverseCatalogThreadPool pool(&task, false);
  pool.Start();
  EXPECT_EQ(text_thrown_by([&] { pool.Wait(1); }),
            "Timed out after waiting 1s for the move corrupt POs threads to complete (cnt=1)");
  gate.unlock();
  pool.Wait(0);
  pool.Stop();
  EXPECT_EQ(task.visited, k_dirs);
}

}  // namespace
