#include "tests/scenario/scenario.h"

namespace scenario::approval {

const std::string k_approved = "--approved";

// What happens to one client between a dry run, in which copy 7 of each is listed, and the deletion.
struct Change {
  std::string client;
  Words before;  // the POs, without the client's name
  Words put;
  Words removed;
  std::vector<std::uint32_t> listed_before;  // copies at time 1000
  std::vector<std::uint32_t> listed_then;
  Words stay;
  Words left;  // copies that were not approved
};

TEST(Approval, DeletesOnlyWhatTheDryRunListed) {
  const std::string c1 = "_1000_C1_F1.img", c1_header = "_1000_C1_HDR.img", c2 = "_1000_C2_F1.img",
                    c10 = "_1000_C10_F1.img", c10_more = "_1000_C10_F2.img",
                    c100 = "_1000_C100_F1.img";
  const Change changes[] = {
      {"same", {c1, c2}, {}, {}, {2}, {}, {c2}, {}},
      {"fewer", {c1, c1_header}, {}, {c1_header}, {}, {}, {}, {}},
      {"fresh", {c1}, {c2}, {}, {}, {}, {c2}, {"2"}},
      {"listed", {c1, c2}, {}, {}, {}, {1}, {c1}, {}},
      {"grown", {c1}, {c1_header}, {}, {}, {}, {c1, c1_header}, {"1"}},
      // The pattern of copy 1 matches copy 10; the number of POs is as announced.
      {"swapped", {c1, c1_header}, {c10}, {c1_header}, {10}, {}, {c10, c1}, {"1"}},
      {"announced", {c1, c10}, {}, {}, {10}, {}, {}, {}},
      // The PO that the first orphan would take is the second orphan's now, which was not listed.
      {"relisted", {c1, c10}, {}, {}, {}, {1}, {c10, c1}, {"10"}},
      // The backup catalog has a copy again whose PO the first orphan would take.
      {"restored", {c1, c10}, {}, {}, {}, {10}, {c10, c1}, {"1"}},
      {"chain", {c10, c100, c2}, {c10_more}, {}, {}, {}, {c100, c10, c10_more}, {"10", "100"}},
      {"gone", {c1, c2}, {}, {}, {}, {}, {}, {}},
  };
  for (const int threads : {1, 4}) {
    const Scene scene;
    for (const Change& change : changes) {
      put_own(scene, {change.client}, change.before);
      scene.list_image(change.client, "p", 1000, change.listed_before);
    }
    ASSERT_EQ(scene.dry_run(threads).exit_status, 0);
    const std::string run = id_of(scene, "dry_run");
    remove_reports(scene);
    Words left;
    for (const Change& change : changes) {
      put_own(scene, {change.client}, change.put);
      for (const std::string& rest : change.removed)
        scene.sql(change.client, "p",
                  "DELETE FROM po WHERE basename = '" + change.client + rest + "'");
      scene.list_image(change.client, "p", 1000, change.listed_then);
      for (const std::string& copy : change.left)
        left.push_back("Not approved, left: {client: " + change.client +
                       ", policy: p, backup_time: 1000, copy_number: " + copy + "}.\n");
    }
    // The dry run listed nothing of another spelling of the DSID, which is walked too.
    scene.sh("mkdir -p catalog/02/same; cp -r catalog/2/same/p catalog/02/same");
    left.push_back(
        "Not approved, left: {client: same, policy: p, backup_time: 1000, copy_number: 1}.\n");
    std::sort(left.begin(), left.end());
    fs::remove_all(scene.policy_dir("gone", "p").parent_path());
    const Words words = joined({k_approved, run}, threads == 4 ? k_one_listing : Words());
    expect_end(scene.remove_orphans(threads, words), 0, "");
    for (const Change& change : changes) {
      if (change.client == "gone") continue;
      std::string expected;
      for (const std::string& rest : change.stay) expected += change.client + rest + "\n";
      EXPECT_EQ(scene.sql(change.client, "p", "SELECT basename FROM po ORDER BY 1"), expected);
    }
    EXPECT_EQ(lines_beginning(scene.logs("OrphanImages_"), "Not approved, left: "), left);
    EXPECT_EQ(rows_of(scene, "deletion",
                      "of_run, undo, orphan_copies, unapproved_copies, absent_copies, "
                      "(SELECT count(*) FROM orphan WHERE NOT deleted) FROM run"),
              Words{run + "|saved|14|8|5|8\n"});
    const Ended report = sandbox::run({MDFIXUP_REPORT_PROGRAM, scene.log_dir().string()});
    expect_parts(report.out, {" 0 orphan copies could not be deleted\n"});
    EXPECT_FALSE(contains(report.out, "its record lists")) << report.out;
    // Copies of a directory that failed or was skipped are not counted.
    write_text(scene.po_db("same", "p"), "no database");
    const Words except{"--except", "gone", "--except", "chain/p"};
    EXPECT_EQ(scene.remove_orphans(threads, joined(words, except)).exit_status, 1);
    expect_parts(scene.run_log(), {" 6 orphan copies not approved, 7 approved copies that are no "
                                   "orphans any more\n"});
  }
}

TEST(Approval, ThatDoesNotFitIsRejectedBeforeTheServicesAreChecked) {
  const Scene scene;
  put_own(scene, {"hosta"}, {"_1000_C1_F1.img"});
  ASSERT_EQ(scene.dry_run().exit_status, 0);
  const fs::path original = records_of(scene, "dry_run").at(0);
  const fs::path record = scene.root() / "record.db";
  const fs::path asked = scene.root() / "asked";
  write_script(scene.product() / "tavrin/bin/tvprocs", "touch " + asked.string());
  const Words before = scene.pos();
  const std::string root = scene.root().string();
  // The change of the record, the options, and the error.
  const std::tuple<std::string, Words, std::string> rows[] = {
      {"UPDATE run SET task = 'deletion'", {}, "it is not of a dry run"},
      {"UPDATE run SET exit_status = 1", {}, "its run did not end with 0"},
      {"UPDATE run SET ending = 'none', exit_status = NULL", {}, "its run did not end with 0"},
      {"UPDATE run SET storage_root = '/x\n'", {}, "its storage root is /x\\n, not " + root},
      {"", {"--tvr_disk_pool", "other"}, "its disk pool is dp_sandbox, not other"},
      {"", {"--catalog_backup_time", "5"}, "its --catalog_backup_time is 0, not 5"},
      {"", {k_approved, "1-1"}, "/mdfixup/runs/1-1.db: unable to open database file"},
      {"", {k_approved, root}, root + "; it is no regular file"},
  };
  for (const auto& [change, options, error] : rows) {
    fs::copy_file(original, record, fs::copy_option::overwrite_if_exists);
    sqlite(record, change);
    const Ended ended = scene.remove_orphans(1, joined({k_approved, record.string()}, options));
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(lines_beginning(ended.err, "ERROR: --approved: ").size(), 1U) << ended.err;
    EXPECT_TRUE(ends_with(ended.err, error + "\n")) << ended.err;
    EXPECT_FALSE(fs::exists(asked)) << error;
    EXPECT_EQ(scene.pos(), before) << error;
  }
  expect_end(scene.remove_orphans(1, {k_approved, record.string(), "--no_undo"}), 0, "");
  EXPECT_TRUE(fs::exists(asked));
  EXPECT_EQ(scene.pos(), Words());
  EXPECT_EQ(rows_of(scene, "deletion", "of_run, undo FROM run WHERE exit_status = 0"),
            Words{"record|off\n"});
}

}  // namespace scenario::approval
