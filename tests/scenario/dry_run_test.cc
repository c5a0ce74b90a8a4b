#include "tests/scenario/scenario.h"

#include <ctime>

#include <boost/format.hpp>

#include "platform/spadb.h"
#include "sandbox/planter.h"

namespace scenario::dry_run {

const std::string k_header = "backupid|client_name|policy_name|copy_num|\n";

std::string orphan(const std::string& time, const std::string& copy) {
  return "{client: hosta, policy: p, backup_time: " + time + ", copy_number: " + copy + "}.\n";
}

// The lines of the missing-images report behind its header.
std::vector<std::string> missing(const Scene& scene) {
  const std::string report = scene.logs("MissingImages_");
  EXPECT_TRUE(starts_with(report, k_header)) << report;
  return lines_beginning(report.substr(k_header.size()), "");
}

TEST(DryRun, ReportsExactlyWhatWasPlanted) {
  const Scene scene;
  sandbox::Plan plan;
  plan.clients = 8;
  plan.copies = 3;
  plan.pairs = 2;
  const sandbox::Planted planted = sandbox::plant(scene.storage(), plan);
  const auto before = scene.snapshot();
  for (const int threads : {1, 4}) {
    fs::remove_all(scene.storage().log_dir() / "metadata_consistency");
    const Ended ended = scene.dry_run(threads);
    EXPECT_EQ(ended.exit_status, 0);
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(lines_beginning(ended.out, "{"), planted.orphan_lines);
    EXPECT_TRUE(contains(ended.out, "\n\nImages that would be deleted:\n{")) << ended.out;
    EXPECT_TRUE(ends_with(ended.out, "mdfixup finished successfully.\n"));
    EXPECT_EQ(missing(scene), planted.missing_lines);
    boost::format summary("failed 0, POs %1%, copies %2%, orphan copies %3%, missing copies %4%,");
    summary % planted.pos % planted.copies % planted.orphan_lines.size();
    summary % planted.missing_lines.size();
    EXPECT_TRUE(contains(scene.run_log(), summary.str())) << scene.run_log();
  }
  EXPECT_EQ(scene.snapshot(), before);
}

TEST(DryRun, ComparesCopyByCopy) {
  const Scene scene;
  scene.put("hosta", "p",
            {"hosta_1000_C1_F1.img", "hosta_1000_C1_HDR.info", "hosta_1000_C2_F1.img",
             "hosta_2000_C1_F1.img", "hosta_3000_C10_TIR1.map", "hosta_5000_C1_F1.img[R]"});
  scene.storage().list_image("hosta", "p", 1000, {1, 1});     // copy 2 is an orphan
  scene.storage().list_image("hosta", "p", 2000, {1, 2, 2});  // copy 2 is missing
  scene.storage().list_image("hosta", "p", 3000, {10}, "dp_elsewhere");
  scene.storage().list_image("hosta", "p", 4000, {3});
  scene.storage().list_image("hosta", "q", 6000, {2, 1});  // no directory
  fs::create_directories(scene.storage().policy_dir("hosta", "without_database"));
  scene.storage().list_image("hosta", "without_database", 7000, {1});
  const Ended ended = scene.dry_run();
  EXPECT_EQ(ended.exit_status, 0) << ended.err;
  const std::vector<std::string> orphans{orphan("1000", "2"), orphan("3000", "10"),
                                         orphan("5000", "1")};
  EXPECT_EQ(lines_beginning(ended.out, "{"), orphans);
  EXPECT_TRUE(contains(ended.out, orphans[0] + orphans[1] + orphans[2])) << "in ascending order";
  const std::vector<std::string> expected{"hosta_2000|hosta|p|2|\n", "hosta_4000|hosta|p|3|\n",
                                          "hosta_6000|hosta|q|1|\n", "hosta_6000|hosta|q|2|\n",
                                          "hosta_7000|hosta|without_database|1|\n"};
  EXPECT_EQ(missing(scene), expected);
  EXPECT_TRUE(contains(scene.logs("MissingImages_"), "|q|2|\nhosta_6000|hosta|q|1|\n"));
  const std::vector<std::string> counts{
      "client_name|policy_name|pos|copies|orphan_copies|missing_copies|taken_pos|other_copies_pos|"
      "\n",
      "hosta|p|6|5|3|2|3|0|\n", "hosta|without_database|0|0|0|1|0|0|\n"};
  EXPECT_EQ(lines_beginning(scene.logs("PolicyDirs_"), ""), counts);
}

TEST(DryRun, NamesThatDoNotParseAreReportedAndLeftOut) {
  const Scene scene;
  scene.put(
      "hosta", "p",
      {"EVENT_1_C1_F1.img", "hosta_x_C1_F1.img", std::string("hosta\0_1", 8), "HostA_1_C1_F1.img"});
  const Ended ended = scene.dry_run();
  EXPECT_EQ(ended.exit_status, 0) << ended.err;
  EXPECT_EQ(lines_beginning(ended.out, "{").size(), 0U);
  const std::string begin = "ERROR: could not parse PO file name; ";
  const std::string end = "; dirname " + scene.storage().policy_dir("hosta", "p").string() + "\n";
  const std::vector<std::string> expected{
      begin + "bad lexical cast: source type value could not be interpreted as target" + end,
      begin + std::string("hosta\0_1", 8) + " has too few underscores" + end,
      begin + "the client directory name hosta does not match the case of HostA" + end};
  const std::string log = scene.logs("OrphanImages_");
  EXPECT_EQ(lines_beginning(log, begin), expected);
  EXPECT_TRUE(contains(scene.run_log(), "PO file name hosta_x_C1_F1.img; dirname"));
}

TEST(DryRun, ListingsReachBackTwoDaysBeforeTheCatalogBackup) {
  const Scene scene;
  const std::int64_t now = std::time(nullptr);
  const std::int64_t recent = now - 86400;
  const std::int64_t old = now - 90 * 86400;
  scene.put("hosta", "p",
            {"hosta_" + std::to_string(old) + "_C1_F1.img",
             "hosta_" + std::to_string(now + 80000) + "_C1_F1.img",
             "hosta_" + std::to_string(now + 90000) + "_C1_F1.img"});
  scene.storage().list_image("hosta", "p", now + 80000, {1});
  scene.storage().list_image("hosta", "p", now + 90000, {1});
  for (const char* client : {"hosta", "hostb"}) {
    for (const std::int64_t time : {recent, old}) {
      scene.storage().list_image(client, "p", time, {1});
    }
  }
  const Ended ended = scene.dry_run(4, {"--catalog_backup_time", std::to_string(now - 3600)});
  EXPECT_EQ(lines_beginning(ended.out, "{"),
            std::vector<std::string>{orphan(std::to_string(old), "1")});
  const std::string time = std::to_string(recent);
  EXPECT_EQ(missing(scene), (std::vector<std::string>{"hosta_" + time + "|hosta|p|1|\n",
                                                      "hostb_" + time + "|hostb|p|1|\n"}));
  const std::string log = scene.run_log();
  EXPECT_TRUE(contains(log, "/hosta/p has copies that are newer than this host's clock")) << log;
  EXPECT_TRUE(contains(log, " 1 of 3 copies are newer than this host's clock")) << log;
  EXPECT_TRUE(contains(log,
                       " disk pool dp_sandbox, found by the host name; the listing reaches "
                       "back 50 hours\n"))
      << log;
}

TEST(DryRun, PendingImportsRefuseTheRun) {
  const std::string waiting =
      "Some images are waiting to be imported, Please run again after import job completed!\n"
      "If you decide to delete the metadata for all images, Please refer to "
      "--FORCE_CONSISTENCY_ALL_IMAGE option.\n";
  const std::string no_table = "ERROR: Failed to get the events table in SpaDB\n";
  // An event, what is done to the table, what the product has pending, and the error.
  const std::string rows[][4] = {
      {"IMAGEREPEVENT{ size:1", "", "", ""},
      {"at IMAGEREPEVENT{size:1;}", "", "", waiting},
      {"x", "", "\n", waiting},
      {"x", "DROP TABLE events", "", no_table},
      {"x", "ALTER TABLE events RENAME COLUMN eventstring TO other", "", no_table},
      {"x", "DROP TABLE events; CREATE VIEW events AS SELECT 'x' AS eventstring", "", no_table},
  };
  const Scene scene;
  const fs::path spa = scene.root() / "spa.db";
  fs::create_directories(scene.root() / "other");
  for (const auto& [event, statements, pending, error] : rows) {
    fs::remove(spa);
    SpaDB::create_spa_database(scene.root().string(), 1, {"x", event, "x"});
    if (!statements.empty()) support::sqlite(spa, statements);
    support::write_text(scene.storage().product() / "pending_imports", pending);
    const Ended ended = scene.dry_run();
    EXPECT_EQ(ended.err, error);
    EXPECT_EQ(ended.exit_status, error.empty() ? 0 : 1);
    EXPECT_EQ(scene.dry_run(1, {"--FORCE_CONSISTENCY_ALL_IMAGE"}).exit_status, 0);
  }
  // The list of tables is whole, the events break off.
  SpaDB::create_spa_database((scene.root() / "other").string(), 1,
                             std::vector<std::string>(3000, "harmless"));
  const std::string whole = support::read_text(scene.root() / "other" / "spa.db");
  support::write_text(spa, whole.substr(0, 16384) + std::string(whole.size() - 16384, 'x'));
  EXPECT_EQ(scene.dry_run().err, no_table);
  fs::remove(spa);
  EXPECT_EQ(scene.dry_run().err, no_table);
}

TEST(DryRun, FullHostNameIsAskedForBeforeTheShortOne) {
  if (support::run({"unshare", "--uts", "true"}).exit_status != 0) GTEST_SKIP() << "not allowed";
  const Scene scene;
  scene.put("hosta", "p", {"hosta_1000_C1_F1.img"});
  scene.storage().list_image("hosta", "p", 1000, {1}, "dp_full");
  scene.script("tvdevinfo",
               "echo V dp_short 1 2 3 4 5 6 7 8 9 media1x\n"
               "echo V dp_full 1 2 3 4 5 6 7 8 9 MEDIA1.example.lan\n");
  const auto dry_run_on = [&](const std::string& host) {
    return scene.run_in_shell(
        "exec unshare --uts sh -c 'printf %s \"$0\" > /proc/sys/kernel/hostname; exec \"$@\"' " +
            host + " \"$@\"",
        {"--FORCE_DEDUPE_METADATA_CONSISTENCY", "--dry_run"});
  };
  EXPECT_EQ(lines_beginning(dry_run_on("media1.example.lan").out, "{").size(), 0U);
  EXPECT_EQ(lines_beginning(dry_run_on("media1.other.lan").out, "{").size(), 1U);
  EXPECT_TRUE(contains(dry_run_on(".odd").err, "cannot be determined from the hostname"));
  const Ended given = scene.dry_run(1, {"--tvr_disk_pool", "dp_full"});
  EXPECT_EQ(lines_beginning(given.out, "{").size(), 0U);
}

TEST(DryRun, RefusesToStartWithoutWhatItNeeds) {
  const Scene scene;
  const std::string catalog = (scene.root() / "catalog").string();
  const std::string admincmd = (scene.storage().product() / "tavrin/bin/admincmd").string();
  const std::string odd = (scene.root() / "a b").string();
  fs::create_directories(odd + "/tavrin/bin/admincmd");
  EXPECT_TRUE(contains(scene.dry_run(1, {"--tvr_location", odd}).err, "to the shell\n"));
  // What is done before, and the error.
  const std::string rows[][2] = {
      {"echo 'echo V9 dp 1 2 3 4 5 6 7 8 9 elsewhere' > " + admincmd + "/tvdevinfo",
       "The Tavrin disk pool name cannot be determined from the hostname.\n"
       "Use the --tvr_disk_pool option to specify the disk pool name.\n"},
      {"rm -r " + catalog,
       "ERROR: The Tavrin Deduplication Catalog directory (" + catalog + ") does not exist.\n"},
      {"rm -r " + admincmd,
       "ERROR: The Tavrin admincmd directory ( " + admincmd + " ) does not exist\n."},
  };
  for (const auto& [script, error] : rows) {
    support::run({"sh", "-c", script});
    const Ended ended = scene.dry_run();
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_EQ(ended.err, error);
  }
}

TEST(DryRun, ClosedStandardOutputDoesNotEndTheRun) {
  const Scene scene;
  sandbox::plant(scene.storage(), sandbox::Plan());
  // The reader goes away at once; what the program prints meets a broken pipe.
  const std::string fifo = (scene.root() / "pipe").string();
  const Ended ended =
      scene.run_in_shell("mkfifo " + fifo + "; true < " + fifo + " & \"$@\" > " + fifo,
                         {"--FORCE_DEDUPE_METADATA_CONSISTENCY", "--dry_run"});
  EXPECT_EQ(ended.exit_status, 0);
  EXPECT_TRUE(contains(scene.run_log(), "end: exit status 0")) << scene.run_log();
  EXPECT_TRUE(contains(scene.run_log(), "policy directories 6, failed 0")) << scene.run_log();
}

}  // namespace scenario::dry_run
