#include <gtest/gtest.h>

#include <boost/algorithm/string.hpp>
#include <boost/filesystem/operations.hpp>
#include <nlohmann/json.hpp>

#include "report/escape.h"
#include "report/timeline.h"
#include "sandbox/planter.h"
#include "tests/support/scene.h"

// The report on real runs, and on logs that no run would leave so.
namespace report_test {

namespace fs = boost::filesystem;
using boost::algorithm::contains;
using Json = nlohmann::json;
using support::Ended;
using support::lines_beginning;

// A log directory that holds what a test writes there.
class Logs {
 public:
  Logs() { fs::create_directories(dir() / "metadata_consistency"); }

  const fs::path& dir() const { return m_dir.path(); }
  std::string orphans(int seconds = 100) const {
    return (dir() / "metadata_consistency" / ("OrphanImages_" + std::to_string(seconds) + ".log"))
        .string();
  }
  void write_run_log(const std::string& text, const std::string& suffix = "") const {
    fs::create_directories(dir() / "mdfixup");
    support::write_text(dir() / "mdfixup" / ("mdfixup.log" + suffix), text);
  }
  Ended report(const std::string& form = "--json") const {
    return support::run({MDFIXUP_REPORT_PROGRAM, form, dir().string()}, {{"TZ", "UTC"}});
  }
  Json json() const { return Json::parse(report().out); }

 private:
  support::TempDir m_dir;
};

std::string orphan(const std::string& client, std::int64_t time, const std::string& verb) {
  return verb + " the POs for the image: {client: " + client +
         ", policy: p, backup_time: " + std::to_string(time) + ", copy_number: 1}.\n";
}
const std::string k_would = "Would have deleted";

std::string run_line(const std::string& time, int pid, const std::string& text,
                     const std::string& level = "info") {
  return "2026-11-21 " + time + ".000 " + level + " pid=" + std::to_string(pid) +
         " thread=" + std::to_string(pid) + " " + text + "\n";
}

// How many of the sorted lines name this client and policy.
std::size_t naming(const std::vector<std::string>& lines, const Json& group) {
  const std::string name = "{client: " + group["client"].get<std::string>() +
                           ", policy: " + group["policy"].get<std::string>() + ",";
  return static_cast<std::size_t>(std::count_if(
      lines.begin(), lines.end(), [&](const std::string& line) { return contains(line, name); }));
}

void expect_documented(const Json& json, const std::string& page) {
  if (json.is_object()) {
    for (const auto& [key, value] : json.items()) {
      EXPECT_TRUE(contains(page, "`" + key + "`")) << key;
      expect_documented(value, page);
    }
  }
  if (json.is_array() && !json.empty()) expect_documented(json[0], page);
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
  const std::vector<std::string> printed = lines_beginning(scene.dry_run(4).out, "{");
  const std::string log_dir = scene.storage().log_dir().string();
  Json report = Json::parse(support::run({MDFIXUP_REPORT_PROGRAM, "--json", log_dir}).out);

  ASSERT_EQ(report["runs"].size(), 3U) << report.dump(2);
  EXPECT_EQ(report["runs"][0]["exit_status"], 1);
  EXPECT_EQ(report["runs"][2]["exit_status"], 255);
  EXPECT_EQ(report["whole"], true);
  const Json dry_run = report["consistency"][0];
  EXPECT_EQ(dry_run["task"], "dry_run");
  EXPECT_EQ(dry_run["run"]["summary"]["orphan_copies"], printed.size());
  EXPECT_EQ(dry_run["orphans"]["copies"], printed.size());
  EXPECT_EQ(dry_run["orphans"]["pos_taken"], dry_run["run"]["summary"]["pos_taken"]);
  EXPECT_EQ(dry_run["missing"]["copies"], dry_run["run"]["summary"]["missing_copies"]);
  const Json first = dry_run["orphans"]["groups"][0];
  const Json expected{{"client", "hosta"},
                      {"policy", "gone"},
                      {"copies", 3},
                      {"oldest_backup_time", 1000000},
                      {"newest_backup_time", 9000000},
                      {"directory_copies", 3},
                      {"directory_pos", 3},
                      {"share", 1.0},
                      {"loses_everything", true},
                      {"pos_taken", 3},
                      {"pos_of_other_copies", 1}};
  EXPECT_EQ(first, expected);
  for (const Json& group : dry_run["orphans"]["groups"]) {
    EXPECT_EQ(group["copies"], naming(printed, group)) << group;
    EXPECT_EQ(group["loses_everything"], group == first);
  }
  EXPECT_EQ(dry_run["pos_of_other_copies"]["first"][0]["basename"], "hosta_1000000_C10_F1.img");
  EXPECT_EQ(dry_run["failed_directories"]["first"][0]["directory"],
            scene.storage().policy_dir("hosta", "broken").string());
  std::size_t moved = 0;
  for (const Json& move : report["repairs"][0]["moves"]) moved += move["pos"].get<std::size_t>();
  EXPECT_EQ(moved, report["repairs"][0]["run"]["summary"]["pos_moved"]);
  EXPECT_EQ(report["scans"][0]["directories_with_issues"], planted.scan_lines.size());
  expect_documented(report, support::read_text(MDFIXUP_SOURCE_DIR "/docs/report.md"));

  scene.remove_orphans(4);
  report = Json::parse(support::run({MDFIXUP_REPORT_PROGRAM, "--json", log_dir}).out);
  ASSERT_EQ(report["consistency"].size(), 2U) << "and one second may have seen both";
  EXPECT_EQ(report["consistency"][0]["task"], "deletion");
  EXPECT_EQ(report["consistency"][0]["orphans"], dry_run["orphans"]) << "what would go went";
  EXPECT_EQ(report["consistency"][1]["orphans"], dry_run["orphans"]);
  EXPECT_TRUE(
      contains(report["consistency"][1]["concerns"].dump(), "before a later run: Deletion"));
}

TEST(Report, RunsOfOneSecondAreToldApart) {
  const Logs logs;
  const std::string opening = "Number of threads:           1\n";
  const std::string a = orphan("hosta", 1000, k_would) + "Would delete 2 POs.\n";
  const std::string b = orphan("hosta", 1000, "Deleted") + "Deleted 2 POs.\n";
  support::write_text(logs.orphans(), opening + a + opening + a + opening + b);
  const std::string header = "backupid|client_name|policy_name|copy_num|\n";
  support::write_text(logs.dir() / "MissingImages_101.log",
                      header + header + "h_1|h|p|1|\n" + header);
  std::string run_log;
  for (const char* mode : {"dry run", "dry run", "deletion"}) {
    const auto line = [&](const std::string& text) {
      run_log += "1970-01-01 00:01:40.000 info pid=7 thread=7 " + text + "\n";
    };
    line("start: pid 7, arguments");
    line(std::string("mode: metadata consistency, ") + mode);
    line(
        "summary: policy directories 1, failed 0, POs 9, copies 9, orphan copies 1, missing copies "
        "0, POs taken 2, of other copies 0, POs moved 0, collisions 0, seconds 0.001");
    line("end: exit status 0");
  }
  logs.write_run_log(run_log);
  const Json consistency = logs.json()["consistency"];
  ASSERT_EQ(consistency.size(), 2U) << "of each task the newest";
  EXPECT_EQ(consistency[0]["task"], "deletion");
  EXPECT_EQ(consistency[1]["task"], "dry_run");
  for (const Json& details : consistency) {
    EXPECT_EQ(details["orphans"]["copies"], 1);
    EXPECT_EQ(details["orphans"]["pos_taken"], 2);
  }
  EXPECT_EQ(consistency[0]["concerns"], Json::array());
  EXPECT_EQ(consistency[1]["missing"]["copies"], 1);
  // One begins in the second of the other's log, and makes its own in the next.
  support::write_text(logs.orphans(), opening + a);
  support::write_text(logs.orphans(101), opening + b);
  boost::algorithm::replace_last(run_log, ":40.000", ":41.000");
  logs.write_run_log(run_log);
  const Json apart = logs.json()["consistency"];
  for (const Json& details : apart) {
    EXPECT_EQ(details["time"], details["task"] == "dry_run" ? 100 : 101);
  }
  support::write_text(logs.orphans(), opening + a + opening + a + opening + b);
  const Ended named = support::run({MDFIXUP_REPORT_PROGRAM, "--json", logs.orphans()});
  EXPECT_EQ(Json::parse(named.out)["consistency"].size(), 3U);
}

TEST(Report, RunsAreToldByTheirLines) {
  const Logs logs;
  const std::string first = run_line("10:00:00", 7, "start: pid 7, arguments --scan");
  logs.write_run_log(first + run_line("10:00:01", 7, "mode: client name case scan"), ".2");
  logs.write_run_log(
      run_line("11:00:00", 7, "start: pid 7, arguments --repair_client_name_case") +
          run_line("11:00:00", 8, "start: pid 8, arguments --FORCE_DEDUPE_METADATA_CONSISTENCY") +
          run_line("11:00:00", 7, "mode: client name case repair") +
          run_line("11:00:00", 8, "mode: metadata consistency, deletion") +
          run_line("11:01:00", 8, "progress: 5 of 9 directories") +
          run_line("11:02:00", 7, "the run was interrupted by a signal") +
          run_line("11:02:00", 7, "end: exit status 1") +
          run_line("11:03:00", 8, "the backup catalog has none", "warning"),
      ".1");
  logs.write_run_log(run_line("12:00:00", 7, "start: pid 7, arguments --x") +
                     run_line("12:00:00", 7, "Unknown options combination", "error") +
                     run_line("12:00:00", 7, "end: exit status 1"));
  const Json runs = logs.json()["runs"];
  ASSERT_EQ(runs.size(), 4U);
  const std::multiset<std::string> tasks{runs[1]["task"], runs[2]["task"]};
  EXPECT_EQ(tasks, (std::multiset<std::string>{"deletion", "repair"}));
  const Json& deletion = runs[runs[1]["task"] == "deletion" ? 1 : 2];
  const Json& repair = runs[runs[1]["task"] == "repair" ? 1 : 2];
  EXPECT_EQ(runs[0]["errors"]["first"], Json({"Unknown options combination"}));
  EXPECT_EQ(runs[0]["task"], "none");
  EXPECT_EQ(deletion["exit_status"], nullptr) << "killed";
  EXPECT_EQ(deletion["progress"], "5 of 9 directories");
  EXPECT_EQ(deletion["warnings"]["count"], 1);
  EXPECT_EQ(repair["interrupted"], true);
  EXPECT_EQ(repair["exit_status"], 1);
  EXPECT_EQ(runs[3]["task"], "scan");
  EXPECT_EQ(runs[3]["exit_status"], nullptr) << "its process id came up again";
}

// What the run log says of the dry run at second 100, or after it, and what comes of it.
TEST(Report, NamesWhatToLookAtBeforeActing) {
  const auto line = [](int second, const std::string& text, const std::string& level = "info") {
    return "1970-01-01 00:0" + std::to_string(second / 60) + ":" + std::to_string(second % 60) +
           ".000 " + level + " pid=7 thread=7 " + text + "\n";
  };
  const auto ended = [](std::size_t copies) {
    return "summary: policy directories 1, failed 0, POs 2, copies " + std::to_string(copies) +
           ", orphan copies 1, missing copies 0, POs taken 2, of other copies 0, POs moved 0, "
           "collisions 0, seconds 0.001";
  };
  const std::string end = line(101, ended(6)) + line(101, "end: exit status 0");
  const std::string clock = "2 of 6 copies are newer than this host's clock by more than a day";
  std::string many;
  for (int i = 0; i < 30; ++i) {
    many += line(101, "the backup catalog has none of the copies in /d", "warning");
  }
  const std::string later = line(110, "start: pid 7, arguments");
  const struct {
    std::string log, concern;
  } rows[] = {
      {end, ""},
      {line(101, ended(5)) + line(101, "end: exit status 0"),
       "[\"20.0 % of all copies are orphans: 1 of 5\"]"},
      {line(101, clock, "warning") + many + end, "[\"" + clock + "\","},
      {line(100, "moved the catalog from ") + end, ""},
      {"", "no end logged"},
      {line(101, ended(2)) + line(101, "end: exit status 1"), "ending: failed (exit status 1)"},
      {line(101, ended(1)) + line(101, "end: exit status 0"), "is it the right disk pool?"},
      {line(101, ended(2)) + many + line(101, "gravest", "warning") +
           line(101, "end: exit status 0"),
       "31 warnings in the run log, the first: gravest"},
      {end + later + line(110, "mode: metadata consistency, dry run") +
           line(110, "Some images wait", "error") + line(110, "end: exit status 1"),
       "a later one was refused or aborted: Dry run of 1970-01-01 00:01:50, Some images wait"},
      {end + later + line(110, "mode: metadata consistency, deletion"),
       "before a later run: Deletion of 1970-01-01 00:01:50"},
  };
  for (const auto& row : rows) {
    const Logs logs;
    support::write_text(logs.orphans(), orphan("hosta", 1000, k_would) + "Would delete 2 POs.\n");
    logs.write_run_log(line(100, "start: pid 7, arguments --dry_run") +
                       line(100, "mode: metadata consistency, dry run") + row.log);
    const Json dry_run = logs.json()["consistency"][0];
    EXPECT_EQ(dry_run["missing"], nullptr) << "nobody knows";
    const std::string concerns = dry_run["concerns"].dump();
    EXPECT_TRUE(row.concern.empty() ? concerns == "[]" : contains(concerns, row.concern))
        << concerns;
    EXPECT_EQ(contains(logs.report("--text").out, "does not prove the list right"),
              row.concern.empty());
  }
  const Logs logs;
  support::write_text(logs.dir() / "repaired_client_names_with_case_sensitivity_issues.100", "");
  logs.write_run_log(line(100, "start: pid 7, arguments") +
                     line(100, "mode: client name case repair") +
                     line(100, "moved the catalog from /k/catalog to /k/zelp-database-caseconv") +
                     line(101, ended(0)) + line(101, "end: exit status 1"));
  EXPECT_TRUE(
      contains(logs.report("--text").out, "lies aside, at /k/zelp-database-caseconv: start"));
}

TEST(Report, DamagedLogsGiveWhatCanBeRead) {
  const std::string a = orphan("hosta", 1000, k_would);
  const std::string b = orphan("hostb", 2000, k_would);
  const std::string failed =
      "ERROR (malformed data) : could not compare the Tavrin catalog and deduplication metadata "
      "for "
      "/c/2/hosta/p; Could not call tvimagequery: Invalid line, but received:\n";
  const struct {
    std::string log;
    std::size_t copies;
    std::string fault;
  } rows[] = {
      {a + b, 2, ""},
      {a + failed + "sh: not found\n" + b, 2, ""},  // the rest of the error's text
      {a + b.substr(0, b.size() - 1), 1, "the last line is cut off"},
      {a + b.substr(0, 70), 1, "the last line is cut off"},
      {a + "sh: not found\n" + b, 2, "1 lines could not be understood, the first is line 2"},
      {std::string(1000, '\0') + "\n" + a + "\xff\xfe\n" + b, 2,
       "2 lines could not be understood, the first is line 1"},
      {a + std::string(300000, 'x') + "\n" + b, 2,
       "1 lines could not be understood, the first is line 2"},
      {a + "Would delete 99999999999999999999 POs.\n" + b, 2,
       "1 lines could not be understood, the first is line 2"},
      {orphan("hosta", 1000, "Would hve deleted") + "also takes hosta_1\n" + b, 1,
       "2 lines could not be understood, the first is line 1"},
  };
  for (const auto& row : rows) {
    const Logs logs;
    support::write_text(logs.orphans(), row.log);
    const Ended ended = logs.report();
    const Json report = Json::parse(ended.out);
    EXPECT_EQ(report["consistency"][0]["orphans"]["copies"], row.copies) << row.fault;
    EXPECT_EQ(report["files"][0]["fault"], row.fault);
    EXPECT_EQ(ended.exit_status, row.fault.empty() ? 0 : 2);
    EXPECT_EQ(contains(ended.err, row.fault), true) << ended.err;
  }
  // What would be waited for, or read for ever.
  for (const char* make : {"mkfifo ", "ln -s /dev/zero ", "ln -s /no/such "}) {
    const Logs logs;
    support::write_text(logs.orphans(99), a);
    support::run({"sh", "-c", make + logs.orphans()});
    const Ended ended = support::run({MDFIXUP_REPORT_PROGRAM, logs.orphans(), logs.orphans(99)});
    EXPECT_EQ(ended.exit_status, 2) << make << ended.err;
    EXPECT_TRUE(contains(ended.out, "1 orphan copies would go")) << ended.out;
  }
}

TEST(Report, NamesCannotActOnTheTerminal) {
  const Logs logs;
  const std::string hostile = "a\x1b[2J\r\x9b\xe2\x80\xae<b>\"\t";
  support::write_text(logs.orphans(), orphan(hostile, 1, k_would) + "also takes " + hostile + "\n");
  const std::string shown = R"(a\x1b[2J\x0d\x9b\u{202e}<b>"\t)";
  const Ended text = logs.report("--text");
  EXPECT_TRUE(contains(text.out, shown + " p\n")) << text.out;
  EXPECT_TRUE(contains(text.out, shown + "  with copy 1")) << text.out;
  EXPECT_EQ(text.out.find_first_of("\x1b\r\t"), std::string::npos);
  const std::string client = logs.json()["consistency"][0]["orphans"]["groups"][0]["client"];
  EXPECT_EQ(client, "a\x1b[2J\r\\x9b\xe2\x80\xae<b>\"\t") << "what JSON can carry stays";
  EXPECT_EQ(report::html(hostile), R"(a\x1b[2J\x0d\x9b\u{202e}&lt;b&gt;&quot;\t)");
  EXPECT_EQ(report::printable("h\xc3\xb6st\\x\xc3"), "h\xc3\xb6st\\\\x\\xc3");
}

TEST(Report, MemoryDoesNotGrowWithTheLines) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers need address space of their own";
#endif
  const Logs logs;
  std::string text;
  for (int i = 0; i < 300000; ++i) text += orphan("host" + std::to_string(i % 500), i, k_would);
  support::write_text(logs.orphans(), text);
  const std::string limit = "ulimit -v 40000; exec \"$@\"";  // KiB; the log has 27 MB
  const Ended ended = support::run(
      {"sh", "-c", limit, "sh", MDFIXUP_REPORT_PROGRAM, "--json", logs.dir().string()});
  ASSERT_EQ(ended.exit_status, 0) << ended.err;
  EXPECT_EQ(Json::parse(ended.out)["consistency"][0]["orphans"]["copies"], 300000);
}

TEST(Report, CommandLine) {
  const Logs logs;
  const std::string dir = logs.dir().string();
  support::write_text(logs.orphans(), orphan("hosta", 1, k_would));
  const struct {
    std::vector<std::string> arguments;
    int exit_status;
    std::string said;  // on either stream
  } rows[] = {
      {{"--help"}, 0, "Usage: mdfixup-report"},
      {{dir}, 0, "1 orphan copies would go"},
      {{logs.orphans()}, 0, "1 orphan copies would go"},
      {{dir, "/no/such"}, 2, "/no/such: does not exist"},
      {{dir, "/etc/passwd"}, 2, "/etc/passwd: has no name of a log of mdfixup"},
      {{"/no/such"}, 1, "no log of a run was found"},
      {{"--html"}, 1, "required argument"},
      {{"--json", "--text", dir}, 1, "exclude each other"},
      {{"--jsn", dir}, 1, "unrecognised option"},
      {{"--html", "/no/such/page.html", dir}, 1, "could not write /no/such/page.html"},
      {{"--html", dir, dir}, 1, "could not write " + dir},
      {{"--html", logs.orphans(), dir}, 1, logs.orphans() + ": it is there, and is no page"},
      {{}, 1, "Failed to locate the ksregistry path: /no/such"},
  };
  for (const auto& row : rows) {
    std::vector<std::string> command{MDFIXUP_REPORT_PROGRAM};
    command.insert(command.end(), row.arguments.begin(), row.arguments.end());
    const Ended ended = support::run(command, {{"KSREGISTRY", "/no/such"}});
    EXPECT_EQ(ended.exit_status, row.exit_status) << row.said;
    EXPECT_TRUE(contains(ended.out + ended.err, row.said)) << ended.out << ended.err;
  }
  const std::string full = "exec \"$@\" > /dev/full";
  EXPECT_EQ(support::run({"sh", "-c", full, "sh", MDFIXUP_REPORT_PROGRAM, dir}).exit_status, 1);
  const fs::path page = logs.dir() / "page.html";
  EXPECT_EQ(support::run({MDFIXUP_REPORT_PROGRAM, "--html", page.string(), dir}).exit_status, 0);
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
