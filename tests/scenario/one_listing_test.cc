#include "tests/scenario/paused_run.h"

namespace scenario::one_listing {

// The sorted lines of reports and streams, without file names, and the counts of the record.
Words found(const Scene& scene, const Ended& ended) {
  const std::string text = ended.out + ended.err + scene.logs("OrphanImages_") +
                           scene.logs("MissingImages_") + std::to_string(ended.exit_status) + "\n";
  remove_reports(scene);
  Words lines = sorted_lines(text);
  lines.erase(std::remove_if(lines.begin(), lines.end(),
                             [](const std::string& line) { return contains(line, " file: "); }),
              lines.end());
  const Words counts =
      rows_of(scene, "dry_run",
              "dirs, failed_dirs, skipped_dirs, pos, copies, orphan_copies, taken_pos, "
              "missing_copies, (SELECT count(*) FROM missing), future_copies FROM run");
  fs::remove_all(runs_dir(scene));
  return joined(lines, counts);
}

TEST(OneListing, FindsTheSameAsManyListings) {
  const Scene scene;
  put_own(scene, {"hosta"},
          {"_1000_C1_F1.img", "_1000_C2_F1.img", "_3000_C1_F1.img", "_x_C1_F1.img"});
  put_own(scene, {"HOSTA", "hostb", "damaged"}, {"_1000_C1_F1.img"});  // HOSTA is not listed
  put_own(scene, {"none"}, {"_1000_C1_F1.img", "_9999999999_C1_F1.img"});
  put_own(scene, {"empty"}, {});
  write_text(scene.po_db("damaged", "p"), "no database");
  scene.sh("mkdir -p catalog/02/hosta catalog/2/bare/p; cp -r catalog/2/hosta/p catalog/02/hosta");
  for (const std::string client : {"hosta", "damaged", "empty", "bare", "nowhere"}) {
    scene.list_image(client, "p", 1000, {2, 2, 1});
    scene.list_image(client, "p", 2000, {3, 1});
    scene.list_image(client, "p", 3000, {1}, "dp_elsewhere");
  }
  scene.list_image("hosta", "p", 1000, {1});  // a duplicate is missing
  for (const int threads : {1, 4}) {
    for (const Words& options :
         {Words{}, Words{"--only", "hosta/p", "--only", "nowhere"}, Words{"--except", "none"},
          Words{"--max_orphan_share", "40"}, Words{"--catalog_backup_time", "1000200000"}}) {
      const Words expected = found(scene, scene.dry_run(threads, options));
      const Ended ended = scene.dry_run(threads, joined(options, k_one_listing));
      EXPECT_EQ(found(scene, ended), expected);
      EXPECT_GE(lines_beginning(boost::algorithm::join(expected, ""), "{client: ").size(), 2U);
    }
  }
  EXPECT_FALSE(contains(scene.run_log(), "was asked for"));
  scene.sh("rm -r catalog/2/hosta catalog/02");
  (void)scene.dry_run(1, k_one_listing);
  expect_parts(scene.run_log(),
               {"lists images of client hosta and policy p where HOSTA and p was"});
}

// A backup writes POs and images before and after the listing. Between the phases POs also vanish.
TEST(OneListing, ImageOfARunningBackupIsNoOrphan) {
  for (const int threads : {1, 4}) {
    const Scene scene;
    put_own(scene, {"hosta", "hostb"}, {"_1000_C1_F1.img", "_2000_C1_F1.img"});
    put_own(scene, {"fresh"}, {"_5000_C1_F1.img"});
    put_own(scene, {"gone"}, {"_1000_C1_F1.img"});
    scene.list_image("hosta", "p", 2000, {1});
    for (const int time : {3000, 4000}) scene.list_image("hosta", "p", time, {1});
    scene.sh(
        "mv catalog/2/fresh .; mv quorv/tavrin/bin/admincmd/tvimagequery query.real\n"
        "mv quorv/images images.later; mkdir -p quorv/images/hosta");
    scene.sh("head -n 2 images.later/hosta/p > quorv/images/hosta/p");
    scene.script("tvimagequery",
                 "cd " + scene.root().string() +
                     "; put() { sqlite3 catalog/2/hosta/p/po.db \"INSERT INTO po VALUES "
                     "('hosta_$1_F1.img', 'x', 1, 1, x'00')\"; }\n"
                     "put 3000_C1; cp images.later/hosta/p quorv/images/hosta/p\n"
                     "sed -n 1,4p quorv/images/hosta/p\nput 4000_C1; put 1000_C10; mv fresh "
                     "catalog/2; rm -r catalog/2/gone\n");
    const Ended ended = scene.dry_run(threads, k_one_listing);
    expect_failure(ended, {"gone/p; its database is gone since it was read\n"});
    EXPECT_EQ(sorted_lines(ended.err).size(), 1U);
    EXPECT_EQ(lines_beginning(ended.out, "{client: "),
              (Words{"{client: hosta, policy: p, backup_time: 1000, copy_number: 1}.\n",
                     "{client: hostb, policy: p, backup_time: 1000, copy_number: 1}.\n",
                     "{client: hostb, policy: p, backup_time: 2000, copy_number: 1}.\n"}));
    EXPECT_EQ(scene.pos().size(), 8U);
    EXPECT_FALSE(contains(scene.logs("OrphanImages_"), "_C10_")) << "the pattern of copy 1 matches";
  }
}

// The findings belong to the databases that were read.
TEST(OneListing, ReplacedMetadataTreeIsLeftAlone) {
  for (const int threads : {1, 4}) {
    for (const std::string in_its_place : {"mv copy catalog", "mkdir -p catalog/2", "true"}) {
      const Scene scene;
      put_own(scene, {"hosta", "hostb", "hostc"}, {"_1000_C1_F1.img"});
      scene.script("tvimagequery", "cd " + scene.root().string() +
                                       "; cp -r catalog copy; mv catalog aside; " + in_its_place +
                                       "; exit 227\n");
      const Ended ended = scene.remove_orphans(threads, k_one_listing);
      expect_failure(ended, {"Aborting with error:  the directory "});
      EXPECT_EQ(sorted_lines(ended.err).size(), 1U) << ended.err;
      scene.sh("mkdir -p catalog aside copy");
      EXPECT_EQ(scene.pos("aside").size(), 3U);
      EXPECT_EQ(scene.pos().size() + scene.pos("copy").size(), 3U);
      EXPECT_EQ(rows_of(scene, "deletion", "dirs FROM run"), Words{"3\n"});
    }
  }
  // A walk that opens nothing afterwards notices it at its end.
  const Scene scene;
  put_own(scene, {"hosta"}, {"_1000_C1_F1.img"});
  const std::string tree = scene.tree_dir().string();
  scene.script("tvimagequery", "mv " + tree + " " + tree + ".aside; exit 227\n");
  expect_failure(scene.dry_run(), {"Aborting with error:  the directory "});
}

TEST(OneListing, ProgressNamesTheStepAndASignalDuringItPrintsNothing) {
  for (const int signal : {SIGUSR1, SIGINT}) {
    PausedRun run("2", k_one_listing);
    run.send_and_await_line(signal);
    const Ended ended = run.go_on();
    EXPECT_EQ(ended.exit_status, signal == SIGINT ? 1 : 0);
    EXPECT_EQ(sorted_lines(ended.err).size(), 1U) << ended.err;
    const bool is_reported = contains(
        ended.err, "listing the backup catalog: 0 images, 0 failed, 0 orphan copies, 0 missing");
    EXPECT_TRUE(is_reported == (signal == SIGUSR1) || k_signals_are_deferred) << ended.err;
    EXPECT_EQ(run.scene().later_calls(), "") << "no other listing";
    EXPECT_EQ(contains(run.scene().run_log(), "cut short"), signal == SIGINT);
    expect_parts(run.scene().run_log(), {"policy directories 3, failed 0,"});
  }
}

// A lock on the first database stops the second walk until the signals have arrived.
TEST(OneListing, SignalInTheLastStepStopsItAndMissingCopiesAreCounted) {
  if (k_signals_are_deferred) GTEST_SKIP();
  const Scene scene;
  put_own(scene, {"hosta", "hostb"}, {"_1000_C1_F1.img"});
  put_own(scene, {"broken"}, {});
  write_text(scene.po_db("broken", "p"), "no database");
  for (const char* client : {"hosta", "hostb", "nowhere"}) scene.list_image(client, "p", 2000, {1});
  const std::string query = scene.admincmd("tvimagequery").string();
  scene.sh("mkfifo locked ready go; mv " + query + " " + query + ".real");
  scene.script("tvimagequery",
               "cd " + scene.root().string() + "\n(sqlite3 catalog/2/hosta/p/po.db " +
                   "'BEGIN EXCLUSIVE' '.shell echo > locked; read x < go') >/dev/null 2>&1 &\n" +
                   "read x < locked; echo > ready; exec $0.real \"$@\"\n");
  const auto run = scene.start(dry_run_on("1", k_one_listing));
  read_text(scene.root() / "ready");
  while (!contains(scene.run_log(), "none of the copies in ")) ::sched_yield();
  run->send(SIGUSR1);
  while (!contains(run->err(), "printing orphans: 1 of 3 directories, ")) ::sched_yield();
  run->send(SIGTERM);
  while (!contains(run->err(), "directories in hand")) ::sched_yield();
  write_text(scene.root() / "go", "\n");
  const Ended ended = run->wait();
  EXPECT_EQ(ended.exit_status, 1);
  EXPECT_EQ(lines_beginning(ended.out, "{client: "),
            Words{"{client: hosta, policy: p, backup_time: 1000, copy_number: 1}.\n"});
  EXPECT_FALSE(contains(scene.run_log(), "cut short"));
  expect_parts(scene.run_log(),
               {"directories 3, failed 1, ", "orphan copies 1, missing copies 3,"});
}

}  // namespace scenario::one_listing
