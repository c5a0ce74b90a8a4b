#include "tests/scenario/scenario.h"

#include <unistd.h>

namespace scenario::services {

// The simulated services as real processes, with pid files in /var/run. Without the privilege to
// isolate them, skips on a machine with services of its own.
class Services : public testing::Test {
 protected:
  void SetUp() override {
    if (::access("/var/run", W_OK) != 0 || fs::exists(m_poolmgrd) || fs::exists(m_segstored)) {
      GTEST_SKIP() << "/var/run is in use or cannot be written";
    }
  }
  void TearDown() override {
    if (IsSkipped()) return;
    sandbox::run({m_tvsvcwatch, "-terminate"}, m_scene.environment());
    sandbox::run({m_ksde, "stop"}, m_scene.environment());
    fs::remove(m_poolmgrd);
  }

  std::string pids() const {
    return read_text(m_poolmgrd) + read_text(m_segstored) +
           read_text(m_scene.product() / "run/tvsvcwatch.pid");
  }

  const Scene m_scene{sandbox::PidFilesLock::Use::write};
  const fs::path m_poolmgrd = "/var/run/poolmgrd.pid";
  const fs::path m_segstored = "/var/run/segstored.pid";
  const std::string m_ksde = (m_scene.product() / "ksde/ksconfigure/ksde").string();
  const std::string m_tvsvcwatch = (m_scene.product() / "tavrin/bin/tvsvcwatch").string();
  const std::string m_instructions =
      "During the repair process Tavrin Deduplication services need to be off.\n"
      "Please shutdown Tavrin Deduplication services with the following commands and rerun this "
      "tool:\n\t" +
      m_tvsvcwatch + " -terminate\n\t/usr/quorv/ksde/ksconfigure/ksde stop\n";
};

TEST_F(Services, OnlyForceStopsThemAndTheyAreStartedAgain) {
  m_scene.put("hosta", "p", {"HostA_1602000000_C1_F1.img"});
  put_own(m_scene, {"hostb"}, {"_1000_C1_F1.img"});
  EXPECT_EQ(m_scene.remove_orphans().exit_status, 0);
  const std::string id = id_of(m_scene, "deletion");
  const Words before = m_scene.pos();
  for (const std::string& service : {m_ksde, m_tvsvcwatch}) {
    sandbox::run({service}, m_scene.environment());
    for (const Ended& ended :
         {m_scene.repair(), m_scene.remove_orphans(), m_scene.undo({"restore", id})}) {
      expect_end(ended, 1, m_instructions);
      EXPECT_EQ(ended.out, "");
    }
    EXPECT_EQ(m_scene.pos(), before);
  }
  const std::string pids_before = "\n" + pids();
  const Ended forced = m_scene.run(k_forced_repair);
  EXPECT_EQ(forced.exit_status, 0) << forced.err;
  EXPECT_FALSE(contains(forced.out, "Please start")) << forced.out;
  const Words pids_now = sorted_lines(pids());
  EXPECT_EQ(pids_now.size(), 3U);
  for (const std::string& pid : pids_now)
    EXPECT_FALSE(contains(pids_before, "\n" + pid)) << "the process was not stopped";
  EXPECT_EQ(m_scene.repair().err, m_instructions) << "they run again";
}

TEST_F(Services, ThatDoNotStopRejectTheRepair) {
  write_script(m_ksde, "");
  write_text(m_poolmgrd, std::to_string(::getpid()));
  expect_end(m_scene.run(k_forced_repair), 1,
             "\nCould not stop the Tavrin Deduplication services.\n\n" + m_instructions);
  const std::string work = (m_scene.root() / layout::k_work_dir).string();
  fs::rename(m_scene.tree_dir(), work);
  expect_parts(m_scene.repair().err,
               {m_instructions + "The repair is not finished: the catalog is at " + work +
                ". Run the repair again to finish it.\n"});
}

// Each call is logged, with "catalog" if the metadata tree is in its place. SIGUSR1 before or after the
// task prints no progress.
TEST_F(Services, CommandsRunBeforeAndAfterTheRepairAndAFailedStartIsReported) {
  const std::string note = "cd " + m_scene.root().string() +
                           "; echo ${0##*/} $* c*g >> calls; kill -USR1 $(cat mdfixup.lock)\n";
  write_script(m_tvsvcwatch, note);
  write_script(m_ksde, note + "[ \"$1\" = stop ] || exit 3");
  expect_end(m_scene.run(k_forced_repair), 0,
             "ERROR: the services may not run; the command " + m_ksde + " failed\n");
  EXPECT_EQ(read_text(m_scene.root() / "calls"),
            "tvsvcwatch -terminate catalog\nksde stop catalog\ntvsvcwatch catalog\nksde catalog\n");
}

TEST_F(Services, InterruptedCommandInterruptsTheRun) {
  write_script(m_tvsvcwatch,
               "mkdir " + (m_scene.root() / "once").string() + " && kill -INT $PPID\n");
  const Ended ended = m_scene.run(k_forced_repair);
  expect_failure(ended, {"changed.\nThe Tavrin Deduplication services are stopped.\n"});
  EXPECT_EQ(ended.out, k_start_services);
  EXPECT_TRUE(fs::exists(m_scene.tree_dir()));
}

}  // namespace scenario::services
