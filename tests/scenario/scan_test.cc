#include <gtest/gtest.h>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include "sandbox/planter.h"
#include "tests/support/scene.h"

namespace {

namespace fs = boost::filesystem;
using boost::algorithm::contains;
using boost::algorithm::ends_with;
using support::Ended;
using support::Scene;

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
  plan.miscased_share = 0.02;
  const sandbox::Planted planted = sandbox::plant(scene.storage(), plan);
  const auto before = scene.snapshot();
  for (const int threads : {0, 1, 4, 64}) {
    const Ended ended = scene.scan(threads);
    EXPECT_EQ(ended.exit_status, 0);
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(support::lines_beginning(ended.out, "Client "), planted.scan_lines);
    EXPECT_TRUE(ends_with(ended.out, k_issues)) << ended.out;
    const std::string summary =
        "summary: policy directories 24, failed 0, POs " + std::to_string(planted.pos) + ", ";
    EXPECT_TRUE(contains(scene.run_log(), summary)) << scene.run_log();
    fs::remove_all(scene.storage().log_dir() / "mdfixup");
  }
  EXPECT_EQ(scene.snapshot(), before);
}

TEST(Scan, JudgesTheLeadingCharactersOnly) {
  const struct {
    std::vector<std::string> basenames;
    bool issue;
  } rows[] = {
      {{}, false},
      {{"hosta_1602000000_C1_F1.img", "hosta"}, false},
      {{"other_1602000000_C1_F1.img", "EVENT_1", "hosT", ""}, false},
      {{"hosta_1602000000_C1_F1.img", "HostA_1602000000_C1_F1.img"}, true},
      {{"HOSTA"}, true},
      {{"HostAbc_1602000000_C1_F1.img[R]"}, true},
  };
  for (const auto& row : rows) {
    const Scene scene;
    scene.put("hosta", "p", row.basenames);
    const Ended ended = scene.scan();
    const std::string line = "Client hosta has name case-sensitivity issues.\n";
    EXPECT_EQ(ended.exit_status, 0);
    EXPECT_TRUE(ends_with(ended.out, row.issue ? line + k_issues : k_clean)) << ended.out;
    const std::string log = scene.logs("client_names_with_case_sensitivity_issues.");
    EXPECT_EQ(ends_with(log, line), row.issue) << log;
  }
}

TEST(Scan, TellsDirectoriesThatCannotBeReadAndGoesOn) {
  const struct {
    std::string policy;
    std::string status;
    void (*damage)(const fs::path& po_db);
  } rows[] = {
      {"garbage", "not a path-object database",
       [](const fs::path& file) { support::write_text(file, std::string(5000, 'x')); }},
      {"empty_file", "not a path-object database",
       [](const fs::path& file) { support::write_text(file, ""); }},
      {"no_table", "not a path-object database",
       [](const fs::path& file) { support::sqlite(file, "DROP TABLE po"); }},
      {"view", "not a path-object database",
       [](const fs::path& file) {
         support::sqlite(file, "DROP TABLE po; CREATE VIEW po AS SELECT 'x' AS basename");
       }},
      {"trigger", "not a path-object database",
       [](const fs::path& file) {
         support::sqlite(file, "CREATE TRIGGER t AFTER DELETE ON po BEGIN DELETE FROM po; END");
       }},
      {"newer", "database has a newer version",
       [](const fs::path& file) { support::sqlite(file, "PRAGMA user_version = 2"); }},
      {"write_ahead_log", "not a path-object database",
       [](const fs::path& file) { support::sqlite(file, "PRAGMA journal_mode = wal"); }},
      {"cut_short", "database is damaged",
       [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) / 2); }},
      {"folder", "database cannot be opened",
       [](const fs::path& file) {
         fs::remove(file);
         fs::create_directory(file);
       }},
      {"dangling_link", "database cannot be opened",
       [](const fs::path& file) {
         fs::remove(file);
         fs::create_symlink("/no/such", file);
       }},
  };
  const Scene scene;
  for (const auto& row : rows) {
    std::vector<std::string> basenames;
    for (int i = 0; i < 300; ++i) basenames.push_back("hosta_" + std::to_string(i) + "_C1_F1.img");
    scene.put("hosta", row.policy, basenames);
    row.damage(scene.po_db("hosta", row.policy));
  }
  scene.put("hostb", "good", {"HostB_1602000000_C1_F1.img"});
  fs::create_directories(scene.storage().policy_dir("hostc", "without_database"));
  const auto before = scene.snapshot();

  std::vector<std::string> expected;
  for (const auto& row : rows) {
    expected.push_back("ERROR (" + row.status +
                       "): could not read the deduplication metadata for " +
                       scene.storage().policy_dir("hosta", row.policy).string() + "\n");
  }
  std::sort(expected.begin(), expected.end());
  for (const int threads : {1, 4}) {
    const Ended ended = scene.scan(threads);
    EXPECT_EQ(ended.exit_status, 255);
    EXPECT_EQ(support::lines_beginning(ended.err, "ERROR"), expected);
    EXPECT_TRUE(ends_with(ended.err, "The scan is incomplete: " + std::to_string(std::size(rows)) +
                                         " policy directories could not be read.\n"))
        << ended.err;
    EXPECT_EQ(support::lines_beginning(ended.out, "Client "),
              std::vector<std::string>{"Client hostb has name case-sensitivity issues.\n"});
    const std::string log = scene.logs("client_names_with_case_sensitivity_issues.");
    for (const std::string& line : expected) EXPECT_TRUE(contains(log, line)) << line;
    EXPECT_TRUE(contains(scene.run_log(), "end: exit status 255"));
  }
  EXPECT_EQ(scene.snapshot(), before);
}

TEST(Scan, CatalogThatCannotBeWalkedEndsTheRun) {
  for (const char* threads : {"1", "4"}) {
    const Scene scene;
    scene.put("hosta", "p", {"hosta_1602000000_C1_F1.img"});
    // A link to itself has a status that cannot be taken.
    fs::create_symlink("loop", scene.root() / "catalog" / "2" / "loop");
    const Ended ended = scene.run({"--scan_client_name_case", "--num_threads", threads});
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_TRUE(contains(ended.err, "Aborting with error:  ")) << ended.err;
    EXPECT_FALSE(fs::exists(scene.lock_file()));
  }
}

TEST(Scan, DirectoryBehindAFileNamedLikeTheDsidIsReportedIfItIsNoDsid) {
  const Scene scene;
  fs::remove_all(scene.root() / "catalog");
  support::write_text(scene.root() / "catalog" / "2", "");
  fs::create_directories(scene.root() / "catalog" / "abc" / "hosta" / "p");
  const Ended ended = scene.scan();
  // Which of the two entries comes first is the file system's choice.
  const bool walked = !contains(scene.logs("client_names"), "Invalid DSID: ");
  EXPECT_EQ(ended.exit_status, walked ? 255 : 0) << ended.err;
}

}  // namespace
