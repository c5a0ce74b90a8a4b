#include "tests/scenario/scenario.h"

namespace scenario::scan {

const std::string k_issues =
    "\tThe deduplication metadata has client name case-sensitivity issues.\n\n"
    "\tPlease refer to the deduplication documentation and the help output of this tool\n"
    "\t(the -h and --help options) for more details and repair options.\n";

TEST(Scan, ReportsUnreadableDirectoriesAndGoesOn) {
  const std::string foreign = "not a path-object database";
  // Policy, status, and the damage to its database (".shell" runs a command).
  const std::string rows[][3] = {
      {"no_table", foreign, "DROP TABLE po"},
      {"trigger", foreign, "CREATE TRIGGER t AFTER DELETE ON po BEGIN DELETE FROM po; END"},
      {"view", foreign, "DROP TABLE po; CREATE VIEW po AS SELECT 'x' AS basename"},
      {"index", foreign, "CREATE INDEX i ON po (poid)"},
      {"table", foreign, "CREATE TABLE more (x)"},
      {"column", foreign,
       "PRAGMA writable_schema = 1; UPDATE sqlite_schema SET sql = replace(sql, 'mtime', 'ctime')"},
      {"utf16", foreign,
       ".shell (echo 'PRAGMA encoding=UTF16;'; sqlite3 po.db .dump) | sqlite3 n; mv n po.db"},
      {"write_ahead_log", "database has a write-ahead log", "PRAGMA journal_mode = wal"},
      {"stray_log", "database has a write-ahead log", ".shell cp po.db po.db-wal"},
      {"newer", "database has a newer version", "PRAGMA user_version = 2"},
      {"garbage", foreign, ".shell yes | head -c 5000 > po.db"},
      {"cut_short", "database is damaged", ".shell truncate -s 8192 po.db"},
      {"folder", "database cannot be opened", ".shell rm po.db && mkdir po.db"},
      {"link_to_unfinished", "database was left in the middle of a change",
       ".shell mv po.db real; ln -s real po.db; echo > real-journal"},
      {"dangling_link", "database cannot be opened", ".shell ln -sf /no/such po.db"},
  };
  const Scene scene;
  Words basenames;
  for (int i = 0; i < 300; ++i) basenames.push_back("hosta_" + std::to_string(i) + "_C1_F1.img");
  Words expected;
  for (const auto& [policy, status, damage] : rows) {
    scene.put("hosta", policy, basenames);
    scene.sh("cd catalog/2/hosta/" + policy + " && sqlite3 po.db \"" + damage + "\"");
    expected.push_back("ERROR (" + status + "): could not read the deduplication metadata for " +
                       scene.policy_dir("hosta", policy).string() + "\n");
  }
  std::sort(expected.begin(), expected.end());
  // Only the leading characters of names count.
  scene.put("right", "p",
            {"right_1_C1_F1.img", "right", "other_1_C1_F1.img", "EVENT_1", "Rig", ""});
  scene.put("mixed", "p", {"mixed_1_C1_F1.img", "Mixed_1_C1_F1.img"});
  scene.put("longer", "p", {"LongerName_1_C1_F1.img[R]"});
  scene.put("whole", "p", {"WHOLE"});
  // Valid schemas: after a dropped table, with another page size, and in another spelling with
  // statistics.
  scene.sh(
      "cd catalog/2; sqlite3 longer/p/po.db 'CREATE TABLE gone (x); DROP TABLE gone';"
      "sqlite3 whole/p/po.db 'PRAGMA page_size = 1024; VACUUM'");
  scene.sh(
      "mkdir -p catalog/2/hostb/without_database; cd catalog/2/mixed/p;"
      "(sqlite3 po.db .dump | sed 's/CREATE TABLE po/create table [po] --\\n/';"
      "echo 'PRAGMA user_version = 1; ANALYZE;') | sqlite3 n && mv n po.db");
  Words clients;
  for (const std::string client : {"longer", "mixed", "whole"})
    clients.push_back("Client " + client + " has name case-sensitivity issues.\n");
  const auto before = scene.snapshot();
  for (const int threads : {1, 4}) {
    const Ended ended = scene.scan(threads);
    EXPECT_EQ(ended.exit_status, 255);
    EXPECT_EQ(lines_beginning(ended.err, "ERROR"), expected);
    expect_parts(ended.err, {"The scan is incomplete: 15 policy directories could not be read.\n"});
    EXPECT_EQ(lines_beginning(ended.out, "Client "), clients);
    EXPECT_TRUE(ends_with(ended.out, k_issues)) << ended.out;
    const std::string log = scene.logs("client_names_with_case_sensitivity_issues.");
    expect_parts(log, expected);
    expect_parts(log, clients);
    const std::string unreadable = "-f -P $PWD/catalog/2/hosta -e inject=getdents64:error=EIO ";
    expect_failure(
        scene.run_in_shell(
            k_strace + unreadable + "\"$@\" --num_threads " + std::to_string(threads), k_scan),
        {"Aborting with error:  could not read"});
  }
  fs::remove(scene.root() / "trace");
  EXPECT_EQ(scene.snapshot(), before);
}

}  // namespace scenario::scan
