#include "tests/scenario/paused_run.h"

#include "tests/support/terminal.h"

namespace scenario::progress {

// The run prints two orphans in each directory after the pause.
TEST(Progress, LineOnTheTerminalIsErased) {
  if (!support::terminals_are_there()) GTEST_SKIP() << "no pseudo terminals";
  for (const char* threads : {"1", "4"}) {
    const PausingScene scene;
    put_own(scene, {"hosta", "hostb", "hostc"}, {"_1600000000_C1_F1.img", "_1600000001_C1_F1.img"});
    write_text(scene.po_db("broken", "p"), "no database");
    scene.put("hostd", "p", {});
    const Words words = dry_run_on(threads, {"--except", "hostd"});
    support::OnTerminal run(scene.command(words), scene.environment());
    scene.await_pause();
    run.await(" of 4 directories, ");
    run.await(" orphan copies");
    scene.go_on();
    EXPECT_EQ(run.wait(), 1);
    const Ended plain = scene.run(words);
    for (const char* begin : {"{", "ERROR"}) {
      EXPECT_EQ(lines_beginning(run.screen(), begin),
                lines_beginning(plain.out + plain.err, begin));
    }
    expect_parts(run.screen(), {"\nTotal: 4 policy directories, 1 failed, 6 orphan copies, 0 mi",
                                "\n1 policy directories skipped\n",
                                "copies in the metadata: is it the right disk pool?\n"});
    EXPECT_FALSE(contains(run.screen(), " of 4 directories")) << run.screen();
    EXPECT_FALSE(contains(plain.out + plain.err, "\033"));
    EXPECT_FALSE(contains(scene.run_log(), "progress")) << "the run was short";
  }
}

// A full pipe without a reader.
TEST(Progress, AnswerWithoutAReaderDoesNotStopTheRun) {
  const Scene scene;
  scene.put("hosta", "p", {});
  scene.script("tvimagequery", "kill -USR1 $(cat mdfixup.lock)\nexit 227\n");
  const Ended ended = scene.run_in_shell(
      "mkfifo pipe; exec 9<>pipe; head -c 65536 /dev/zero >&9; \"$@\" 2>&9", k_dry_run);
  EXPECT_EQ(ended.exit_status, 0);
}

}  // namespace scenario::progress
