#include "tests/scenario/scenario.h"

namespace scenario::limits {

const std::string k_missing_header = "backupid|client_name|policy_name|copy_num|\n";

const Words k_one_listing_deletion = joined(k_deletion, k_one_listing);

TEST(Limits, LargerShareOfOrphansFailsTheDirectoryAndLeavesItsPOs) {
  const Scene scene;
  put_own(scene, {"small"}, {"_1_C1_F1.img", "_2_C1_F1.img", "_3_C1_F1.img", "_4_C1_F1.img"});
  put_own(scene, {"large"}, {"_1_C1_F1.img", "_2_C1_F1.img", "_3_C1_F1.img"});
  for (const int time : {2, 3, 4, 5}) scene.list_image("small", "p", time, {1});
  for (const int time : {3, 4}) scene.list_image("large", "p", time, {1});
  scene.sh("cp -r catalog before");
  // The limit in percent, and the number of orphans within it. 2 of 3 are 66.7 percent.
  const std::pair<std::string, std::size_t> rows[] = {{"24", 0}, {"25", 1}, {"66", 1}, {"67", 3}};
  for (const Words& task : {k_dry_run, k_deletion, k_one_listing_deletion}) {
    const bool deletes = task != k_dry_run;
    for (const auto& [limit, within] : rows) {
      scene.sh("rm -rf catalog log/metadata_consistency; cp -r before catalog");
      const Ended ended = scene.run(joined(task, {"--max_orphan_share", limit}));
      Words errors;
      const auto expect_error = [&, &percent = limit](const char* client, const char* share) {
        const std::string text = " copies are orphans, more than " + percent + " percent";
        errors.push_back(
            not_compared("over the limit", scene.policy_dir(client, "p"), share + text));
      };
      if (within < 3) expect_error("large", "2 of 3");
      if (within == 0) expect_error("small", "1 of 4");
      EXPECT_EQ(sorted_lines(ended.err), errors);
      EXPECT_EQ(ended.exit_status, errors.empty() ? 0 : 1) << limit;
      const char* line = deletes ? "Deleted the POs for " : "Would have deleted the POs for ";
      EXPECT_EQ(lines_beginning(scene.logs("OrphanImages_"), line).size(), within) << limit;
      EXPECT_EQ(sorted_lines(scene.logs("MissingImages_")),
                (Words{k_missing_header, "large_4|large|p|1|\n", "small_5|small|p|1|\n"}));
      EXPECT_EQ(scene.pos().size(), 7 - (deletes ? within : 0)) << limit;
    }
  }
}

std::pair<std::string, std::string> split(const std::string& pair) {
  return {pair.substr(0, pair.find('/')), pair.substr(pair.find('/') + 1)};
}

TEST(Limits, OnlyAndExceptMatchDirectoriesExactly) {
  const Scene scene;
  const Words pairs{"a/p", "a/q", "ab/p", "b\xff/p", "none/p"};
  for (const std::string& pair : pairs) {
    const auto [client, policy] = split(pair);
    if (client != "none") scene.put(client, policy, {client + "_1000_C1_F1.img"});
    scene.list_image(client, policy, 9000, {1});
  }
  // The options, and the directories that are visited.
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
    Words orphans;
    Words missing{k_missing_header};
    for (const std::string& pair : left) {
      const auto [client, policy] = split(pair);
      missing.push_back(client + "_9000|" + client + "|" + policy + "|1|\n");
      if (client == "none") continue;
      orphans.push_back("{client: " + client + ", policy: " + policy +
                        ", backup_time: 1000, copy_number: 1}.\n");
    }
    std::sort(missing.begin(), missing.end());
    const std::string dirs = std::to_string(orphans.size());
    const std::string skipped = std::to_string(4 - orphans.size());
    for (const int threads : {1, 3}) {
      scene.sh("rm -rf log/*");
      const Words words = threads == 3 ? joined(options, k_one_listing) : options;
      const Ended ended = scene.dry_run(threads, words);
      expect_end(ended, 0, "");
      EXPECT_EQ(lines_beginning(ended.out, "{"), orphans);
      EXPECT_EQ(sorted_lines(scene.logs("MissingImages_")), missing);
      const std::string log = scene.run_log();
      expect_parts(log, {"summary: policy directories " + dirs + ", failed 0, "});
      EXPECT_EQ(contains(log, " " + skipped + " policy directories skipped\n"), !options.empty());
      EXPECT_EQ(contains(log, "all policy directories were skipped"), left.empty());
      EXPECT_EQ(rows_of(scene, "dry_run", "dirs, skipped_dirs FROM run"),
                Words{dirs + "|" + skipped + "\n"});
    }
  }
  expect_end(scene.remove_orphans(1, {"--except", "a/q", "--except", "ab"}), 0, "");
  EXPECT_EQ(scene.pos().size(), 2U);
  expect_parts(boost::algorithm::join(scene.pos(), ""), {"a_1000_C1_F1.img", "ab_1000_C1_F1.img"});
}

}  // namespace scenario::limits
