#include "tests/scenario/scenario.h"

namespace scenario::limits {

TEST(Limits, LargerShareOfOrphansFailsTheDirectoryAndLeavesIt) {
  const Scene scene;
  const Words small{"small_1_C1_F1.img", "small_2_C1_F1.img", "small_3_C1_F1.img",
                    "small_4_C1_F1.img"};
  scene.put("small", "p", small);
  scene.put("large", "p", {"large_1_C1_F1.img", "large_2_C1_F1.img", "large_3_C1_F1.img"});
  for (const int time : {2, 3, 4, 5}) scene.storage().list_image("small", "p", time, {1});
  for (const int time : {3, 4}) scene.storage().list_image("large", "p", time, {1});
  const Words before = scene.pos();
  const std::string large = scene.storage().policy_dir("large", "p").string();
  // The limit in percent, and the directories that stay within it. 2 of 3 are 66.7 percent.
  const std::tuple<std::string, Words> rows[] = {
      {"24", {}}, {"25", {"small"}}, {"66", {"small"}}, {"67", {"large", "small"}}};
  for (const Words& task : {support::k_dry_run, support::k_deletion}) {
    for (const auto& [limit, within] : rows) {
      fs::remove_all(scene.storage().log_dir() / "metadata_consistency");
      Words words = task;
      words.insert(words.end(), {"--max_orphan_share", limit});
      const Ended ended = scene.run(words);
      EXPECT_EQ(ended.exit_status, within.size() == 2 ? 0 : 1) << limit;
      EXPECT_EQ(lines_beginning(ended.err, "").size(), 2 - within.size()) << limit;
      if (within.size() == 1) {
        expect_parts(ended.err,
                     {"ERROR (over the limit) : could not compare the Tavrin catalog and "
                      "deduplication metadata for " +
                      large + "; 2 of 3 copies are orphans, more than " + limit + " percent\n"});
      }
      const std::string log = scene.logs("OrphanImages_");
      for (const std::string client : {"large", "small"}) {
        const bool is_within = std::count(within.begin(), within.end(), client) != 0;
        EXPECT_EQ(contains(log, "eleted the POs for the image: {client: " + client), is_within)
            << limit << log;
        const bool is_there =
            contains(boost::algorithm::join(scene.pos(), ""), client + "_1_C1_F1.img");
        EXPECT_EQ(is_there, task == support::k_dry_run || !is_within) << limit;
      }
      EXPECT_EQ(lines_beginning(scene.logs("MissingImages_"), ""),
                (Words{"backupid|client_name|policy_name|copy_num|\n", "large_4|large|p|1|\n",
                       "small_5|small|p|1|\n"}));
      scene.put("small", "p", small);
      EXPECT_EQ(scene.pos() == before, within.size() != 2 || task == support::k_dry_run);
    }
  }
}

TEST(Limits, OnlyAndExceptNameDirectoriesExactly) {
  const Scene scene;
  const Words pairs{"a/p", "a/q", "ab/p", "b\xff/p", "none/p"};
  for (const std::string& pair : pairs) {
    const std::string client = pair.substr(0, pair.find('/')),
                      policy = pair.substr(client.size() + 1);
    if (client != "none") scene.put(client, policy, {client + "_1000_C1_F1.img"});
    scene.storage().list_image(client, policy, 9000, {1});
  }
  // The options, and the directories that they leave.
  const std::pair<Words, Words> rows[] = {
      {{}, pairs},
      {{"--only", "a"}, {"a/p", "a/q"}},
      {{"--only", "a/q", "--only=b\xff"}, {"a/q", "b\xff/p"}},
      {{"--except", "a"}, {"ab/p", "b\xff/p", "none/p"}},
      {{"--except=none/p", "--except", "ab"}, {"a/p", "a/q", "b\xff/p"}},
      {{"--only", "a", "--only", "none", "--except", "a/p"}, {"a/q", "none/p"}},
      {{"--only", "A", "--only", "p"}, {}},
  };
  for (const auto& [options, left] : rows) {
    fs::remove_all(scene.storage().log_dir());
    fs::create_directories(scene.storage().log_dir());
    for (const int threads : {1, 3}) {
      fs::remove_all(scene.storage().log_dir() / "metadata_consistency");
      const Ended ended = scene.dry_run(threads, options);
      expect_end(ended, 0, "");
      Words orphans, missing, started;
      for (const std::string& pair : left) {
        const std::string client = pair.substr(0, pair.find('/')),
                          policy = pair.substr(client.size() + 1);
        missing.push_back(client + "_9000|" + client + "|" + policy + "|1|\n");
        if (client == "none") continue;
        started.push_back("Started processing policy dir " +
                          scene.storage().policy_dir(client, policy).string() + "\n");
        orphans.push_back("{client: " + client + ", policy: " + policy +
                          ", backup_time: 1000, copy_number: 1}.\n");
      }
      const std::string log = scene.logs("OrphanImages_");
      EXPECT_EQ(lines_beginning(ended.out, "{"), orphans);
      EXPECT_EQ(lines_beginning(log, "Started processing policy dir "), started);
      Words listed = lines_beginning(scene.logs("MissingImages_"), "");
      listed.erase(
          std::find(listed.begin(), listed.end(), "backupid|client_name|policy_name|copy_num|\n"));
      EXPECT_EQ(listed, missing);
      const std::string skipped = std::to_string(4 - started.size());
      expect_parts(scene.run_log(), {"summary: policy directories " +
                                     std::to_string(started.size()) + ", failed 0, "});
      EXPECT_EQ(contains(scene.run_log(), " " + skipped + " policy directories skipped\n"),
                !options.empty());
      EXPECT_EQ(contains(scene.run_log(), "all policy directories were skipped"), left.empty());
      for (const auto& record :
           fs::directory_iterator(scene.storage().log_dir() / "mdfixup/runs")) {
        EXPECT_EQ(support::sqlite(record, "SELECT dirs, skipped_dirs FROM run"),
                  std::to_string(started.size()) + "|" + skipped + "\n");
      }
    }
  }
  expect_end(scene.run({support::k_deletion[0], "--except", "a/q", "--except", "ab"}), 0, "");
  EXPECT_EQ(scene.pos().size(), 2U);
  expect_parts(boost::algorithm::join(scene.pos(), ""), {"a_1000_C1_F1.img", "ab_1000_C1_F1.img"});
}

}  // namespace scenario::limits
