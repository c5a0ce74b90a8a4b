#include "tests/scenario/scenario.h"

namespace scenario::undo {

const std::string k_name = "mdfixup-undo: ";

// What the product's clients and policies hold, with every type that a column may have.
void plant(const Scene& scene) {
  for (const std::string client : {"hosta", "hostb", "hostc"}) {
    for (const std::string policy : {"p", "q"}) {
      Words names;
      for (int time = 1000; time < 1040; ++time) {
        names.push_back(client + "_" + std::to_string(time) + "_C1_F1.img");
        names.push_back(client + "_" + std::to_string(time) + "_C1_HDR.info");
      }
      scene.put(client, policy, names);
      support::sqlite(scene.po_db(client, policy),
                      "UPDATE po SET size = 1.5 WHERE rowid % 7 = 1; "
                      "UPDATE po SET size = 'many', mtime = x'00ff' WHERE rowid % 7 = 2; "
                      "UPDATE po SET poid = CAST(poid AS BLOB) WHERE rowid % 7 = 3; "
                      "UPDATE po SET poid = '', record = '' WHERE rowid % 7 = 4; "
                      "UPDATE po SET poid = 'a' || char(0) || 'b' WHERE rowid % 7 = 5; "
                      "UPDATE po SET basename = basename || x'ff0a' WHERE rowid % 7 = 6");
      if (client != "hostc") scene.storage().list_image(client, policy, 1000, {1});
    }
  }
}

// All rows of the catalog with their types, by directory; one without rows counts as none.
std::map<std::string, std::string> rows(const Scene& scene) {
  std::map<std::string, std::string> rows;
  for (const auto& entry : fs::recursive_directory_iterator(scene.root() / "catalog")) {
    if (entry.path().filename() != "po.db") continue;
    const std::string text =
        support::sqlite(entry.path(),
                        "SELECT hex(basename), hex(poid), quote(size), quote(mtime), hex(record), "
                        "typeof(basename), "
                        "typeof(poid), typeof(record) FROM po ORDER BY basename");
    if (!text.empty()) rows[entry.path().string()] = text;
  }
  return rows;
}

fs::path runs_dir(const Scene& scene) {
  return scene.storage().log_dir() / "mdfixup" / "runs";
}

// The id of the one run of a task.
std::string run_of(const Scene& scene, const std::string& task) {
  Words ids;
  for (const auto& entry : fs::directory_iterator(runs_dir(scene))) {
    if (entry.path().extension() != ".db") continue;
    if (support::sqlite(entry.path(), "SELECT task FROM run") != task + "\n") continue;
    ids.push_back(entry.path().stem().string());
  }
  EXPECT_EQ(ids.size(), 1U) << task;
  return ids.at(0);
}

// The line in the run log that sums up the restore.
std::string summary(const Scene& scene) {
  const std::string log = scene.run_log();
  const std::size_t begin = log.rfind("restore: ");
  return begin == std::string::npos ? "" : log.substr(begin + 9, log.find('\n', begin) - begin - 9);
}

class Undo : public testing::TestWithParam<const char*> {
 protected:
  Words restore(const Words& more) const {
    Words words{"restore", m_run, "--num_threads", GetParam()};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }
  void expect_summary(const Words& more, int exit_status, const std::string& text) const {
    const Ended ended = m_scene.undo(restore(more));
    EXPECT_EQ(ended.exit_status, exit_status) << ended.err;
    EXPECT_EQ(summary(m_scene), text) << ended.err << m_scene.logs("Restore_");
  }

  const Scene m_scene;
  std::string m_run;
};
INSTANTIATE_TEST_SUITE_P(Threads, Undo, testing::Values("1", "4"));

TEST_P(Undo, GivesADeletionsPOsBackInPartsAndAllOfThem) {
  plant(m_scene);
  const auto before = rows(m_scene);
  expect_end(m_scene.remove_orphans(), 0, "");
  const auto deleted = m_scene.snapshot();
  ASSERT_NE(rows(m_scene), before);
  m_run = run_of(m_scene, "deletion");

  expect_summary({"--dry_run"}, 0,
                 "472 POs restored (dry run), there already 0, symbolic links 0, not restored 0");
  EXPECT_EQ(m_scene.snapshot(), deleted);
  expect_summary({"--client", "hosta", "--policy=p"}, 0,
                 "78 POs restored, there already 0, symbolic links 0, not restored 0");
  expect_summary({"--client", "hosta"}, 0,
                 "78 POs restored, there already 78, symbolic links 0, not restored 0");
  const Ended none = m_scene.undo(restore({"--client", "HOSTA"}));
  expect_end(none, 1, "ERROR: the run changed nothing of this client and policy\n");
  // A database, and all of a client, that are made again; POs that are others by now.
  fs::remove(m_scene.po_db("hostb", "p"));
  fs::remove_all(m_scene.storage().policy_dir("hostc", "q").parent_path());
  const fs::path changed = m_scene.po_db("hosta", "q");
  support::sqlite(changed, "UPDATE po SET size = 3 WHERE rowid = 21");
  support::sqlite(
      changed,
      "UPDATE po SET poid = CAST(poid AS TEXT) WHERE rowid = (SELECT min(rowid) FROM po "
      "WHERE typeof(poid) = 'blob')");
  const std::string others = rows(m_scene)[changed.string()];
  expect_summary({"--dry_run"}, 1,
                 "316 POs restored (dry run), there already 154, symbolic links 0, not restored 2");
  expect_summary({}, 1, "316 POs restored, there already 154, symbolic links 0, not restored 2");
  EXPECT_EQ(rows(m_scene)[changed.string()], others);
  const std::string log = m_scene.logs("Restore_");
  EXPECT_EQ(lines_beginning(log, "Warning: another PO with the name hosta_").size(), 4U) << log;
  expect_parts(log, {"Restored 80 POs to " + m_scene.storage().policy_dir("hostc", "q").string() +
                     "; 0 were there already.\n"});
  support::sqlite(changed, "DELETE FROM po");
  expect_summary({}, 0, "78 POs restored, there already 394, symbolic links 0, not restored 0");

  auto now = rows(m_scene);
  for (const auto& [file, text] : before) {
    // These had POs that were no orphans and that nothing brings back.
    if (file == changed.string() || file == m_scene.po_db("hostb", "p").string()) continue;
    EXPECT_EQ(now[file], text) << file;
  }
  const auto restored = m_scene.snapshot();
  expect_summary({}, 0, "0 POs restored, there already 472, symbolic links 0, not restored 0");
  EXPECT_EQ(m_scene.snapshot(), restored) << "nothing is written";
}

}  // namespace scenario::undo
