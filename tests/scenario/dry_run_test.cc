#include "tests/scenario/scenario.h"

#include <ctime>

#include "podb/spadb.h"

namespace scenario::dry_run {

TEST(DryRun, ListsTwoDaysBeforeTheCatalogBackupAndReportsNamesThatDoNotParse) {
  const Scene scene;
  const std::int64_t now = std::time(nullptr);
  const std::string old = std::to_string(now - 90 * 86400);
  const std::string recent = std::to_string(now - 86400);
  const std::string zero("hosta\0_1", 8);
  Words names{"EVENT_1_C1_F1.img", "hosta_x_C1_F1.img", zero, "HostA_1_C1_F1.img"};
  for (const std::int64_t time : {now - 90 * 86400, now + 80000, now + 90000}) {
    names.push_back("hosta_" + std::to_string(time) + "_C1_F1.img");
    scene.list_image("hosta", "p", time, {1});
  }
  scene.put("hosta", "p", names);
  fs::create_directories(scene.policy_dir("hostb", "p"));  // without a database
  for (const char* client : {"hosta", "hostb"}) scene.list_image(client, "p", now - 86400, {1});
  const Ended ended = scene.dry_run(4, {"--catalog_backup_time", std::to_string(now - 3600)});
  EXPECT_EQ(ended.exit_status, 0);
  expect_parts(ended.out, {"\n\nImages that would be deleted:\n{"});
  EXPECT_EQ(lines_beginning(ended.out, "{"),
            Words{"{client: hosta, policy: p, backup_time: " + old + ", copy_number: 1}.\n"});
  EXPECT_EQ(sorted_lines(scene.logs("MissingImages_")),
            (Words{"backupid|client_name|policy_name|copy_num|\n",
                   "hosta_" + recent + "|hosta|p|1|\n", "hostb_" + recent + "|hostb|p|1|\n"}));
  const std::string begin = "ERROR: could not parse PO file name; ";
  const std::string end = "; dirname " + scene.policy_dir("hosta", "p").string() + "\n";
  const Words errors{
      begin + "bad lexical cast: source type value could not be interpreted as target" + end,
      begin + zero + " has too few underscores" + end,
      begin + "the client directory name hosta does not match the case of HostA" + end};
  EXPECT_EQ(lines_beginning(scene.logs("OrphanImages_"), begin), errors);
  expect_parts(
      scene.run_log(),
      {"PO file name hosta_x_C1_F1.img; dirname",
       "/hosta/p has copies that are newer than this host's clock",
       " 1 of 3 copies are newer than this host's clock",
       " disk pool dp_sandbox, found by the host name; the listing reaches back 50 hours\n"});
}

TEST(DryRun, PendingImportsRejectTheRun) {
  const std::string waiting =
      "Some images are waiting to be imported, Please run again after import job completed!\n"
      "If you decide to delete the metadata for all images, Please refer to "
      "--FORCE_CONSISTENCY_ALL_IMAGE option.\n";
  const std::string no_table = "ERROR: Failed to get the events table in SpaDB\n";
  // An event, the damage to the database, the product's pending imports, and the error.
  const std::string rows[][4] = {
      {"IMAGEREPEVENT{ size:1", ".tables", "", ""},
      {"at IMAGEREPEVENT{size:1;}", ".tables", "", waiting},
      {"x", ".tables", "\n", waiting},
      {"x", "DROP TABLE events", "", no_table},
      {"x", "ALTER TABLE events RENAME COLUMN eventstring TO other", "", no_table},
      {"x", "DROP TABLE events; CREATE VIEW events AS SELECT 'x' AS eventstring", "", no_table},
      // The list of tables is readable, the events are not.
      {std::string(100000, 'x'), ".shell yes | dd of=spa.db bs=4096 seek=4 count=4 conv=notrunc",
       "", no_table},
      {"x", ".shell rm spa.db", "", no_table},
  };
  const Scene scene;
  for (const auto& [event, damage, pending, error] : rows) {
    fs::remove(scene.root() / layout::k_spa_database);
    SpaDB::create_spa_database(scene.root().string(), {"x", event, "x"});
    scene.sh("sqlite3 spa.db \"" + damage + "\"");
    write_text(scene.product() / "pending_imports", pending);
    expect_end(scene.dry_run(), error.empty() ? 0 : 1, error);
    EXPECT_EQ(scene.dry_run(1, {"--FORCE_CONSISTENCY_ALL_IMAGE"}).exit_status, 0);
  }
}

TEST(DryRun, IsRejectedIfTheProductOrTheMetadataTreeIsIncomplete) {
  const Scene scene;
  const std::string root = scene.root().string();
  scene.sh("mkdir -p 'a b/tavrin/bin/admincmd'");
  expect_parts(scene.dry_run(1, {"--tvr_location", root + "/a b"}).err, {"to the shell\n"});
  const std::string died = "Aborting with error:  the pipe command did not exit\n";
  // A script that runs before, and the error.
  const std::string rows[][2] = {
      // Death by a signal, direct or as the shell reports it, is no empty answer.
      {"echo 'exit 143' > quorv/tavrin/bin/admincmd/tvdevinfo", died},
      {"echo 'echo V9 dp 1 2 3 4 5 6 7 8 9 elsewhere' > quorv/tavrin/bin/admincmd/tvdevinfo",
       "The Tavrin disk pool name cannot be determined from the hostname.\n"
       "Use the --tvr_disk_pool option to specify the disk pool name.\n"},
      {"echo 'kill -PIPE $$' > quorv/tavrin/bin/admincmd/tvlifecycle", died},
      {"rm -r quorv/tavrin/bin/admincmd", "ERROR: The Tavrin admincmd directory ( " + root +
                                              "/quorv/tavrin/bin/admincmd ) does not exist\n."},
  };
  for (const auto& [script, error] : rows) {
    scene.sh(script);
    expect_end(scene.dry_run(), 1, error);
    if (contains(error, "--tvr_disk_pool"))
      expect_end(scene.dry_run(1, {"--tvr_disk_pool=x"}), 0, "");
  }
}

}  // namespace scenario::dry_run
