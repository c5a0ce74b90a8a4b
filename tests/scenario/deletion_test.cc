#include "tests/scenario/scenario.h"

#include <random>
#include <sstream>

namespace scenario::deletion {

// Directories full of names that come near each other's patterns; a part of them in the catalog.
void plant(const Scene& scene, std::mt19937& random) {
  const auto one_of = [&](std::vector<std::string> texts) {
    return texts[random() % texts.size()];
  };
  for (const std::string client : {"a_b", "\xc3\xa4_x"}) {
    for (const std::string policy : {"p", "q", "r"}) {
      std::vector<std::string> names;
      for (int i = 0; i < 200; ++i) {
        std::string name = client + one_of({"_", "_", "\xe2\x82\xac"});
        name += one_of({"1", "16", "161", "-16", "016"}) + one_of({"_", "_", "6"});
        name += one_of({"C", "C", "c"}) + one_of({"1", "2", "10", "12", "1\xff"});
        name += one_of({"_F1.img", "_F1.img", "_HDR.info", "x"});
        if (random() % 8 == 0) boost::algorithm::to_upper(name);
        if (random() % 8 == 0)
          boost::algorithm::replace_first(name, "_", one_of({"7", "\xc3\x9f"}));
        names.push_back(name);
      }
      scene.put(client, policy, names);
      support::sqlite(scene.po_db(client, policy),
                      "UPDATE po SET basename = CAST(basename AS BLOB) WHERE rowid % 20 = 0");
      for (const int time : {1, 16, 161}) scene.storage().list_image(client, policy, time, {2, 12});
    }
  }
}

// Runs the statement of an orphan that the dry run printed on a copy of the catalog, and returns
// the lines that the logs must hold behind the copy's: the number of POs ("# POs.") and the others.
std::string taken_from_copy(const Scene& scene, const std::string& orphan) {
  std::vector<std::string> parts;  // with the values at every second place
  boost::algorithm::iter_split(parts, orphan,
                               boost::algorithm::token_finder(boost::is_any_of(":,}")));
  for (std::string& part : parts) boost::algorithm::trim(part);
  const std::string own = parts[1] + "_" + parts[5] + "_";
  const std::string where = " FROM po WHERE basename LIKE '" + own + "C" + parts[7] + "%';";
  std::istringstream names(support::sqlite(scene.root() / "copy/2" / parts[1] / parts[3] / "po.db",
                                           "SELECT basename" + where + "DELETE" + where));
  int count = 0;
  std::string others;
  for (std::string name; std::getline(names, name); ++count) {
    // The letter in front of the copy's number is not looked at.
    const std::string rest = name.substr(std::min(own.size() + 1, name.size()));
    const bool is_own = name.compare(0, own.size(), own) == 0 &&
                        (rest == parts[7] + "_F1.img" || rest == parts[7] + "_HDR.info");
    if (!is_own) others += "also takes " + name + "\n";
  }
  return std::to_string(count) + " POs.\n" + others;
}

class Deletion : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Threads, Deletion, testing::Values(1, 8));

TEST_P(Deletion, TakesWhatTheDryRunListsAndTheStatementTakes) {
  for (unsigned seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const Scene scene;
    plant(scene, random);
    support::run(
        {"cp", "-r", (scene.root() / "catalog").string(), (scene.root() / "copy").string()});
    const auto before = scene.snapshot();
    std::istringstream listed(scene.dry_run(GetParam()).out);
    EXPECT_EQ(scene.snapshot(), before);
    const Ended ended = scene.remove_orphans(GetParam());
    EXPECT_EQ(ended.exit_status, 0) << ended.err;
    EXPECT_TRUE(ends_with(
        ended.out, ".log\n" + support::k_start_services + "mdfixup finished successfully.\n"));
    const std::string log = scene.logs("OrphanImages_");
    std::string expected;
    for (std::string line; std::getline(listed, line);) {
      if (line.front() != '{') continue;
      const std::string taken = taken_from_copy(scene, line);
      const std::string image = "eleted the POs for the image: " + line;
      EXPECT_TRUE(contains(log, "Would have d" + image + "\nWould delete " + taken))
          << line << taken;
      EXPECT_TRUE(contains(log, "\nD" + image + "\nDeleted " + taken)) << line << taken;
      expected += taken + taken;
    }
    EXPECT_EQ(lines_beginning(log, "also takes "), lines_beginning(expected, "also takes "));
    EXPECT_EQ(scene.pos(), scene.pos("copy"));
    EXPECT_TRUE(contains(scene.run_log(), "takes POs of other copies")) << scene.run_log();
  }
}

TEST(DeletionFaults, ServicesAreAskedForAgainWhateverFails) {
  const Scene scene;
  scene.put("hosta", "p", {"hosta_1000_C1_F1.img", "hosta_2000_C1_F1.img"});
  const auto before = scene.pos();
  const std::string error =
      "ERROR: could not delete the POs for the image: "
      "{client: hosta, policy: p, backup_time: 1000, copy_number: 1}.\n";
  // A journal does not fit, the logs do; the final listing fails; a log cannot be made.
  const std::string rows[][2] = {
      {"trap '' XFSZ; ulimit -f 4", "; " + error},
      {"printf '[ -n \"$3\" ] && exit 227; exit 25' > " + scene.admincmd("tvimagequery").string(),
       "Aborting with error:  tvimagequery error (25): cannot connect to master server\n"},
      {"cd " + scene.storage().log_dir().string() + "; rm -r meta*; touch metadata_consistency",
       "Aborting with error:  "},
  };
  for (const auto& [script, expected] : rows) {
    const Ended ended =
        scene.run_in_shell(script + "; \"$@\"", {"--FORCE_DEDUPE_METADATA_CONSISTENCY"});
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_FALSE(fs::exists(scene.lock_file()));
    EXPECT_TRUE(contains(ended.err, expected)) << ended.err;
    EXPECT_TRUE(ends_with(ended.out, support::k_start_services)) << ended.out;
    if (expected != rows[0][1]) continue;
    EXPECT_TRUE(contains(scene.logs("OrphanImages_"), "\n" + error));
    EXPECT_EQ(scene.pos(), before);
  }
}

}  // namespace scenario::deletion
