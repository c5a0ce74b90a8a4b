#include "record/run_record.h"
#include "report/escape.h"
#include "sandbox/generator.h"
#include "tests/report/report_run.h"

// The report on real runs, and on records that no run would leave.
namespace scenario::report_test {

// The first detail of a report, of a run or of a comparison.
Json first_detail(const Words& arguments) {
  return json(arguments)["details"][0];
}

// A log directory, in which it makes records.
class Records {
 public:
  std::string dir() const { return m_dir.path().string(); }
  std::string file(const std::string& id) const {
    return dir() + "/" + layout::k_records + "/" + id + ".db";
  }

  // Adds the record of a dry run with one orphan among six copies, changed by `sql`. Returns its file.
  std::string add(std::int64_t start_seconds, const std::string& sql = "") const {
    record::Directory dir{"2", "hosta", "p", {2, 6, 1, 0, 2, 9, 0, 0, 0, 0}};
    record::Run run;
    run.task = record::Task::dry_run;
    run.pid = 7;
    run.start_nanoseconds = start_seconds * 1000000000;
    run.catalog = "/k/catalog";
    run.dirs = 1;
    run.counts = dir.counts;
    record::RunRecord record;
    record.begin(m_dir.path(), run);
    record.add(dir, record::Orphan{1000, 1, 2, 9, {}, false});
    record.done(dir);
    record.end({record::Ending::orderly, "", 0});
    const std::string made = file(std::to_string(start_seconds) + "-7");
    if (!sql.empty()) sqlite(made, sql);
    return made;
  }

  Json newest() const { return first_detail({dir()}); }

 private:
  support::TempDir m_dir;
};

// Expects one concern that contains this text, or none.
void expect_concern(const Json& detail, const std::string& concern) {
  const Json& concerns = detail["concerns"];
  EXPECT_EQ(concerns.size(), concern.empty() ? 0U : 1U) << concerns;
  EXPECT_TRUE(contains(concerns.dump(), concern)) << concern << ": " << concerns;
}

// Statements that change a record.
std::string run(const std::string& columns) {
  return "UPDATE run SET " + columns + ";";
}
std::string message(const std::string& severity, const std::string& text) {
  return "INSERT INTO message (severity, text) VALUES ('" + severity + "', '" + text + "');";
}
std::string argument(const std::string& text) {
  return "INSERT INTO argument (text) VALUES ('" + text + "');";
}

std::uint64_t sum(const Json& rows, const char* key) {
  std::uint64_t sum = 0;
  for (const Json& row : rows) sum += row[key].get<std::uint64_t>();
  return sum;
}

TEST(Report, ShowsTheFindingsOfRuns) {
  const Scene scene;
  sandbox::Plan plan;
  plan.pairs = 2;
  const sandbox::Generated generated = sandbox::generate(scene, plan);
  scene.put("hosta", "gone",
            {"hosta_1000000_C1_F1.img", "hosta_9000000_C10_F1.img", "hosta_1000000_C10_F1.img"});
  fs::create_directories(scene.po_db("hosta", "broken"));
  scene.scan(4);
  scene.repair();  // fails, and leaves the metadata tree aside
  fs::rename(scene.root() / layout::k_work_dir, scene.tree_dir());
  const std::size_t printed = lines_beginning(scene.dry_run(4).out, "{").size();
  scene.remove_orphans(4);
  const std::string log_dir = scene.log_dir().string();
  const std::string page = read_text(MDFIXUP_SOURCE_DIR "/docs/report.md");
  const Json all = json({log_dir});
  expect_documented(all, page);
  EXPECT_EQ(all["whole"], true);
  ASSERT_EQ(all["runs"].size(), 4U) << all.dump(2);
  const Json& deletion = all["details"][0];
  const Json& dry_run = all["details"][1];
  const Json& repair = all["details"][2];
  const Json& scan = all["details"][3];
  EXPECT_EQ(scan["listed"]["dirs_with_issues"], generated.scan_lines.size());
  EXPECT_EQ(sum(scan["clients"], "directories"), generated.scan_lines.size());
  EXPECT_EQ(sum(repair["moves"], "pos"), repair["run"]["moved_pos"]);
  for (const char* key :
       {"orphan_copies", "missing_copies", "taken_pos", "taken_bytes", "other_copies_pos"}) {
    EXPECT_EQ(dry_run["listed"][key], dry_run["run"][key]) << key;
    EXPECT_EQ(deletion["listed"][key], dry_run["run"][key]) << key << ": as announced";
  }
  EXPECT_EQ(sum(dry_run["orphans"], "copies"), printed);
  Json first = dry_run["orphans"][0];
  first.erase("bytes");
  EXPECT_EQ(first, Json::parse(R"({"client": "hosta", "policy": "gone", "copies": 3,
      "dir_copies": 3, "dir_pos": 3, "share": 1.0, "pos": 3, "loses_everything": true,
      "oldest_backup_time": 1000000, "newest_backup_time": 9000000, "other_copies_pos": 1,
      "kept_copies": 0, "unapproved_copies": 0})"));
  EXPECT_EQ(dry_run["failed_directories"][0]["directory"],
            scene.policy_dir("hosta", "broken").string());
  EXPECT_FALSE(contains(dry_run["concerns"].dump(), " error")) << "only the failed directory's";
  const auto images =
      lines_beginning(report({"--images", "--json", dry_run["run"]["id"], log_dir}).out, "{");
  ASSERT_EQ(images.size(), printed);
  expect_documented(Json::parse(images[0]), page);
  const Json same =
      first_detail({"--compare", dry_run["run"]["id"], deletion["run"]["id"], log_dir});
  expect_documented(same, page);
  EXPECT_EQ(same["listed"]["common_copies"], printed);
  EXPECT_EQ(same["listed"]["common_bytes"], dry_run["run"]["taken_bytes"]);
}

TEST(Report, OfARunWithoutAnEndCountsTheLists) {
  const Records records;
  records.add(100, "UPDATE run SET ending = 'none'; UPDATE directory SET state = NULL");
  const Json killed = records.newest();
  EXPECT_TRUE(contains(killed["concerns"][0].dump(), "Ending: no end recorded: killed"));
  EXPECT_EQ(killed["run"]["orphan_copies"], nullptr);
  EXPECT_EQ(killed["listed"]["taken_bytes"], 9);
  EXPECT_EQ(killed["orphans"][0]["share"], nullptr) << "the directory was not finished";
  EXPECT_EQ(killed["unfinished_directories"][0]["directory"], "/k/catalog/2/hosta/p");
}

// The change of the dry run's record, the concern, and the change of a later record.
TEST(Report, NamesWhatToLookAtBeforeActing) {
  const std::string rows[][3] = {
      {"", ""},
      {run("copies = 5"), "20.0 % of all copies are orphans: 1 of 5"},
      {run("copies = 1"), "is it the right disk pool?"},
      {run("future_copies = 2"), "2 of 6 copies are newer than the host's clock"},
      {run("ending = 'signal'"), "Ending: ended well, stopped by a signal"},
      {run("catalog_aside = '/k/x'"), "The catalog lies aside, at /k/x: start"},
      {run("missing_copies = 3"), "counted 3 missing copies, its record lists 0"},
      {run("exit_status = 1, failed_dirs = 1, missing_copies = 3"),
       "Ending: failed (exit status 1)"},
      {message("warning", "none of the copies in /d") + message("warning", "gravest"),
       "2 warnings, the first: gravest"},
      {message("error", "e") + "UPDATE directory SET state = 'failed', reason = 'r'",
       "1 directory failed: not all"},
      {message("error", "e"), "1 error"},
      {argument("--catalog_backup_time=9"), "--catalog_backup_time is not 0"},
      {argument("--catalog_backup_time") + argument("00"), ""},
      {argument("--FORCE_CONSISTENCY_ALL_IMAGE"), "wait to be imported"},
      {"UPDATE directory SET copies = 1", "1 directory would lose every copy"},
      {run("task = 'deletion'"), "1 orphan copy could not be deleted"},
      {run("task = 'deletion', undo = 'off'") + "UPDATE orphan SET deleted = 1",
       "2 POs cannot be put back: --no_undo"},
      {run("task = 'deletion', undo = 'saved'") + "UPDATE orphan SET deleted = 1", ""},
      {run("skipped_dirs = 1"), "1 directory was skipped, for --only or --except"},
      {run("task = 'restore', collisions = 1") + "INSERT INTO collision VALUES (1, 1, 1, 'x')",
       "1 PO could not be put back: a different one"},
      {run("other_copies_pos = 1") + "INSERT INTO collateral VALUES (1, 1, 'x')",
       "1 PO of other copies would go with the orphans"},
      {"INSERT INTO unparsed VALUES (1, 1, 'x', 'y')", "1 PO was left out of the comparison"},
      {"", "before a later run: Deletion of 1970-01-01 00:01:50", run("task = 'deletion'")},
      {"", "before a later run: Case repair of", run("task = 'repair', ending = 'none', dirs = 0")},
      {"", "", run("task = 'restore'") + argument("--dry_run")},
      {"", "A later one was refused or aborted: Dry run of 1970-01-01 00:01:50, Some images wait",
       message("error", "Some images wait") + run("exit_status = 1, dirs = 0") +
           "DELETE FROM directory"},
  };
  for (const auto& [sql, concern, later_sql] : rows) {
    const Records records;
    const std::string file = records.add(100, sql);
    if (!later_sql.empty()) records.add(110, later_sql);
    expect_concern(first_detail({file}), concern);
    EXPECT_EQ(contains(report({file}).out, "does not prove the list right"), concern.empty());
  }
}

TEST(Report, SaysHowARunIsUndone) {
  const std::string deletion =
      run("task = 'deletion', undo = 'saved'") + "INSERT INTO saved VALUES (1, 'a', 1, 2, 3, 4);";
  const std::string restore = run("task = 'restore', of_run = '100-7'");
  const std::string how = "mdfixup-undo restore 100-7 (1 PO saved)";
  const std::string in_part = "mdfixup-undo restore 100-7 (1 PO saved; undone in part by 110-7)";
  // The change of the record, how to undo the run, and the changes of later records.
  const struct {
    std::string sql, expected;
    Words later = {};
  } rows[] = {
      {"", ""},
      {run("task = 'deletion', undo = 'saved'"), "nothing to undo"},
      {run("task = 'deletion', undo = 'saved'") + "UPDATE orphan SET deleted = 1",
       "the record holds nothing for it"},
      {run("task = 'deletion', undo = 'forgotten'"), "forgotten (mdfixup-undo forget)"},
      {run("task = 'repair', undo = 'saved'") +
           "INSERT INTO moved VALUES (1, 1, 1, 'a');"
           "INSERT INTO link VALUES (1, 'l', 't', 1), (2, 'k', 't', 0)",
       "mdfixup-undo restore 100-7 (1 move and 1 removed link saved)"},
      {deletion, how},
      {deletion, "undone by 110-7", {restore, restore + run("exit_status = 1")}},
      {deletion, how, {restore + run("of_run = '99-7'")}},
      {deletion, how, {restore + run("exit_status = 1, dirs = 0") + "DELETE FROM directory"}},
      {deletion, in_part, {restore + argument("--policy") + argument("p")}},
      {deletion, in_part, {restore + run("exit_status = 1")}},
      {deletion, in_part, {restore + run("ending = 'none'")}},
  };
  for (const auto& [sql, expected, later] : rows) {
    const Records records;
    const std::string file = records.add(100, sql);
    std::int64_t start = 100;
    for (const std::string& other : later) records.add(start += 10, other);
    const Json found = first_detail({file})["run"];
    EXPECT_EQ(found["how_to_undo"], expected) << sql;
    EXPECT_EQ(found["undone_by"] == "110-7", expected == "undone by 110-7");
    EXPECT_EQ(contains(report({file}).out, "  Undo    "), !expected.empty());
  }
}

// The directory counts the orphans that were left because they were not approved.
TEST(Report, OfADeletionDistinguishesUnapprovedFromFailedCopies) {
  const std::tuple<std::string, int, int> rows[] = {
      {"0", 0, 2}, {"1", 1, 1}, {"2", 2, 0}, {"9", 2, 0}};
  for (const auto& [unapproved, left, failed] : rows) {
    const Records records;
    const std::string file = records.add(
        100,
        "UPDATE run SET task = 'deletion', of_run = '90-7', orphan_copies = 3, absent_copies = 4;"
        "INSERT INTO orphan VALUES (2, 1, 1001, 1, 2, 9, 0), (3, 1, 1002, 1, 2, 9, 1);"
        "INSERT INTO collateral VALUES (1, 2, 'stays'), (2, 3, 'went');"
        "UPDATE run SET other_copies_pos = 1; UPDATE directory SET unapproved_copies = " +
            unapproved);
    const Json found = records.newest();
    EXPECT_EQ(found["listed"]["absent_copies"], 4);
    for (const Json& counts : {found["listed"], found["orphans"][0]}) {
      EXPECT_EQ(counts["unapproved_copies"], left);
      EXPECT_EQ(counts["kept_copies"], failed);
    }
    ASSERT_EQ(found["other_copies"].size(), 1U);
    EXPECT_EQ(found["other_copies"][0]["basename"], "went");
    EXPECT_EQ(contains(found["concerns"].dump(), "could not be deleted"), failed != 0);
    EXPECT_TRUE(contains(report({file}).out, "Approved by         90-7"));
  }
}

TEST(Report, ComparesTheListsOfTwoRuns) {
  const std::string missing = "INSERT INTO missing VALUES (1, 1, 5, 1);";
  // Copies of two directories, out of order, at the multiples of a step.
  const auto many = [](const std::string& step, const std::string& last) {
    return "INSERT INTO directory (id, dsid, client_policy, state) VALUES (2, '3', 1, 'done');"
           "DELETE FROM orphan; INSERT INTO orphan SELECT NULL, 1 + t % 5 / 3, t, t % 7, 1, 1, 0 "
           "FROM (SELECT 6000 - value * " +
           step + " AS t FROM generate_series(0, " + last + "))";
  };
  // The changes of both records; the copies in both, changed, only in the old, only in the new one; the
  // missing copies in both, only in the old, only in the new one; the number of clients and policies.
  const std::string rows[][3] = {
      {"", "", "1 0 0 0, 0 0 0; 1"},
      {"", "UPDATE orphan SET copy = 2", "0 0 1 1, 0 0 0; 1"},
      {"", "UPDATE directory SET dsid = '3'", "0 0 1 1, 0 0 0; 1"},
      {"", "UPDATE client_policy SET client = 'hostA'", "0 0 1 1, 0 0 0; 2"},
      {"", "UPDATE client_policy SET client = CAST(client AS BLOB)", "1 0 0 0, 0 0 0; 1"},
      {"", "UPDATE orphan SET pos = 3", "1 1 0 0, 0 0 0; 1"},
      {"", "UPDATE orphan SET bytes = 3", "1 1 0 0, 0 0 0; 1"},
      {"", "INSERT INTO orphan SELECT 9, directory, backup_time, copy, pos, bytes, 0 FROM orphan",
       "1 0 0 0, 0 0 0; 1"},
      {"DELETE FROM orphan", "", "0 0 0 1, 0 0 0; 1"},
      {missing, missing + "INSERT INTO missing VALUES (2, 1, 4, 1)", "1 0 0 0, 1 0 1; 1"},
      {many("2", "2999"), many("3", "1999"), "1000 0 2000 1000, 0 0 0; 1"},
  };
  for (const auto& [old_sql, new_sql, expected] : rows) {
    const Records records;
    const std::string old_record = records.add(100, old_sql);
    const Json found = first_detail({"--compare", old_record, records.add(200, new_sql)});
    const Json& listed = found["listed"];
    std::string counts;
    for (const char* key :
         {"common_copies", "changed_copies", "only_old_copies", "only_new_copies"}) {
      const std::uint64_t in_groups = sum(found["orphans_compared"], key);
      counts += std::to_string(in_groups) + " ";
      EXPECT_EQ(listed[key], in_groups) << key;
    }
    counts.back() = ',';
    for (const char* key : {"common", "only_old", "only_new"})
      counts += " " + listed[key + std::string("_missing_copies")].dump();
    counts += "; " + std::to_string(found["orphans_compared"].size());
    EXPECT_EQ(counts, expected) << old_sql << new_sql;
    expect_concern(found, "");
  }
}

TEST(Report, SaysWhyTwoRunsAreHardToCompare) {
  // The change of the new record, the concern, and the change of a record in between.
  const std::string rows[][3] = {
      {"", ""},
      {run("storage_root = '/k'"), "Different storages: OLD has , NEW has /k"},
      {run("disk_pool = 'dp'"), "Different disk pools"},
      {run("catalog_backup_time = 60"), "OLD has all images, NEW has since 1970-01-01 00:01"},
      {run("task = 'deletion'"), "NEW is no dry run: Deletion of"},
      {run("exit_status = 1"), "NEW did not end well: failed (exit status 1)"},
      {run("ending = 'none'"), "NEW did not end well: no end recorded"},
      {run("skipped_dirs = 2"), "NEW skipped 2 directories"},
      {run("started = 1"), "OLD began after NEW"},
      {"UPDATE directory SET state = 'failed'", "1 directory failed, or stopped, in one"},
      {"", "changed in between: Deletion of 1970-01-01 00:02:30", run("task = 'deletion'")},
      {"", "", run("task = 'scan'")},
  };
  for (const auto& [sql, concern, between] : rows) {
    const Records records;
    const std::string old_record = records.add(100);
    if (!between.empty()) records.add(150, between);
    const std::string new_record = records.add(200, sql);
    const Json found = first_detail({"--compare", old_record, new_record});
    expect_concern(found, concern);
    EXPECT_EQ(found["compared"]["new_record"], new_record);
  }
}

// The fuzz target of records shows values that no run writes.
TEST(Report, UnreadableRecordsAreNamedAndTheOthersShown) {
  // A shell command on "$1", or statements; and the fault.
  const std::string rows[][2] = {
      {"truncate -s 8000 \"$1\"", "malformed"},
      {": >\"$1\"", "it is no record of a run"},
      {"echo text >\"$1\"", "file is not a database"},
      {"rm \"$1\"; mkfifo \"$1\"", "it is no regular file"},
      {"mkfifo \"$1\"-journal", "-journal is no regular file"},
      {"rm \"$1\"; ln -s /no/such \"$1\"", "unable to open"},
      {"rm \"$1\"; ln -s /dev/zero \"$1\"", "it is no regular file"},
      {"PRAGMA application_id = 1", "it is no record of a run"},
      {"PRAGMA user_version = 9", "a version that this program does not know"},
      {"CREATE TRIGGER t AFTER INSERT ON run BEGIN SELECT 1; END", "its tables are not"},
      {"DELETE FROM run", "it holds no run"},
  };
  for (const auto& [damage, fault] : rows) {
    const Records records;
    records.add(100);
    const bool is_sql = damage.find("$1") == std::string::npos;
    const std::string damaged = records.add(200, is_sql ? damage : "");
    if (!is_sql) sandbox::run({"sh", "-c", damage, "sh", damaged});
    const Ended both = report({"--compare", records.file("100-7"), damaged});
    EXPECT_EQ(both.exit_status, 2) << damage;
    EXPECT_TRUE(contains(both.err, damaged)) << both.err;
    for (const std::string form : {"--text", "--json", "--html=-", "--runs", "--images"}) {
      const Ended ended = report({form, records.dir()});
      EXPECT_EQ(ended.exit_status, 2) << damage << ended.out;
      expect_parts(ended.err, {damaged + ": could not be read: ", fault});
      EXPECT_TRUE(contains(ended.out, damaged) || form == "--images") << form;
      EXPECT_TRUE(contains(ended.out, "100-7")) << form;
    }
  }
}

TEST(Report, NamesCannotActOnTheTerminal) {
  const Records records;
  const std::string hostile = "a\x1b[2J\r\x9b\xe2\x80\xae<b>\"\t";
  const std::string file = records.add(100, "UPDATE client_policy SET client = '" + hostile + "'");
  for (const char* form : {"--text", "--images", "--compare"}) {
    const Ended text = report({form, file, file});
    EXPECT_TRUE(contains(text.out, R"(a\x1b[2J\x0d\x9b\u{202e}<b>"\t)")) << text.out;
    EXPECT_EQ(text.out.find_first_of("\x1b\r"), std::string::npos);
  }
  EXPECT_EQ(records.newest()["orphans"][0]["client"], "a\x1b[2J\r\\x9b\xe2\x80\xae<b>\"\t")
      << "JSON can represent these";
  EXPECT_EQ(report::printable("h\xc3\xb6st\\x\xc3"), "h\xc3\xb6st\\\\x\\xc3");
}

TEST(Report, MemoryDoesNotGrowWithTheOrphans) {
#ifdef MDFIXUP_SANITIZED
  GTEST_SKIP() << "the sanitizers need more address space";
#endif
  const Records records;
  const std::string file = records.add(
      100, "INSERT INTO orphan SELECT NULL, 1, value, 1, 2, 9, 0 FROM generate_series(1, 300000)");
  const std::string limited = "ulimit -v 40000; exec \"$@\"";  // KiB
  for (const char* form : {"--text", "--json", "--html=-", "--images", "--compare"}) {
    const Words words{"sh", "-c", limited, "sh", MDFIXUP_REPORT_PROGRAM, form, file, file};
    EXPECT_EQ(sandbox::run(words).exit_status, 0) << form;
  }
}

TEST(Report, MetricsAreOfTheNewestRunOfEachTask) {
  const std::string deletion =
      run("task = 'deletion', undo = 'saved'") + "INSERT INTO saved VALUES (1, 'a', 1, 700, 3, 4);";
  const std::string refused = run("exit_status = 1, dirs = 0") + "DELETE FROM directory";
  // The change of a later record, and lines of the metrics; those after "-" are missing.
  const std::pair<std::string, Words> rows[] = {
      {"",
       {"run_start_timestamp_seconds{task=\"dry_run\"} 110.000",
        "orphan_copies{task=\"dry_run\"} 1"}},
      {run("task = 'scan', failed_dirs = 3, exit_status = 255"),
       {"directories_with_issues{task=\"scan\"} 1", "failed_directories{task=\"scan\"} 3",
        "run_exit_status{task=\"scan\"} 255", "copies{task=\"dry_run\"} 6",
        "run_last_success_timestamp_seconds{task=\"scan\"} 0.000", "-copies{task=\"scan\"}"}},
      {run("copies = 9"), {"copies{task=\"dry_run\"} 9", "-catalog_aside", "-stale_lock"}},
      {run("copies = 9") + refused,
       {"copies{task=\"dry_run\"} 6", "run_refused{task=\"dry_run\"} 1",
        "run_exit_status{task=\"dry_run\"} 1",
        "run_last_success_timestamp_seconds{task=\"dry_run\"} 102.000"}},
      {run("skipped_dirs = 1"), {"run_last_success_timestamp_seconds{task=\"dry_run\"} 102.000"}},
      {run("ending = 'none', copies = 9"),
       {"run_start_timestamp_seconds{task=\"dry_run\"} 110.000", "copies{task=\"dry_run\"} 6",
        "-run_end_timestamp_seconds{", "-run_exit_status{"}},
      {run("task = 'repair', undo = 'saved', collisions = 4") +
           "INSERT INTO moved VALUES (1, 1, 1, 'a')",
       {"undo_path_objects 1", "undo_bytes 0", "collisions{task=\"repair\"} 4"}},
      {deletion, {"undo_path_objects 1", "undo_bytes 700", "taken_bytes{task=\"deletion\"} 9"}},
      {run("task = 'restore'") + argument("--dry_run"),
       {"run_exit_status{task=\"restore_dry_run\"} 0", "-run_exit_status{task=\"restore\"}"}},
      {"PRAGMA user_version = 9", {"unreadable_records 1", "copies{task=\"dry_run\"} 6"}},
  };
  for (const auto& [sql, lines] : rows) {
    const Records records;
    records.add(100, run("ended = 102000000000"));
    records.add(110, run("ended = 112000000000;") + sql);
    const std::string found = report({"--openmetrics", records.dir()}).out;
    for (const std::string& line : lines) {
      const bool is_missing = line[0] == '-';
      EXPECT_EQ(contains(found, "\nmdfixup_" + line.substr(is_missing ? 1 : 0)), !is_missing)
          << line << " after " << sql << "\n"
          << found;
    }
    EXPECT_TRUE(ends_with(found, "\n# EOF\n"));
  }
}

// A repair may be what holds the lock: then the metadata tree is not left aside.
TEST(Report, MetricsShowAStorageThatNeedsAHand) {
  const Scene scene;
  scene.scan(1);
  const fs::path lock = scene.root() / layout::k_lock_file;
  const auto metrics = [&] { return report({"--openmetrics", scene.log_dir().string()}).out; };
  expect_parts(metrics(), {"\nmdfixup_catalog_aside 0\n", "\nmdfixup_stale_lock 0\n"});
  fs::rename(scene.tree_dir(), scene.root() / layout::k_work_dir);
  write_text(lock, std::to_string(::getpid()));
  EXPECT_TRUE(contains(metrics(), "\nmdfixup_stale_lock 0\n")) << "this program's name begins so";
  EXPECT_FALSE(contains(metrics(), "\nmdfixup_catalog_aside"));
  write_text(lock, "1");
  expect_parts(metrics(), {"\nmdfixup_catalog_aside 1\n", "\nmdfixup_stale_lock 1\n"});
  const Json json = scenario::report_test::json({"--runs", scene.log_dir().string()});
  EXPECT_EQ(json["storage"], Json::parse(R"({"catalog_aside": true, "stale_lock": true})"));
  // An undo needs the storage that the run was on.
  const fs::path old = records_of(scene, "scan").at(0);
  sqlite(old, run("task = 'repair', undo = 'saved'") + "INSERT INTO moved VALUES (1, 1, 1, 'a')");
  EXPECT_TRUE(contains(metrics(), "\nmdfixup_undo_path_objects 1\n"));
  sqlite(old, run("host = 'other', storage_root = '/other'"));
  fs::remove(lock);
  fs::rename(scene.root() / layout::k_work_dir, scene.tree_dir());
  scene.scan(1);
  expect_parts(metrics(), {"\nmdfixup_undo_path_objects 0\n", "\nmdfixup_catalog_aside 0\n"});
}

TEST(Report, CommandLine) {
  const Records records;
  const std::string dir = records.dir();
  const std::string file = records.add(100);
  const std::string scan = records.add(90, "UPDATE run SET task = 'scan'");
  const Records other;
  sandbox::run({"touch", other.add(150) + ".new"});
  // The arguments, the exit status, and a part of the output.
  const std::tuple<Words, int, std::string> rows[] = {
      {{dir}, 0, "1 orphan copy (of 6, 16.7 %)"},
      {{"--runs", dir}, 0, "100-7  1970-01-01 00:01:40  dry run"},
      {{dir}, 0, "1970-01 "},
      {{dir, other.dir()}, 0, "Dry run of 1970-01-01 00:02:30"},
      {{other.dir() + "/mdfixup", "150-7"}, 0, "Dry run of 1970-01-01 00:02:30"},
      {{"--images", dir}, 0, "hosta_1000\t1970-01-01 00:16\t1\t2\t9\tp\twould go\t100-7\n"},
      {{"--html", dir + "/page.html", dir}, 0, ""},
      {{dir, "/no/such"}, 2, "/no/such: could not be read: unable to open"},
      {{dir, "5-5"}, 2, "5-5: is no file, and no run has this id"},
      {{"/no/such"}, 1, "no record of a run was found"},
      {{"--html"}, 1, "required argument"},
      {{"--json", "--text", dir}, 1, "exclude each other"},
      {{"--compare", file, "100-7", dir}, 0, "1 orphan copy in both"},
      {{"--compare", file, dir}, 1, "--compare takes two records"},
      {{"--compare", file, scan}, 1, "takes dry runs: 90-7 (case scan) lists no orphans"},
      {{"--html", "/no/such/page.html", dir}, 1, "could not write /no/such/page.html"},
      {{"--html", file, dir}, 1, file + ": it is there, and is no page"},
      {{"--openmetrics", dir + "/a.prom", dir}, 0, ""},
      {{"--openmetrics", dir + "/a.prom", dir}, 0, ""},
      {{"--openmetrics", dir + "/page.html", dir}, 1, "is no file of its metrics"},
      {{"--openmetrics", "-", file}, 1, "takes one log directory"},
      {{"--openmetrics=-", dir, other.dir()}, 1, "takes one log directory"},
      {{"--openmetrics", "--json", dir}, 1, "excludes all other forms"},
      {{"--fleet"}, 1, "takes the JSON reports of hosts"},
      {{"--fleet", "--runs", file}, 1, "excludes the other contents"},
      {{}, 1, "Failed to locate the ksregistry path: /no/such"},
  };
  for (const auto& [arguments, exit_status, said] : rows) {
    const Ended ended = report(arguments);
    EXPECT_EQ(ended.exit_status, exit_status) << said;
    EXPECT_TRUE(contains(ended.out + ended.err, said)) << said << ended.out << ended.err;
  }
  const Words again{"sh",           "-c", "umask 077; exec \"$@\"", "sh", MDFIXUP_REPORT_PROGRAM,
                    "--openmetrics"};
  EXPECT_EQ(sandbox::run(joined(again, {dir + "/a.prom", dir})).exit_status, 0);
  EXPECT_EQ(fs::status(dir + "/a.prom").permissions() & fs::others_read, fs::others_read);
  EXPECT_FALSE(contains(report({"--runs", "--json", dir}).out, "details"));
  const std::string full = "exec \"$@\" > /dev/full";
  EXPECT_EQ(sandbox::run({"sh", "-c", full, "sh", MDFIXUP_REPORT_PROGRAM, dir}).exit_status, 1);
}

}  // namespace scenario::report_test
