#include "tests/scenario/scenario.h"

#include <boost/format.hpp>

namespace scenario::undo {

const std::string k_name = "mdfixup-undo: ";

// Fills directories with POs, with every type that a column may have.
void fill(const Scene& scene) {
  for (const std::string client : {"hosta", "hostb", "hostc"}) {
    for (const std::string policy : {"p", "q"}) {
      Words names;
      for (int time = 1000; time < 1040; ++time) {
        names.push_back(client + "_" + std::to_string(time) + "_C1_F1.img");
        names.push_back(client + "_" + std::to_string(time) + "_C1_HDR.info");
      }
      scene.put(client, policy, names);
      scene.sql(client, policy,
                "UPDATE po SET size = 1.5 WHERE rowid % 7 = 1; "
                "UPDATE po SET size = 'many', mtime = x'00ff' WHERE rowid % 7 = 2; "
                "UPDATE po SET poid = CAST(poid AS BLOB) WHERE rowid % 7 = 3; "
                "UPDATE po SET poid = '', record = '' WHERE rowid % 7 = 4; "
                "UPDATE po SET poid = 'a' || char(0) || 'b' WHERE rowid % 7 = 5; "
                "UPDATE po SET basename = basename || x'ff0a' WHERE rowid % 7 = 6");
      if (client != "hostc") scene.list_image(client, policy, 1000, {1});
    }
  }
}

// The rows of the metadata tree with their types, by directory. Empty databases are left out.
std::map<std::string, std::string> rows(const Scene& scene) {
  std::map<std::string, std::string> rows;
  for (const auto& entry : fs::recursive_directory_iterator(scene.tree_dir())) {
    if (entry.path().filename() != layout::k_po_database) continue;
    const std::string text =
        sqlite(entry.path(),
               "SELECT quote(basename), typeof(poid), hex(poid), quote(size), quote(mtime), "
               "quote(record) FROM po ORDER BY basename");
    if (!text.empty()) rows[entry.path().string()] = text;
  }
  return rows;
}

class Undo : public testing::TestWithParam<const char*> {
 protected:
  Ended restore(const Words& more) const {
    return m_scene.undo(joined({"restore", m_run, "--num_threads", GetParam()}, more));
  }
  // Expects the end of a restore, and the counts in its line of the run log.
  void expect_restore(const Words& more, int pos, int there_already, int links, int failed) const {
    const bool is_dry = more == Words{"--dry_run"};
    const Ended ended = restore(more);
    EXPECT_EQ(ended.exit_status, failed == 0 ? 0 : 1) << ended.err;
    const std::string log = m_scene.run_log();
    const auto counts =
        boost::format(
            "%1% POs restored%2%, there already %3%, symbolic links %4%, not restored %5%\n") %
        pos % (is_dry ? " (dry run)" : "") % there_already % links % failed;
    EXPECT_TRUE(starts_with(log.substr(log.rfind("restore: ")), "restore: " + counts.str()))
        << counts << log << m_scene.logs("Restore_");
  }

  const Scene m_scene;
  std::string m_run;
};
INSTANTIATE_TEST_SUITE_P(Threads, Undo, testing::Values("1", "4"));

TEST_P(Undo, PutsBackADeletionInPartsAndAsAWhole) {
  fill(m_scene);
  const auto before = rows(m_scene);
  expect_end(m_scene.remove_orphans(), 0, "");
  const auto deleted = m_scene.snapshot();
  ASSERT_NE(rows(m_scene), before);
  m_run = id_of(m_scene, "deletion");

  expect_restore({"--dry_run"}, 472, 0, 0, 0);
  EXPECT_EQ(m_scene.snapshot(), deleted);
  expect_restore({"--client", "hosta", "--policy=p"}, 78, 0, 0, 0);
  expect_restore({"--client", "hosta"}, 78, 78, 0, 0);
  expect_end(restore({"--client", "HOSTA"}), 1,
             "ERROR: the run changed nothing of this client and policy\n");
  // A database and a client that it makes again, and POs that were replaced by others.
  fs::remove(m_scene.po_db("hostb", "p"));
  fs::remove_all(m_scene.policy_dir("hostc", "q").parent_path());
  const fs::path changed = m_scene.po_db("hosta", "q");
  sqlite(changed, "UPDATE po SET size = 3 WHERE rowid = 21");
  sqlite(changed,
         "UPDATE po SET poid = CAST(poid AS TEXT) WHERE rowid = (SELECT min(rowid) FROM po "
         "WHERE typeof(poid) = 'blob')");
  const std::string others = rows(m_scene)[changed.string()];
  expect_restore({"--dry_run"}, 316, 154, 0, 2);
  expect_restore({}, 316, 154, 0, 2);
  EXPECT_EQ(rows(m_scene)[changed.string()], others);
  const std::string log = m_scene.logs("Restore_");
  EXPECT_EQ(lines_beginning(log, "Warning: another PO with the name hosta_").size(), 4U) << log;
  expect_parts(log, {"Restored 80 POs to " + m_scene.policy_dir("hostc", "q").string() +
                     "; 0 were there already.\n"});
  sqlite(changed, "DELETE FROM po");
  expect_restore({}, 78, 394, 0, 0);

  auto now = rows(m_scene);
  for (const auto& [file, text] : before) {
    // These also lost POs that were no orphans.
    if (file == changed.string() || file == m_scene.po_db("hostb", "p").string()) continue;
    EXPECT_EQ(now[file], text) << file;
  }
  const auto restored = m_scene.snapshot();
  expect_restore({}, 0, 472, 0, 0);
  EXPECT_EQ(m_scene.snapshot(), restored) << "nothing is written";
}

// Every path in the metadata tree, with the targets of links.
Words tree(const Scene& scene) {
  const std::string root = scene.tree_dir().string();
  return sorted_lines(sandbox::run({"find", root, "-printf", "%y %P %l\\n"}).out);
}

TEST_P(Undo, MovesThePOsOfARepairBackAndRemovesWhatItMade) {
  m_scene.put("hosta", "p",
              {"hosta_1_C1_F1.img", "HostA_1_C1_F1.img", "HostA_2_C1_F1.img", "HOSTA_3_C1_F1.img",
               "HOSTA_4_C1_F1.img"});
  m_scene.put("hosta", "q", {"HostA_5_C1_F1.img", "HostA_6_C1_F1.img"});
  m_scene.put("HostA", "p", {"HostA_9_C1_F1.img", "hosta_9_C1_F1.img", "HostA_2_C1_F1.img"});
  // The repair replaces a PO with the same POID, even if its size differs.
  for (const char* client : {"hosta", "HostA"})
    m_scene.sql(client, "p",
                "UPDATE po SET poid = 'same', size = size + " + std::to_string(client[0]) +
                    " WHERE basename LIKE 'HostA_2%'");
  m_scene.sh("ln -s hosta catalog/2/linked; ln -s ../nowhere catalog/2/hosta/p/gone");
  const Words tree_before = tree(m_scene);
  const auto before = rows(m_scene);
  expect_end(m_scene.repair(), 0, "");
  const auto repaired = m_scene.snapshot();
  ASSERT_NE(tree(m_scene), tree_before);
  m_run = id_of(m_scene, "repair");

  expect_restore({"--dry_run"}, 7, 0, 2, 0);
  EXPECT_EQ(m_scene.snapshot(), repaired);
  expect_restore({"--client", "HostA", "--policy", "p"}, 1, 0, 0, 0);
  // An interrupted restore, a lost PO, other POs in its place, and a later PO.
  const auto db = [&](const char* client, const char* policy) {
    return m_scene.po_db(client, policy);
  };
  const std::string kept = read_text(db("HostA", "p"));
  m_scene.sql(
      "hosta", "q",
      "ATTACH '" + db("HostA", "q").string() + "' AS t; INSERT INTO po SELECT * FROM t.po LIMIT 1");
  m_scene.sql("HostA", "p", "DELETE FROM po WHERE basename LIKE 'HostA_2%'");
  m_scene.put("HOSTA", "p", {"HOSTA_7_C1_F1.img"});
  m_scene.sql("hosta", "p",
              "ATTACH '" + db("HOSTA", "p").string() +
                  "' AS t; INSERT INTO po SELECT basename, poid, size + 1, mtime, record FROM t.po "
                  "WHERE basename LIKE 'HOSTA_3%'");
  m_scene.sh("touch catalog/2/linked");
  expect_restore({"--dry_run"}, 3, 2, 1, 3);
  expect_restore({}, 3, 2, 1, 3);
  const std::string log = m_scene.logs("Restore_");
  for (const std::string warning : {"another PO with the name HOSTA_3_C1_F1.img is in ",
                                    "the PO HostA_2_C1_F1.img is neither in ",
                                    "something else is in the place of the symbolic link "})
    EXPECT_EQ(lines_beginning(log, "Warning: " + warning).size(), 2U) << log;

  m_scene.sql("hosta", "p", "DELETE FROM po WHERE basename LIKE 'HOSTA_3%'");
  m_scene.sql("HOSTA", "p", "DELETE FROM po WHERE basename LIKE 'HOSTA_7%'");
  write_text(db("HostA", "p"), kept);
  m_scene.sql("HostA", "p", "DELETE FROM po WHERE basename LIKE 'HostA_1_%'");
  m_scene.sh("rm catalog/2/linked");
  expect_restore({}, 2, 5, 1, 0);
  EXPECT_EQ(rows(m_scene), before);
  EXPECT_EQ(tree(m_scene), tree_before);
  expect_restore({}, 0, 7, 0, 0);
}

// The record names no path outside, but links in the metadata tree lead there.
TEST_P(Undo, OfARepairDoesNotFollowLinks) {
  m_scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
  m_scene.sh("ln -s ../../outside catalog/2/gate");
  expect_end(m_scene.repair(), 0, "");
  m_run = id_of(m_scene, "repair");
  m_scene.sh("mkdir -p outside/p; cp catalog/2/hosta/p/po.db outside/p; sqlite3 log/mdfixup/runs/" +
             m_run +
             ".db \"INSERT INTO link VALUES (NULL, '2/gate/other', '/etc', 1); "
             "INSERT INTO made VALUES (NULL, '2/gate/p'), (NULL, '2/gate/p/po.db')\"");
  const auto outside = [&] {
    return sandbox::run({"find", (m_scene.root() / "outside").string(), "-ls"}).out;
  };
  const std::string before = outside();
  expect_restore({}, 1, 0, 1, 1);
  expect_restore({}, 0, 1, 0, 1);
  EXPECT_EQ(outside(), before);
}

// The removal of a journal commits: a crash must leave each PO in at least one of the two. A journal must
// not come back without its database.
TEST(Undo, OfARepairCommitsTheSourceBeforeTheTarget) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
  expect_end(scene.repair(), 0, "");
  const std::string undo = MDFIXUP_UNDO_PROGRAM " restore " + id_of(scene, "repair");
  (void)scene.run_in_shell(
      k_strace + "-y -e unlink,fsync " + undo + " --tvr_location " + scene.product().string(), {});
  expect_in_order(read_text(scene.root() / "trace"),
                  {"/hosta/p/po.db-journal\") = 0", "/HostA/p/po.db-journal\") = 0",
                   "/HostA/p>) = 0", "/HostA/p/po.db\") = 0"});
}

// Runs a deletion that takes two POs. Returns its id.
std::string delete_two(const Scene& scene) {
  put_own(scene, {"hosta"}, {"_1000_C1_F1.img", "_1000_C1_HDR.info"});
  expect_end(scene.remove_orphans(), 0, "");
  return id_of(scene, "deletion");
}

// A changed copy of the deletion's record.
std::string changed(const Scene& scene, const std::string& statement) {
  const fs::path copy = scene.root() / "1-1.db";
  fs::copy_file(records_of(scene, "deletion").at(0), copy, fs::copy_option::overwrite_if_exists);
  sqlite(copy, statement);
  return copy.string();
}

TEST(Undo, RejectsRunsThatCannotBeUndone) {
  const Scene scene;
  const std::string id = delete_two(scene);
  expect_end(scene.scan(), 0, "");
  const std::string scanned = id_of(scene, "scan");
  const std::string tree = scene.tree_dir().string();
  const std::string cannot = "ERROR: the run 1-1 cannot be undone: ";
  const std::string missing =
      "ERROR: The Tavrin Deduplication Catalog directory (" + tree + ") does not exist.\n";
  // The change of the record, or a shell script after "$ "; the run, or empty for the changed record;
  // the error.
  const std::string rows[][3] = {
      {"", scanned, "ERROR: the run " + scanned + " cannot be undone: it changed nothing\n"},
      {"", "7-7", k_name + "7-7: is no record of a run, and no run has this id\n"},
      {"", "etc", k_name + "etc: is no record of a run, and no run has this id\n"},
      {"UPDATE run SET undo = 'off'", "", cannot + "it ran with --no_undo and saved nothing\n"},
      {"DELETE FROM saved", "", cannot + "it has saved nothing\n"},
      {"UPDATE run SET storage_root = '/srv/other'", "",
       cannot + "it was on the storage /srv/other, and the configured one is " +
           scene.root().string() + "\n"},
      {"UPDATE client_policy SET client = '..'", "",
       "Aborting with error:  the record names a path that is not below the catalog: ..\n"},
      {"$ mv catalog zelp-database-caseconv", id,
       missing + "The repair is not finished: the catalog is at "},
      {"$ mv zelp-database-caseconv elsewhere", id, missing},
      {"$ mv elsewhere catalog; mv quorv quorv.gone", id,
       "The provided Tavrin install location ( "},
      {"$ mv quorv.gone quorv; touch mdfixup.lock", id, "Refusing to run because the lock file "},
  };
  for (const auto& [change, named, err] : rows) {
    const bool is_script = starts_with(change, "$ ");
    if (is_script) scene.sh(change.substr(2));
    const std::string run = named.empty() ? changed(scene, change) : named;
    const auto before = scene.snapshot();
    for (const Words& words : {Words{"restore", run}, Words{"restore", run, "--dry_run"}}) {
      const Ended ended = scene.undo(words);
      EXPECT_EQ(ended.exit_status, 1) << ended.err;
      EXPECT_EQ(ended.err.substr(0, err.size()), err);
      EXPECT_EQ(scene.snapshot(), before) << err;
    }
  }
  const std::pair<Words, std::string> lines[] = {
      {{"undo"}, "unrecognised command 'undo'"},
      {{"--dry_run"}, "a command is missing: list, show, restore or forget"},
      {{"restore"}, "restore: the run is missing"},
      {{"show", ""}, "show: the run is missing"},
      {{"list", id}, "unexpected argument '" + id + "'"},
      {{"forget", id, "--client", "hosta"},
       "--client, --policy and --dry_run go with restore alone"},
      {{"restore", id, "--client="},
       "the argument for option '--client' should follow immediately after the equal sign"},
      {{"--num_threads", "1025", "list"},
       "the argument ('1025') for option '--num_threads' is out of range, which is 0 to 1024"},
      {{"restore", id, "--force"}, "unrecognised option '--force'"},
  };
  for (const auto& [words, err] : lines) {
    const Ended ended = scene.undo(words);
    expect_end(ended, 1, k_name + err + "\n");
    EXPECT_EQ(ended.out, "");
  }
}

TEST(Undo, ListsShowsAndForgets) {
  const Scene scene;
  const std::string id = delete_two(scene);
  const fs::path record = records_of(scene, "deletion").at(0);
  const std::string title = "Run: " + id + "\nStorage root: " + scene.root().string() +
                            "\nSaved: 2 POs; the record takes ";
  expect_parts(scene.undo({"show", id}).out,
               {title, "\nClient  Policy  POs saved  ", "\nhosta   p               2  "});
  expect_parts(
      scene.undo({"show", changed(scene, "UPDATE client_policy SET client = char(27)")}).out,
      {"\\x1b    p               2  "});
  scene.sh("rm 1-1.db");
  const auto list = [&] { return scene.undo({"list"}).out; };
  expect_parts(list(), {"Run ", id + "  deletion ", "  2 POs  "});
  EXPECT_EQ(scene.undo({"restore", id, "--client", "hosta"}).exit_status, 0);
  expect_parts(list(), {"  undone in part by "});
  EXPECT_EQ(scene.undo({"restore", record.string()}).exit_status, 0);
  expect_parts(list(), {"  undone by "});

  // Many POs, whose space is freed.
  sqlite(record,
         "WITH RECURSIVE n(i) AS (SELECT 3 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
         "INSERT INTO saved SELECT 4294967296 + i, i, '', 0, 0, randomblob(500) FROM n");
  expect_parts(list(), {"3,000 POs"});
  const auto bytes = fs::file_size(record);
  for (int i = 0; i < 2; ++i) {
    const Ended forgotten = scene.undo({"forget", id});
    expect_end(forgotten, 0, "");
    expect_parts(forgotten.out, {"The run " + id + " can no longer be undone; "});
  }
  EXPECT_LT(fs::file_size(record) * 10, bytes);
  EXPECT_FALSE(fs::exists(record.string() + "-wal"));
  EXPECT_EQ(list(), "No run can be undone.\n");
  const std::string why = " cannot be undone: what it had saved was removed by forget\n";
  expect_parts(scene.undo({"show", id}).out, {"\nIt" + why});
  expect_end(scene.undo({"restore", id}), 1, "ERROR: the run " + id + why);
  const Ended report = sandbox::run({MDFIXUP_REPORT_PROGRAM, record.string()});
  expect_end(report, 0, "");
  expect_parts(report.out, {"hosta"});
}

}  // namespace scenario::undo
