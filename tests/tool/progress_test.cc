#include "tool/progress.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <functional>

#include <boost/filesystem/operations.hpp>

#include "catalog/walk/base_traverse_catalog.h"
#include "console/run_log.h"
#include "tests/support/scene.h"
#include "tool/progress_text.h"

namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::seconds;

// A task that calls a function in each directory.
class VisitingTask : public catalog::BaseTraverseCatalog {
 public:
  VisitingTask(const boost::filesystem::path& dir, std::function<int()> visit)
      : BaseTraverseCatalog(dir / "log", dir / layout::k_metadata_tree, 1, true),
        m_visit(std::move(visit)) {
    init_log_file(log_dir(), "task.log");
  }
  int visit_dir(const boost::filesystem::path& /*policy_dir*/) override { return m_visit(); }
  std::string findings() const override { return "7 findings"; }

 private:
  const std::function<int()> m_visit;
};

TEST(ProgressOfTask, IsLoggedInTheRunLogAtEachInterval) {
  const support::TempDir dir;
  const std::string run_log = (dir.path() / "run.log").string();
  dctLogSetA(run_log.c_str());
  const auto await = [&](const std::string& text) {
    while (support::read_text(run_log).find(text) == std::string::npos) ::sched_yield();
  };
  for (const char* policy : {"2/a/p", "2/a/q", "2/b/p", "3/c/p"})
    boost::filesystem::create_directories(dir.path() / layout::k_metadata_tree / policy);
  int visited = 0;
  VisitingTask task(dir.path(), [&] {
    ++visited;
    if (visited == 1) await("progress: 0 of 3 directories, 0 failed, 7 findings\n");
    if (visited == 3) await("progress: 2 of 3 directories, ");
    if (visited == 3) await("/s, 0 failed, 7 findings\n");
    return 0;
  });
  {
    Progress progress(task, {hours(1), milliseconds(1)});
    EXPECT_TRUE(task.traverse());
    progress.traversal_is_over();
    await("progress: 3 of 3 directories, all directories done, finishing, ");
  }
  const std::string log = support::read_text(dir.path() / "log" / "task.log");
  EXPECT_EQ(log.find("Skip DSID"), log.rfind("Skip DSID")) << "the count logs nothing";
  dctLogSetA("/dev/null");
}

TEST(ProgressText, OmitsUnknownValues) {
  using Phase = ProgressState::Phase;
  const std::pair<ProgressState, const char*> rows[] = {
      {{0, {}, 0, "", seconds(0), {}}, "0 directories, 0 failed"},
      {{1234, 20000, 2, "", milliseconds(14135), {}},
       "1234 of 20000 directories, 3 min 35 s left, 87.3/s, 2 failed"},
      {{9, 10, 0, "", seconds(18), {}}, "9 of 10 directories, 2 s left, 30.0/min, 0 failed"},
      {{12, 10, 0, "", seconds(6), {}}, "12 of 12 directories, 2.0/s, 0 failed"},
      {{8, 10, 0, "", seconds(4), Phase::stopping},
       "8 of 10 directories, stopping, 2.0/s, 0 failed"},
  };
  for (const auto& [state, text] : rows) EXPECT_EQ(progress_text(state), text);
}

}  // namespace
