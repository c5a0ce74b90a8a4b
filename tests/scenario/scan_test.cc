#include "tests/scenario/scenario.h"

#include "sandbox/planter.h"

namespace scenario::scan {

const std::string k_clean = "The deduplication metadata is clean.\n";
const std::string k_issues =
    "\tThe deduplication metadata has client name case-sensitivity issues.\n\n"
    "\tPlease refer to the deduplication documentation and the help output of this tool\n"
    "\t(the -h and --help options) for more details and repair options.\n";

TEST(Scan, ReportsExactlyWhatWasPlanted) {
  const Scene scene;
  sandbox::Plan plan;
  plan.clients = 12;
  plan.images = 10;
  plan.pairs = 3;
  plan.miscased_share = 0.02;
  const sandbox::Planted planted = sandbox::plant(scene.storage(), plan);
  const auto before = scene.snapshot();
  for (const int threads : {0, 1, 4, 64}) {
    const Ended ended = scene.scan(threads);
    EXPECT_EQ(ended.exit_status, 0);
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(lines_beginning(ended.out, "Client "), planted.scan_lines);
    EXPECT_TRUE(ends_with(ended.out, k_issues)) << ended.out;
    const std::string summary = "summary: policy directories 30, failed 0, POs " +
                                std::to_string(planted.miscased_copies * 2) + ", ";
    EXPECT_TRUE(contains(scene.run_log(), summary)) << scene.run_log();
    fs::remove_all(scene.storage().log_dir() / "mdfixup");
  }
  EXPECT_EQ(scene.snapshot(), before);
}

TEST(Scan, JudgesTheLeadingCharactersOnly) {
  const std::pair<std::vector<std::string>, bool> rows[] = {
      {{"hosta_1602000000_C1_F1.img", "hosta"}, false},
      {{"other_1602000000_C1_F1.img", "EVENT_1", "hosT", ""}, false},
      {{"hosta_1602000000_C1_F1.img", "HostA_1602000000_C1_F1.img"}, true},
      {{"HOSTA"}, true},
      {{"HostAbc_1602000000_C1_F1.img[R]"}, true},
  };
  for (const auto& [basenames, issue] : rows) {
    const Scene scene;
    scene.put("hosta", "p", basenames);
    const Ended ended = scene.scan();
    const std::string line = "Client hosta has name case-sensitivity issues.\n";
    EXPECT_EQ(ended.exit_status, 0);
    EXPECT_TRUE(ends_with(ended.out, issue ? line + k_issues : k_clean)) << ended.out;
    const std::string log = scene.logs("client_names_with_case_sensitivity_issues.");
    EXPECT_EQ(ends_with(log, line), issue) << log;
  }
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
  std::vector<std::string> basenames;
  for (int i = 0; i < 300; ++i) basenames.push_back("hosta_" + std::to_string(i) + "_C1_F1.img");
  std::vector<std::string> expected;
  for (const auto& [policy, status, damage] : rows) {
    scene.put("hosta", policy, basenames);
    const std::string dir = scene.storage().policy_dir("hosta", policy).string();
    support::run({"sh", "-c", "cd " + dir + " && sqlite3 po.db \"" + damage + "\""});
    expected.push_back("ERROR (" + status + "): could not read the deduplication metadata for " +
                       dir + "\n");
  }
  std::sort(expected.begin(), expected.end());
  scene.put("hostb", "good", {"HostB_1602000000_C1_F1.img"});
  fs::create_directories(scene.storage().policy_dir("hostc", "without_database"));
  const auto before = scene.snapshot();
  for (const int threads : {1, 4}) {
    const Ended ended = scene.scan(threads);
    EXPECT_EQ(ended.exit_status, 255);
    EXPECT_EQ(lines_beginning(ended.err, "ERROR"), expected);
    EXPECT_TRUE(ends_with(ended.err, "The scan is incomplete: " + std::to_string(std::size(rows)) +
                                         " policy directories could not be read.\n"))
        << ended.err;
    EXPECT_EQ(lines_beginning(ended.out, "Client "),
              std::vector<std::string>{"Client hostb has name case-sensitivity issues.\n"});
    const std::string log = scene.logs("client_names_with_case_sensitivity_issues.");
    for (const std::string& line : expected) EXPECT_TRUE(contains(log, line)) << line;
  }
  EXPECT_EQ(scene.snapshot(), before);
}

}  // namespace scenario::scan
