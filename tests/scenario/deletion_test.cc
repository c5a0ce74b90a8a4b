#include "tests/scenario/scenario.h"

#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <tuple>

#include <boost/format.hpp>

namespace scenario::deletion {

// A copy of an image: client, policy, backup time, copy number.
using Copy = std::tuple<std::string, std::string, std::int64_t, std::uint32_t>;
using Copies = std::set<Copy>;

// The copies of a storage, found without the program's code.
struct Model {
  Copies metadata;
  Copies backup_catalog;
};

// Adds the copy that a basename in a client's directory names, if any.
void add_copy(const std::string& client, const std::string& policy, const std::string& name,
              Copies& copies) {
  // Any character, the time, a separator, a letter, the number, and two to five fields more.
  static const std::regex rule(".(-?[0-9]+)[_.][^_.]([0-9]+)([_.][^_.]*){2,5}");
  std::smatch numbers;
  const std::string rest = name.substr(std::min(client.size(), name.size()));
  if (!starts_with(name, client) || !std::regex_match(rest, numbers, rule)) return;
  copies.insert({client, policy, std::stol(numbers[1]), std::stoi(numbers[2])});
}

// Fills directories with names that almost match each other's patterns, and a backup catalog with some
// of them and others. If `odd`, some names match no statement, so that every run lists them again.
Model generate(const Scene& scene, std::mt19937& random, bool odd) {
  Model model;
  // Some differ from a separator in one bit.
  const Words others{"7", "\xc3\x9f", "^", "\xdf", "\x7f"};
  const Words parts[] = {{"_", "_", "\xe2\x82\xac"},
                         {"1", "16", "17", "161", "-16", odd ? "016" : "6"},
                         {"_", "_", "6"},
                         {"C", "C", "c"},
                         {"1", "2", "10", "12", "1\xff"},
                         {"_F1.img", "_F1.img", "_HDR.info", "x"}};
  for (const std::string client : {"a_b", "\xc3\xa4_x", "nowhere"}) {
    for (const std::string policy : {"p", "q", "r"}) {
      Words names;
      for (int i = 0; i < 200; ++i) {
        std::string name = client;
        for (const Words& part : parts) name += part[random() % part.size()];
        if (random() % 8 == 0) boost::algorithm::to_upper(name);
        if (random() % 8 == 0)
          boost::algorithm::replace_first(name, "_", others[random() % others.size()]);
        names.push_back(name);
      }
      if (client != "nowhere") {
        scene.put(client, policy, names);
        for (const std::string& name : names) add_copy(client, policy, name, model.metadata);
        const std::string rows = odd ? "rowid % 20 = 0" : "false";
        scene.sql(client, policy, "UPDATE po SET basename = CAST(basename AS BLOB) WHERE " + rows);
      }
      for (const std::int64_t time : {1, 16, 161, 7}) {
        const auto any = static_cast<std::uint32_t>(1 + random() % 12);
        const std::vector<std::uint32_t> listed{2, any, 12};
        scene.list_image(client, policy, time, listed);
        scene.list_image(client, policy, time, {1, 10}, "dp_elsewhere");
        for (const std::uint32_t copy : listed)
          model.backup_catalog.insert({client, policy, time, copy});
      }
    }
  }
  return model;
}

const char* const k_orphan = "{client: %1%, policy: %2%, backup_time: %3%, copy_number: %4%}.\n";
const char* const k_missing = "%1%_%3%|%1%|%2%|%4%|\n";

// The copies in `left` that `right` lacks, in the words of a report.
Words difference(const Copies& left, const Copies& right, const char* words) {
  Words lines;
  for (const Copy& copy : left) {
    if (right.count(copy) != 0) continue;
    const auto& [client, policy, time, number] = copy;
    lines.push_back((boost::format(words) % client % policy % time % number).str());
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

// The lines of the missing-images report after its header; removes all reports.
Words reported_missing(const Scene& scene) {
  const std::string report = scene.logs("MissingImages_");
  remove_reports(scene);
  return sorted_lines(report.substr(report.find('\n') + 1));
}

// Runs the statement of an orphan that the dry run printed on a copy of the metadata tree. Returns the
// lines that the logs must have after the orphan's line: the number of POs ("# POs."), and each PO of
// another copy.
std::string taken_from_copy(const Scene& scene, const std::string& orphan) {
  static const std::regex rule("client: (.*), policy: (.*), backup_time: (.*), copy_number: (.*)}");
  std::smatch m;
  std::regex_search(orphan, m, rule);
  const std::string own = m[1].str() + "_" + m[3].str() + "_";
  const std::string taken = " FROM po WHERE basename LIKE '" + own + "C" + m[4].str() + "%'";
  // Any letter may precede the copy's number.
  const std::string named = " AND basename NOT GLOB '" + own + "?" + m[4].str();
  return sqlite(scene.root() / "copy/2" / m[1].str() / m[2].str() / "po.db",
                "SELECT count(*) || ' POs.'" + taken + "; SELECT 'also takes ' || basename" +
                    taken + named + "_F1.img'" + named + "_HDR.info'; DELETE" + taken);
}

// Undoes every deletion that saved POs.
void undo_all(const Scene& scene) {
  for (const fs::path& record : records_of(scene, "deletion")) {
    if (sqlite(record, "SELECT count(*) FROM saved") == "0\n") continue;
    EXPECT_EQ(scene.undo({"restore", record.string()}).exit_status, 0);
  }
}

class Deletion : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Threads, Deletion, testing::Values(1, 4));

// Expects of a dry run and a deletion what the model and the statements say. Undoes all at the end.
void expect_as_generated(const Scene& scene, const Model& model, bool odd, int threads,
                         const Words& options) {
  scene.sh("rm -rf copy; cp -r catalog copy");
  const auto before = scene.snapshot();
  const Words whole = scene.pos();
  const Ended dry = scene.dry_run(threads, options);
  const std::string dry_log = scene.logs("OrphanImages_");
  EXPECT_EQ(lines_beginning(dry.out, "{"),
            difference(model.metadata, model.backup_catalog, k_orphan));
  const Words missing = difference(model.backup_catalog, model.metadata, k_missing);
  EXPECT_EQ(reported_missing(scene), missing);
  EXPECT_EQ(scene.snapshot(), before);
  expect_end(scene.remove_orphans(threads, options), 0, "");
  const std::string log = scene.logs("OrphanImages_");
  EXPECT_EQ(reported_missing(scene), missing);
  std::string expected;
  std::istringstream listed(dry.out);
  for (std::string line; std::getline(listed, line);) {
    if (line.front() != '{') continue;
    const std::string taken = taken_from_copy(scene, line);
    const std::string image = "eleted the POs for the image: " + line;
    expect_parts(dry_log, {"Would have d" + image + "\nWould delete " + taken});
    expect_parts(log, {"\nD" + image + "\nDeleted " + taken});
    expected += taken;
  }
  for (const std::string& text : {log, dry_log})
    EXPECT_EQ(lines_beginning(text, "also takes "), lines_beginning(expected, "also takes "));
  EXPECT_EQ(scene.pos(), scene.pos("copy"));
  expect_parts(scene.run_log(), {"takes POs of other copies"});
  const auto after = scene.snapshot();
  EXPECT_EQ(scene.remove_orphans(threads, options).exit_status, 0);
  EXPECT_EQ(scene.snapshot(), after);
  EXPECT_EQ(scene.dry_run(threads, options).out.find('{') == std::string::npos, !odd);
  undo_all(scene);
  EXPECT_EQ(scene.pos(), whole);
}

// The findings in the records of both runs, sorted by kind.
Words found(const Scene& scene) {
  Words all;
  for (const char* query :
       {"task, dirs, failed_dirs, pos, copies, orphan_copies, missing_copies, taken_pos, "
        "taken_bytes, exit_status FROM run",
        "client, policy, d.pos, copies, orphan_copies, missing_copies, taken_pos, state FROM "
        "directory d JOIN client_policy p ON p.id = client_policy",
        "backup_time, copy, pos, bytes, deleted FROM orphan", "basename, reason FROM unparsed",
        "basename FROM collateral"}) {
    for (const char* task : {"dry_run", "deletion"}) all = joined(all, rows_of(scene, task, query));
  }
  return all;
}

// With --gtest_shuffle, each repetition has other seeds.
TEST_P(Deletion, DeletesWhatTheModelAndTheDryRunListAndTheStatementMatches) {
  const int drawn = testing::UnitTest::GetInstance()->random_seed();
  const unsigned first = GTEST_FLAG_GET(shuffle) ? static_cast<unsigned>(drawn) * 2 : 0;
  for (unsigned seed = first; seed < first + 2; ++seed) {
    std::mt19937 random(seed);
    const bool odd = seed % 2 == 0;
    const Scene scene;
    const Model model = generate(scene, random, odd);
    Words found_before;
    for (const Words& options : {Words{}, k_one_listing}) {
      SCOPED_TRACE(std::to_string(seed) + (options.empty() ? "" : options[0]));
      scene.sh("rm -rf log/*");
      expect_as_generated(scene, model, odd, GetParam(), options);
      const Words found_now = found(scene);
      EXPECT_TRUE(options.empty() || found_now == found_before);
      found_before = found_now;
    }
  }
}

TEST_P(Deletion, RequestsTheServicesAgainWhateverFails) {
  const Scene scene;
  const std::string query = "quorv/tavrin/bin/admincmd/tvimagequery";
  put_own(scene, {"hosta", "hostb"}, {"_1000_C1_F1.img", "_2000_C1_F1.img"});
  for (const char* client : {"hosta", "hostb"}) {
    scene.list_image(client, "p", 2000, {1});
    scene.sql(client, "p",
              "UPDATE po SET record = randomblob(100000) WHERE basename LIKE '%_1000_%'");
  }
  const auto before = scene.pos();
  const std::string tree = scene.tree_dir().string();
  // The record has no room for the POs; the storage disappears between the first query and the last;
  // the final listing fails; a log cannot be made.
  const std::string record_full = "; nothing more is deleted\n";
  const std::string unmounted =
      "Aborting with error:  the directory " + tree + " is not the one any ";
  const std::pair<std::string, std::string> rows[] = {
      {"ulimit -f 240", record_full},
      {"rm -r log/meta*; for i in $(seq 9); do cp -r catalog/2/hosta catalog/2/$i; done; mv " +
           query + " " + query + ".real; echo 'mv " + tree + " " + tree +
           ".gone 2>&-; exec $0.real \"$@\"' > " + query + "; chmod +x " + query,
       unmounted},
      {"mv catalog.gone catalog; printf '[ -n \"$3\" ] && exit 227; exit 25' > " + query,
       "Aborting with error:  tvimagequery error (25): cannot connect to master server\n"},
      {"rm -r log/meta*; touch log/metadata_consistency", "Aborting with error:  "},
  };
  for (const auto& [script, expected] : rows) {
    const Ended ended = scene.run_in_shell(
        script + "; \"$@\" --num_threads " + std::to_string(GetParam()), k_deletion);
    EXPECT_FALSE(fs::exists(scene.lock_file()));
    expect_failure(ended, {expected});
    EXPECT_TRUE(ends_with(ended.out, k_start_services)) << ended.out;
    if (expected == record_full) {
      const std::string error = "ERROR: could not delete the POs for the image: {client: host";
      const std::string log = scene.logs("OrphanImages_");
      expect_parts(log, {"\n" + error});
      EXPECT_FALSE(contains(log, "Deleted the POs")) << log;
      expect_parts(ended.err, {"the record of the run could not be written) : ", "; " + error});
      EXPECT_EQ(scene.pos(), before);
    }
    if (expected == unmounted) {
      EXPECT_EQ(reported_missing(scene), Words()) << "the tree is not empty, but gone";
    }
  }
}

// Few orphans are looked up in ranges of names: here in two that follow each other.
TEST(DeletionMatches, CopyZeroAndAnyCharacterAfterTheTime) {
  const Scene scene;
  Words rests{"_1000_C0_F1.img", "_1001_C1_F1.img", "_10010C1"};
  for (int i = 0; i < 5; ++i) rests.push_back("_2000_C1_F" + std::to_string(i) + ".img");
  put_own(scene, {"hosta"}, rests);
  scene.list_image("hosta", "p", 2000, {1});
  expect_end(scene.remove_orphans(), 0, "");
  EXPECT_EQ(scene.pos().size(), 5U);
}

TEST(DeletionFaults, UnreadablePOEndsTheDirectoryAfterTheOrphansBeforeIt) {
  const Scene scene;
  const std::string image = "{client: hosta, policy: p, backup_time: ";
  scene.put("hosta", "p", {"hosta_1_C1_F1.img", "hosta_2_C1_F1.img", "hosta_3_C1_F1.img"});
  const fs::path file = scene.po_db("hosta", "p");
  sqlite(file, "UPDATE po SET record = randomblob(20000) WHERE rowid = 2");
  damage_long_record(file);
  expect_failure(scene.remove_orphans(),
                 {"ERROR (database is damaged) : could not compare",
                  "; ERROR: could not delete the POs for the image: " + image + "2, "});
  const std::string log = scene.logs("OrphanImages_");
  expect_parts(log, {"\nDeleted the POs for the image: " + image + "1, ", "\nDeleted 1 POs.\n",
                     "\nERROR: could not delete the POs for the image: " + image + "2, "});
  EXPECT_FALSE(contains(log, "backup_time: 3, "));
  EXPECT_EQ(sqlite(file, "SELECT basename FROM po"), "hosta_2_C1_F1.img\nhosta_3_C1_F1.img\n");
}

TEST(DeletionFaults, SignalStopsADirectoryAfterATransaction) {
  const Scene scene;
  Words names;
  for (int i = 0; i < 2500; ++i) names.push_back("hosta_" + std::to_string(i) + "_C1_F1.img");
  scene.put("hosta", "p", names);
  scene.script("tvimagequery",
               "mkdir first 2>&- && kill -INT $(cat mdfixup.lock); sleep 0.1; exit 227\n");
  expect_failure(scene.run_in_shell("\"$@\"", k_deletion),
                 {"ERROR: the deletion in ",
                  " is not finished: stopped after 1000 orphan copies, which are deleted; "
                  "the next deletion goes on\n"});
  expect_parts(scene.run_log(), {"failed 1,", "POs taken 1000,"});
  EXPECT_EQ(scene.pos().size(), 1500U);
  EXPECT_EQ(scene.run_in_shell("\"$@\"", k_deletion).exit_status, 0);
  EXPECT_EQ(scene.pos(), Words());
}

}  // namespace scenario::deletion
