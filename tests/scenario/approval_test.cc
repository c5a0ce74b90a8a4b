#include "tests/scenario/scenario.h"

namespace scenario::approval {

const std::string k_approved = "--approved";

// The record of the only dry run so far.
fs::path dry_run_record(const Scene& scene) {
  for (const auto& entry : fs::directory_iterator(scene.storage().log_dir() / "mdfixup/runs")) {
    if (support::sqlite(entry.path(), "SELECT task FROM run") == "dry_run\n") return entry.path();
  }
  return {};
}

std::string of_deletion(const Scene& scene, const std::string& columns) {
  std::string text;
  for (const auto& entry : fs::directory_iterator(scene.storage().log_dir() / "mdfixup/runs")) {
    text +=
        support::sqlite(entry.path(), "SELECT " + columns + " FROM run WHERE task = 'deletion'");
  }
  return text;
}

Words names(const Scene& scene, const std::string& client) {
  const Words lines =
      lines_beginning(support::sqlite(scene.po_db(client, "p"),
                                      "SELECT substr(basename, instr(basename, '_')) FROM po"),
                      "");
  return {lines.begin(), lines.end()};
}

void put(const Scene& scene, const std::string& client, const Words& rests) {
  Words basenames;
  for (const std::string& rest : rests) basenames.push_back(client + rest);
  scene.put(client, "p", basenames);
}

// What happens to one client between a dry run, in which copy 7 of each is listed, and the deletion.
struct Change {
  std::string client;
  Words before;  // the POs, behind the client's name
  Words put;
  Words removed;
  std::vector<std::uint32_t> listed_before;  // copies at time 1000
  std::vector<std::uint32_t> listed_then;
  Words stay;
  std::vector<int> left;  // the copies that were not approved
};

TEST(Approval, NothingIsTakenThatTheDryRunDidNotAnnounce) {
  const std::string c1 = "_1000_C1_F1.img", c1_header = "_1000_C1_HDR.img", c2 = "_1000_C2_F1.img",
                    c10 = "_1000_C10_F1.img", c10_more = "_1000_C10_F2.img",
                    c100 = "_1000_C100_F1.img";
  const Change changes[] = {
      {"same", {c1, c2}, {}, {}, {2}, {}, {c2}, {}},
      {"fewer", {c1, c1_header}, {}, {c1_header}, {}, {}, {}, {}},
      {"fresh", {c1}, {c2}, {}, {}, {}, {c2}, {2}},
      {"listed", {c1, c2}, {}, {}, {}, {1}, {c1}, {}},
      {"grown", {c1}, {c1_header}, {}, {}, {}, {c1, c1_header}, {1}},
      // The pattern of copy 1 matches copy 10; the number of POs is as announced.
      {"swapped", {c1, c1_header}, {c10}, {c1_header}, {10}, {}, {c10, c1}, {1}},
      {"announced", {c1, c10}, {}, {}, {10}, {}, {}, {}},
      // What the first orphan was to take, it does not take any more, and nobody said that the next
      // one would.
      {"relisted", {c1, c10}, {}, {}, {}, {1}, {c10, c1}, {10}},
      {"chain", {c10, c100, c2}, {c10_more}, {}, {}, {}, {c100, c10, c10_more}, {10, 100}},
      {"gone", {c1, c2}, {}, {}, {}, {}, {}, {}},
  };
  for (const int threads : {1, 4}) {
    const Scene scene;
    const auto list = [&](const Change& change, const std::vector<std::uint32_t>& copies) {
      if (!copies.empty()) scene.storage().list_image(change.client, "p", 1000, copies);
    };
    for (const Change& change : changes) {
      put(scene, change.client, change.before);
      list(change, change.listed_before);
    }
    ASSERT_EQ(scene.dry_run(threads).exit_status, 0);
    const std::string run = dry_run_record(scene).stem().string();
    fs::remove_all(scene.storage().log_dir() / "metadata_consistency");
    Words left;
    for (const Change& change : changes) {
      put(scene, change.client, change.put);
      for (const std::string& rest : change.removed)
        support::sqlite(scene.po_db(change.client, "p"),
                        "DELETE FROM po WHERE basename = '" + change.client + rest + "'");
      list(change, change.listed_then);
      for (const int copy : change.left)
        left.push_back("Not approved, left: {client: " + change.client +
                       ", policy: p, backup_time: 1000, copy_number: " + std::to_string(copy) +
                       "}.\n");
    }
    std::sort(left.begin(), left.end());
    fs::remove_all(scene.storage().policy_dir("gone", "p").parent_path());
    expect_end(scene.run({support::k_deletion[0], k_approved, run, "--num_threads",
                          std::to_string(threads)}),
               0, "");
    for (const Change& change : changes) {
      Words expected;
      for (const std::string& rest : change.stay) expected.push_back(rest + "\n");
      if (change.client == "gone") continue;
      EXPECT_EQ(names(scene, change.client), expected) << change.client;
    }
    EXPECT_EQ(lines_beginning(scene.logs("OrphanImages_"), "Not approved, left: "), left);
    expect_parts(
        scene.run_log(),
        {" 6 orphan copies not approved, 4 approved copies that are no orphans any more\n"});
    EXPECT_EQ(of_deletion(scene,
                          "of_run, undo, orphan_copies, unapproved_copies, absent_copies, "
                          "(SELECT count(*) FROM orphan WHERE NOT deleted)"),
              run + "|saved|12|6|4|6\n");
    const Ended report = support::run({MDFIXUP_REPORT_PROGRAM, scene.storage().log_dir().string()});
    expect_parts(report.out, {" 0 orphan copies could not be deleted\n"});
    EXPECT_FALSE(contains(report.out, "its record lists")) << report.out;
    // Of a directory that failed, or was skipped, nobody knows.
    support::write_text(scene.po_db("same", "p"), "no database");
    const Ended again =
        scene.run({support::k_deletion[0], k_approved, run, "--except", "gone", "--except",
                   "chain/p", "--num_threads", std::to_string(threads)});
    EXPECT_EQ(again.exit_status, 1);
    expect_parts(scene.run_log(), {" 4 orphan copies not approved, 6 approved copies that are no "
                                   "orphans any more\n"});
  }
}

TEST(Approval, ThatDoesNotFitIsRefusedBeforeTheServicesAreLookedAt) {
  const Scene scene;
  put(scene, "hosta", {"_1000_C1_F1.img"});
  ASSERT_EQ(scene.dry_run().exit_status, 0);
  const fs::path original = dry_run_record(scene);
  const fs::path record = scene.root() / "record.db";
  const fs::path asked = scene.root() / "asked";
  const std::string tvprocs = (scene.storage().product() / "tavrin/bin/tvprocs").string();
  support::write_script(tvprocs, "touch " + asked.string() + "\n");
  const Words before = scene.pos();
  const std::string root = scene.root().string();
  // What is changed in the record, the options, and the error.
  const std::tuple<std::string, Words, std::string> rows[] = {
      {"UPDATE run SET task = 'deletion'", {}, "it is not of a dry run"},
      {"UPDATE run SET exit_status = 1", {}, "its run did not end with 0"},
      {"UPDATE run SET ending = 'none', exit_status = NULL", {}, "its run did not end with 0"},
      {"UPDATE run SET storage_root = '/x\n'", {}, "its storage root is /x\\n, not " + root},
      {"", {"--tvr_disk_pool", "other"}, "its disk pool is dp_sandbox, not other"},
      {"", {"--catalog_backup_time", "5"}, "its --catalog_backup_time is 0, not 5"},
      {"DROP TABLE made", {}, "its tables are not those of a record"},
      {"", {k_approved, "1-1"}, "/mdfixup/runs/1-1.db: unable to open database file"},
      {"", {k_approved, root}, root + "; it is no regular file"},
  };
  for (const auto& [change, options, error] : rows) {
    fs::copy_file(original, record, fs::copy_option::overwrite_if_exists);
    support::sqlite(record, change);
    Words words{support::k_deletion[0], k_approved, record.string()};
    words.insert(words.end(), options.begin(), options.end());
    const Ended ended = scene.run(words);
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(lines_beginning(ended.err, "ERROR: --approved: ").size(), 1U) << ended.err;
    EXPECT_TRUE(ends_with(ended.err, error + "\n")) << ended.err;
    EXPECT_FALSE(fs::exists(asked)) << error;
    EXPECT_EQ(scene.pos(), before) << error;
  }
  fs::copy_file(original, record, fs::copy_option::overwrite_if_exists);
  expect_end(scene.run({support::k_deletion[0], k_approved, record.string(), "--no_undo"}), 0, "");
  EXPECT_TRUE(fs::exists(asked));
  EXPECT_EQ(scene.pos(), Words());
  expect_parts(of_deletion(scene, "of_run, undo"), {"record|off\n"});
}

}  // namespace scenario::approval
