#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <boost/algorithm/string.hpp>
#include <boost/filesystem/operations.hpp>
#include <nlohmann/json.hpp>

#include "record/run_record.h"
#include "report/escape.h"
#include "report/timeline.h"
#include "sandbox/planter.h"
#include "tests/support/scene.h"

// The report on real runs, and on records that no run would leave so.
namespace report_test {

namespace fs = boost::filesystem;
using boost::algorithm::contains;
using Json = nlohmann::json;
using record::Task;
using support::Ended;

Ended report(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), MDFIXUP_REPORT_PROGRAM);
  return support::run(arguments, {{"TZ", "UTC"}, {"KSREGISTRY", "/no/such"}});
}

// A log directory, and what makes records in it.
class Records {
 public:
  std::string dir() const { return m_dir.path().string(); }
  std::string file(const std::string& id) const { return dir() + "/mdfixup/runs/" + id + ".db"; }

  // A run that found one orphan among six copies, unless that was changed; killed without `ends`.
  // Returns its record.
  std::string add(std::int64_t start_seconds, Task task = Task::dry_run, bool ends = true,
                  const std::string& client = "hosta", std::int64_t orphans = 1) const {
    record::Run run;
    run.task = task;
    run.arguments = {"--dry_run"};
    run.pid = 7;
    run.start_nanoseconds = start_seconds * 1000000000;
    run.catalog = "/k/catalog";
    record::RunRecord record;
    record.begin(m_dir.path(), run);
    record::Directory dir{"2", client, "p", {2, 6, 1, 0, 2, 9, 0, 0, 0, 0}};
    for (std::int64_t i = 0; i < orphans; ++i) {
      record.add(dir, record::Orphan{1000 + i, 1, 2, 9, {}, task == Task::deletion});
    }
    record.done(dir);
    record.note([&](record::Run& noted) {
      noted.dirs = 1;
      noted.counts = dir.counts;
    });
    record.commit();
    if (ends) record.end({record::Ending::orderly, "", 0});
    return file(std::to_string(start_seconds) + "-7");
  }

  Json json() const { return Json::parse(report({"--json", dir()}).out); }

 private:
  support::TempDir m_dir;
};

void expect_documented(const Json& json, const std::string& page) {
  if (json.is_object()) {
    for (const auto& [key, value] : json.items()) {
      EXPECT_TRUE(contains(page, "`" + key + "`")) << key;
      expect_documented(value, page);
    }
  }
  if (json.is_array() && !json.empty()) expect_documented(json[0], page);
}

std::uint64_t sum(const Json& rows, const char* key) {
  std::uint64_t sum = 0;
  for (const Json& row : rows) sum += row[key].get<std::uint64_t>();
  return sum;
}

TEST(Report, TellsWhatTheRunsFound) {
  const support::Scene scene;
  sandbox::Plan plan;
  plan.pairs = 2;
  const sandbox::Planted planted = sandbox::plant(scene.storage(), plan);
  scene.put("hosta", "gone",
            {"hosta_1000000_C1_F1.img", "hosta_9000000_C10_F1.img", "hosta_1000000_C10_F1.img"});
  fs::create_directories(scene.po_db("hosta", "broken"));
  scene.scan(4);
  scene.repair();  // fails, and leaves the catalog aside
  fs::rename(scene.root() / "zelp-database-caseconv", scene.root() / "catalog");
  const std::vector<std::string> printed = support::lines_beginning(scene.dry_run(4).out, "{");
  scene.remove_orphans(4);
  const std::string log_dir = scene.storage().log_dir().string();
  const Json all = Json::parse(report({"--json", log_dir}).out);
  expect_documented(all, support::read_text(MDFIXUP_SOURCE_DIR "/docs/report.md"));
  EXPECT_EQ(all["whole"], true);
  ASSERT_EQ(all["runs"].size(), 4U) << all.dump(2);
  ASSERT_EQ(all["details"].size(), 4U);
  const Json& deletion = all["details"][0];
  const Json& dry_run = all["details"][1];
  const Json& repair = all["details"][2];
  const Json& scan = all["details"][3];
  EXPECT_EQ(deletion["run"], all["runs"][0]);
  EXPECT_EQ(scan["run"]["exit_status"], 255);
  EXPECT_EQ(scan["listed"]["dirs_with_issues"], planted.scan_lines.size());
  EXPECT_EQ(sum(scan["clients"], "directories"), planted.scan_lines.size());
  EXPECT_EQ(sum(repair["moves"], "pos"), repair["run"]["moved_pos"]);
  EXPECT_TRUE(
      contains(repair["concerns"].dump(), "The catalog lies aside, at " + scene.root().string()));
  EXPECT_EQ(dry_run["run"]["task"], "dry_run");
  EXPECT_EQ(dry_run["run"]["storage_root"], scene.root().string());
  EXPECT_EQ(dry_run["run"]["orphan_copies"], printed.size());
  for (const char* key : {"orphan_copies", "missing_copies", "taken_pos", "taken_bytes"}) {
    EXPECT_EQ(dry_run["listed"][key], dry_run["run"][key]) << key;
    EXPECT_EQ(deletion["listed"][key], dry_run["run"][key]) << key << ": what would go went";
  }
  EXPECT_EQ(sum(dry_run["orphans"], "copies"), printed.size());
  EXPECT_EQ(sum(dry_run["orphans"], "bytes"), dry_run["run"]["taken_bytes"]);
  EXPECT_EQ(sum(dry_run["missing"], "copies"), dry_run["run"]["missing_copies"]);
  Json first = dry_run["orphans"][0];
  EXPECT_GT(first["bytes"], 0);
  first.erase("bytes");
  const Json expected{{"client", "hosta"},
                      {"policy", "gone"},
                      {"copies", 3},
                      {"dir_copies", 3},
                      {"dir_pos", 3},
                      {"share", 1.0},
                      {"pos", 3},
                      {"loses_everything", true},
                      {"oldest_backup_time", 1000000},
                      {"other_copies_pos", 1},
                      {"kept_copies", 0},
                      {"newest_backup_time", 9000000}};
  EXPECT_EQ(first, expected);
  EXPECT_EQ(dry_run["orphans"][1]["loses_everything"], false);
  EXPECT_EQ(dry_run["other_copies"][0]["basename"], "hosta_1000000_C10_F1.img");
  EXPECT_EQ(dry_run["failed_directories"][0]["directory"],
            scene.storage().policy_dir("hosta", "broken").string());
  EXPECT_TRUE(contains(dry_run["concerns"].dump(), "before a later run: Deletion"));
  EXPECT_TRUE(contains(dry_run["concerns"].dump(), "1 directory failed"));
  EXPECT_FALSE(contains(dry_run["concerns"].dump(), " error")) << "the failed directory's alone";
  std::vector<std::string> images;
  const std::string id = dry_run["run"]["id"];
  const std::string lines = report({"--images", "--json", id, log_dir}).out;
  for (const std::string& line : support::lines_beginning(lines, "{")) {
    const Json image = Json::parse(line);
    expect_documented(image, support::read_text(MDFIXUP_SOURCE_DIR "/docs/report.md"));
    images.push_back("{client: " + image["client"].get<std::string>() +
                     ", policy: " + image["policy"].get<std::string>() +
                     ", backup_time: " + image["backup_time"].dump() +
                     ", copy_number: " + image["copy_number"].dump() + "}");
  }
  std::sort(images.begin(), images.end());
  ASSERT_EQ(images.size(), printed.size());
  for (std::size_t i = 0; i < images.size(); ++i) EXPECT_TRUE(contains(printed[i], images[i]));
}

TEST(Report, RunsAreNamedByIdOrFileAndDirectoriesKeptApart) {
  const Records one;
  const Records other;
  const std::string first = one.add(100);
  const std::string second = one.add(200);
  support::run({"cp", first, one.file("100-8")});  // another one of the same second
  support::run({"touch", one.file("300-7") + ".new"});
  other.add(150);
  const struct {
    std::vector<std::string> words;
    std::vector<std::string> details;
    std::size_t runs;
  } rows[] = {
      {{one.dir()}, {"200-7"}, 3},
      {{one.dir() + "/mdfixup", one.dir() + "/mdfixup/runs"}, {"200-7"}, 3},
      {{one.dir(), other.dir()}, {"200-7", "150-7"}, 4},
      {{first}, {"100-7"}, 3},
      {{"100-8", "100-7", one.dir()}, {"100-8", "100-7"}, 3},
  };
  for (const auto& row : rows) {
    std::vector<std::string> arguments = row.words;
    arguments.emplace_back("--json");
    const Json all = Json::parse(report(arguments).out);
    std::vector<std::string> details;
    for (const Json& detail : all["details"]) details.push_back(detail["run"]["id"]);
    EXPECT_EQ(details, row.details) << row.words[0];
    EXPECT_EQ(all["runs"].size(), row.runs);
  }
  EXPECT_FALSE(contains(report({"--runs", "--json", other.dir()}).out, "details"));
  EXPECT_TRUE(contains(report({"--runs", other.dir()}).out, "150-7  1970-01-01 00:02:30  dry run"));
}

TEST(Report, KilledRunIsReadWithItsWriteAheadLog) {
  const Records records;
  const pid_t child = ::fork();
  if (child == 0) {
    record::Directory dir{"2", "open", "p", {}};
    record::Run run;
    run.task = Task::deletion;
    run.start_nanoseconds = 100000000000;
    record::RunRecord record;
    record.begin(records.dir(), run);
    record.add(dir, record::Orphan{1000, 1, 2, 9, {}, true});
    record.add(dir, record::Orphan{2000, 1, 2, 9, {}, false});
    record.commit();
    ::_exit(0);
  }
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  const Json killed = records.json()["details"][0];
  EXPECT_EQ(killed["run"]["exit_status"], nullptr);
  EXPECT_EQ(killed["run"]["orphan_copies"], nullptr);
  EXPECT_EQ(killed["listed"]["taken_bytes"], 9);
  EXPECT_EQ(killed["listed"]["kept_copies"], 1);
  EXPECT_EQ(killed["orphans"][0]["share"], nullptr) << "the directory was not finished";
  EXPECT_EQ(killed["unfinished_directories"][0]["directory"], "/2/open/p");
  for (const char* text :
       {"no end recorded: killed", "1 directory in hand", "1 orphan copy could"}) {
    EXPECT_TRUE(contains(killed["concerns"].dump(), text)) << text;
  }
}

// What is changed in the record of the dry run at second 100, or comes after it, and what follows.
TEST(Report, NamesWhatToLookAtBeforeActing) {
  const auto message = [](const std::string& severity, const std::string& text) {
    return "INSERT INTO message (severity, text) VALUES ('" + severity + "', '" + text + "');";
  };
  const std::string argument = "INSERT INTO argument (text) VALUES ('";
  const struct {
    std::string sql;
    std::string concern;
    std::int64_t later = 0;
    Task task = Task::dry_run;
    std::string later_sql = {};
  } rows[] = {
      {"", ""},
      {"UPDATE run SET copies = 5", "20.0 % of all copies are orphans: 1 of 5"},
      {"UPDATE run SET copies = 1", "is it the right disk pool?"},
      {"UPDATE run SET future_copies = 2", "2 of 6 copies are newer than the host's clock"},
      {"UPDATE run SET ending = 'none'", "Ending: no end recorded: killed"},
      {"UPDATE run SET exit_status = 1", "Ending: failed (exit status 1)"},
      {"UPDATE run SET ending = 'signal'", "Ending: ended well, stopped by a signal"},
      {"UPDATE run SET catalog_aside = '/k/x'", "The catalog lies aside, at /k/x: start"},
      {"UPDATE run SET missing_copies = 3", "counted 3 missing copies, its record lists 0"},
      {"UPDATE run SET exit_status = 1, failed_dirs = 1, missing_copies = 3", "Ending: failed"},
      {message("warning", "none of the copies in /d") + message("warning", "gravest"),
       "2 warnings, the first: gravest"},
      {message("error", "e") + "UPDATE directory SET state = 'failed', reason = 'r'",
       "1 directory failed: not all"},
      {message("error", "e"), "1 error"},
      {argument + "--catalog_backup_time=9')", "--catalog_backup_time is not 0"},
      {argument + "--catalog_backup_time'), ('00')", ""},
      {argument + "--FORCE_CONSISTENCY_ALL_IMAGE')", "wait to be imported"},
      {"UPDATE directory SET copies = 1", "1 directory would lose every copy"},
      {"UPDATE run SET other_copies_pos = 1; INSERT INTO collateral (orphan, basename) VALUES (1, "
       "'x')",
       "1 PO of other copies would go with the orphans"},
      {"INSERT INTO unparsed (directory, basename, reason) VALUES (1, 'x', 'y')",
       "1 PO was left out of the comparison"},
      {"", "before a later run: Deletion of 1970-01-01 00:01:50", 110, Task::deletion},
      {"", "before a later run: Case repair of", 110, Task::repair,
       "UPDATE run SET ending = 'none', dirs = 0"},
      {"", "A later one was refused or aborted: Dry run of 1970-01-01 00:01:50, Some images wait",
       110, Task::dry_run,
       message("error", "Some images wait") +
           "UPDATE run SET exit_status = 1, dirs = 0; DELETE FROM directory"},
  };
  for (const auto& row : rows) {
    const Records records;
    const std::string file = records.add(100);
    if (!row.sql.empty()) support::sqlite(file, row.sql);
    if (row.later != 0) {
      const std::string later = records.add(row.later, row.task);
      if (!row.later_sql.empty()) support::sqlite(later, row.later_sql);
    }
    const Json details = Json::parse(report({"--json", file}).out)["details"];
    ASSERT_EQ(details.size(), 1U) << row.concern;
    const std::string concerns = details[0]["concerns"].dump();
    EXPECT_EQ(details[0]["concerns"].size(), row.concern.empty() ? 0U : 1U) << concerns;
    EXPECT_TRUE(contains(concerns, row.concern)) << row.concern << ": " << concerns;
    EXPECT_EQ(contains(report({file}).out, "does not prove the list right"), row.concern.empty());
  }
}

// Whatever stands where a record should be: one clear error, and the others are shown.
TEST(Report, UnreadableRecordsAreNamedAndTheOthersShown) {
  const struct {
    std::string damage;  // a shell command on "$1", or statements
    std::string fault;
  } rows[] = {
      {"truncate -s 8000 \"$1\"", "malformed"},
      {"dd if=/dev/urandom of=\"$1\" bs=4096 seek=1 conv=notrunc count=99 2>&1", ""},
      {": >\"$1\"", "it is no record of a run"},
      {"echo text >\"$1\"", "file is not a database"},
      {"rm \"$1\"; mkfifo \"$1\"", "it is no regular file"},
      {"mkfifo \"$1\"-journal", "-journal is no regular file"},
      {"rm \"$1\"; mkdir \"$1\"", "it is no regular file"},
      {"rm \"$1\"; ln -s /no/such \"$1\"", "unable to open"},
      {"rm \"$1\"; ln -s /dev/zero \"$1\"", "it is no regular file"},
      {"PRAGMA application_id = 1", "it is no record of a run"},
      {"PRAGMA user_version = 9", "a version that this program does not know"},
      {"CREATE TABLE more (x)", "its tables are not those of a record"},
      {"CREATE VIEW more AS SELECT 1", "its tables are not those of a record"},
      {"CREATE TRIGGER t AFTER INSERT ON run BEGIN SELECT 1; END", "its tables are not"},
      {"DELETE FROM run", "it holds no run"},
  };
  for (const auto& row : rows) {
    const Records records;
    records.add(100);
    const std::string damaged = records.add(200);
    const bool is_sql = row.damage.find("$1") == std::string::npos;
    if (is_sql) support::sqlite(damaged, row.damage);
    if (!is_sql) support::run({"sh", "-c", row.damage, "sh", damaged});
    for (const char* form : {"--text", "--json", "--html=-", "--runs"}) {
      const Ended ended = report({form, records.dir()});
      EXPECT_EQ(ended.exit_status, 2) << row.damage << ended.out;
      EXPECT_TRUE(contains(ended.err, damaged + ": could not be read: ")) << ended.err;
      EXPECT_TRUE(contains(ended.err, row.fault)) << row.damage << ended.err;
      EXPECT_TRUE(contains(ended.out, damaged)) << form;
      EXPECT_TRUE(contains(ended.out, "100-7")) << form;
    }
    EXPECT_EQ(report({"--images", records.dir()}).exit_status, 2);
  }
}

// A record with values that no run writes is shown, or refused.
TEST(Report, StrangeValuesAreShownAsTheyCanBe) {
  const char* const rows[] = {
      "UPDATE orphan SET backup_time = 'text', pos = 'text', bytes = -9, directory = 77",
      "UPDATE orphan SET backup_time = 9223372036854775807, pos = 9223372036854775807",
      "UPDATE orphan SET backup_time = -9223372036854775808, copy = 9223372036854775807",
      "UPDATE run SET started = 9223372036854775807, ended = -9223372036854775808, copies = -1",
      "UPDATE run SET started = x'00ff', task = 'dry_run' || char(27), ending = 'x', pid = 'x'",
      "UPDATE client_policy SET client = x'ff00ff', policy = ''; UPDATE directory SET state = 7",
      "UPDATE directory SET copies = 0, client_policy = -1; DELETE FROM argument",
  };
  for (const char* sql : rows) {
    const Records records;
    support::sqlite(records.add(100), sql);
    for (const char* form : {"--text", "--json", "--html=-", "--images"}) {
      const int exit_status = report({form, records.dir()}).exit_status;
      EXPECT_TRUE(exit_status == 0 || exit_status == 2) << sql << form << exit_status;
    }
  }
}

TEST(Report, NamesCannotActOnTheTerminal) {
  const Records records;
  const std::string hostile = "a\x1b[2J\r\x9b\xe2\x80\xae<b>\"\t";
  records.add(100, Task::dry_run, true, hostile);
  const std::string shown = R"(a\x1b[2J\x0d\x9b\u{202e}<b>"\t)";
  for (const char* form : {"--text", "--images"}) {
    const Ended text = report({form, records.dir()});
    EXPECT_TRUE(contains(text.out, shown)) << text.out;
    EXPECT_EQ(text.out.find_first_of("\x1b\r"), std::string::npos);
  }
  const std::string client = records.json()["details"][0]["orphans"][0]["client"];
  EXPECT_EQ(client, "a\x1b[2J\r\\x9b\xe2\x80\xae<b>\"\t") << "what JSON can carry stays";
  EXPECT_EQ(report::html(hostile), R"(a\x1b[2J\x0d\x9b\u{202e}&lt;b&gt;&quot;\t)");
  EXPECT_EQ(report::printable("h\xc3\xb6st\\x\xc3"), "h\xc3\xb6st\\\\x\\xc3");
}

TEST(Report, MemoryDoesNotGrowWithTheOrphans) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers need address space of their own";
#endif
  const Records records;
  records.add(100, Task::dry_run, true, "hosta", 300000);
  for (const char* form : {"--text", "--json", "--html=-", "--images"}) {
    const Ended ended = support::run({"sh", "-c", "ulimit -v 40000; exec \"$@\"", "sh",  // KiB
                                      MDFIXUP_REPORT_PROGRAM, form, records.dir()});
    EXPECT_EQ(ended.exit_status, 0) << form << ended.err;
    EXPECT_TRUE(contains(ended.out, form == std::string("--images") ? "hosta_300999" : "300000") ||
                contains(ended.out, "300,000"));
  }
}

TEST(Report, CommandLine) {
  const Records records;
  const std::string dir = records.dir();
  const std::string file = records.add(100);
  const struct {
    std::vector<std::string> arguments;
    int exit_status;
    std::string said;  // on either stream
  } rows[] = {
      {{"--help"}, 0, "Usage: mdfixup-report"},
      {{dir}, 0, "1 orphan copy (of 6, 16.7 %)"},
      {{file}, 0, "1 orphan copy (of 6, 16.7 %)"},
      {{"--images", dir}, 0, "hosta_1000\t1970-01-01 00:16\t1\t2\t9\tp\twould go\t100-7\n"},
      {{dir, "/no/such"}, 2, "/no/such: could not be read: unable to open"},
      {{dir, "/etc/passwd"}, 2, "/etc/passwd: could not be read: file is not a database"},
      {{dir, "5-5"}, 2, "5-5: is no file, and no run has this id"},
      {{"/no/such"}, 1, "no record of a run was found"},
      {{"100-7"}, 1, "Failed to locate the ksregistry path: /no/such"},
      {{"--html"}, 1, "required argument"},
      {{"--json", "--text", dir}, 1, "exclude each other"},
      {{"--runs", "--images", dir}, 1, "exclude each other"},
      {{"--html=-", "--images", dir}, 1, "exclude each other"},
      {{"--jsn", dir}, 1, "unrecognised option"},
      {{"--html", "/no/such/page.html", dir}, 1, "could not write /no/such/page.html"},
      {{"--html", dir, dir}, 1, "could not write " + dir},
      {{"--html", file, dir}, 1, file + ": it is there, and is no page"},
      {{}, 1, "Failed to locate the ksregistry path: /no/such"},
  };
  for (const auto& row : rows) {
    const Ended ended = report(row.arguments);
    EXPECT_EQ(ended.exit_status, row.exit_status) << row.said;
    EXPECT_TRUE(contains(ended.out + ended.err, row.said)) << row.said << ended.out << ended.err;
  }
  const std::string full = "exec \"$@\" > /dev/full";
  EXPECT_EQ(support::run({"sh", "-c", full, "sh", MDFIXUP_REPORT_PROGRAM, dir}).exit_status, 1);
  const std::string page = dir + "/page.html";
  EXPECT_EQ(report({"--html", page, dir}).exit_status, 0);
  EXPECT_TRUE(contains(support::read_text(page), "</html>"));
}

TEST(Report, TimelinesFindAWidthThatFits) {
  const struct {
    std::vector<std::int64_t> times;
    std::vector<std::string> labels;
  } rows[] = {
      {{}, {}},
      {{-1, 253402300800}, {}},
      {{0, 0, 5270400}, {"1970-01", "1970-02", "1970-03"}},
      {{1609459199, 1609459200}, {"2020-12", "2021-01"}},
      {{0, 31536000}, {"1970", "1971"}},
      {{0, 253402300799},
       {"1000-1999", "2000-2999", "3000-3999", "4000-4999", "5000-5999", "6000-6999", "7000-7999",
        "8000-8999", "9000-9999"}},
  };
  for (const auto& row : rows) {
    report::Timeline timeline;
    for (const std::int64_t time : row.times) timeline.add(time);
    std::vector<std::string> labels;
    std::uint64_t count = timeline.beyond();
    for (const auto& bar : timeline.bars(9)) {
      labels.push_back(bar.label);
      count += bar.count;
    }
    EXPECT_EQ(labels, row.labels);
    EXPECT_EQ(count, row.times.size());
  }
}

}  // namespace report_test
