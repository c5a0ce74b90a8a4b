#include "tests/scenario/scenario.h"

#include "sandbox/planter.h"

namespace scenario::scan {

const std::string k_issues =
    "\tThe deduplication metadata has client name case-sensitivity issues.\n\n"
    "\tPlease refer to the deduplication documentation and the help output of this tool\n"
    "\t(the -h and --help options) for more details and repair options.\n";

TEST(Scan, AndDryRunReportExactlyWhatWasPlantedAndChangeNothing) {
  const Scene scene;
  sandbox::Plan plan;
  plan.clients = 8;
  plan.copies = 3;
  plan.pairs = 2;
  const sandbox::Planted planted = sandbox::plant(scene.storage(), plan);
  const auto before = scene.snapshot();
  const std::string pos = "failed 0, POs " + std::to_string(planted.miscased_copies * 2) + ", ";
  for (const int threads : {0, 1, 64}) {
    fs::remove_all(scene.storage().log_dir() / "mdfixup");
    const Ended scan = scene.scan(threads);
    expect_end(scan, 0, "");
    EXPECT_EQ(lines_beginning(scan.out, "Client "), planted.scan_lines);
    EXPECT_TRUE(ends_with(scan.out, k_issues)) << scan.out;
    expect_parts(scene.run_log(), {pos});
  }
  const Ended dry_run = scene.dry_run(64);
  expect_end(dry_run, 0, "");
  EXPECT_EQ(lines_beginning(dry_run.out, "{"), planted.orphan_lines);
  const std::string missing = scene.logs("MissingImages_");
  EXPECT_EQ(lines_beginning(missing.substr(missing.find('\n') + 1), ""), planted.missing_lines);
  EXPECT_EQ(scene.snapshot(), before);
  // A reader that goes away at once: what the program prints meets a broken pipe.
  expect_end(scene.run_in_shell("mkfifo pipe; true < pipe & \"$@\" > pipe", support::k_dry_run), 0,
             "");
}

TEST(Scan, TellsDirectoriesThatCannotBeReadAndGoesOn) {
  const std::string foreign = "not a path-object database";
  // Policy, status, and what spoils its database (".shell" runs a command).
  const std::string rows[][3] = {
      {"no_table", foreign, "DROP TABLE po"},
      {"trigger", foreign, "CREATE TRIGGER t AFTER DELETE ON po BEGIN DELETE FROM po; END"},
      {"view", foreign, "DROP TABLE po; CREATE VIEW po AS SELECT 'x' AS basename"},
      {"utf16", foreign,
       ".shell (echo 'PRAGMA encoding=UTF16;'; sqlite3 po.db .dump) | sqlite3 n; mv n po.db"},
      {"write_ahead_log", "database has a write-ahead log", "PRAGMA journal_mode = wal"},
      {"stray_log", "database has a write-ahead log", ".shell cp po.db po.db-wal"},
      {"newer", "database has a newer version", "PRAGMA user_version = 2"},
      {"garbage", foreign, ".shell yes | head -c 5000 > po.db"},
      {"cut_short", "database is damaged", ".shell truncate -s 8192 po.db"},
      {"folder", "database cannot be opened", ".shell rm po.db && mkdir po.db"},
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
                       scene.storage().policy_dir("hosta", policy).string() + "\n");
  }
  std::sort(expected.begin(), expected.end());
  // The leading characters of names alone are judged.
  scene.put("right", "p",
            {"right_1_C1_F1.img", "right", "other_1_C1_F1.img", "EVENT_1", "Rig", ""});
  scene.put("mixed", "p", {"mixed_1_C1_F1.img", "Mixed_1_C1_F1.img"});
  scene.put("longer", "p", {"LongerName_1_C1_F1.img[R]"});
  scene.put("whole", "p", {"WHOLE"});
  scene.sh("mkdir -p catalog/2/hostb/without_database");
  Words clients;
  for (const std::string client : {"longer", "mixed", "whole"})
    clients.push_back("Client " + client + " has name case-sensitivity issues.\n");
  const auto before = scene.snapshot();
  for (const int threads : {1, 4}) {
    const Ended ended = scene.scan(threads);
    EXPECT_EQ(ended.exit_status, 255);
    EXPECT_EQ(lines_beginning(ended.err, "ERROR"), expected);
    expect_parts(ended.err, {"The scan is incomplete: 11 policy directories could not be read.\n"});
    EXPECT_EQ(lines_beginning(ended.out, "Client "), clients);
    const std::string log = scene.logs("client_names_with_case_sensitivity_issues.");
    expect_parts(log, expected);
    expect_parts(log, clients);
  }
  EXPECT_EQ(scene.snapshot(), before);
}

}  // namespace scenario::scan
