#include <time.h>

#include <limits>

#include "tests/report/report_run.h"

// The reports of many hosts.
namespace scenario::report_test {

// A folder with the report of a host whose storage is sound, and others made from it.
class Fleet {
 public:
  Fleet() {
    put_own(m_scene, {"hosta"}, {"_1000000_C1_F1.img"});
    m_scene.list_image("hosta", "p", 1000000, {1});
    m_scene.scan(1);
    m_scene.dry_run(1);
    m_report = json({m_scene.log_dir().string()});
  }

  const Json& report_of_host() const { return m_report; }
  std::string file(const std::string& name) const { return (m_dir.path() / name).string(); }
  void put(const std::string& name, const std::string& text) const { write_text(file(name), text); }
  void put(const std::string& name, const Json& report) const { put(name, report.dump()); }

  Json shown(const Words& names) const {
    Words files{"--fleet"};
    for (const std::string& name : names) files.push_back(file(name));
    return json(files);
  }

 private:
  const Scene m_scene;
  const support::TempDir m_dir;
  Json m_report;
};

std::string state_file(const std::string& state, const std::string& text) {
  return Json{{"schema", "mdfixup-host"}, {"version", 1}, {"state", state}, {"text", text}}.dump();
}

TEST(Fleet, StateIsTheGravestOfWhatTheReportSays) {
  const Fleet fleet;
  const std::int64_t long_ago = ::time(nullptr) - 9 * 86400;
  Json repair = fleet.report_of_host()["runs"][1];
  repair["task"] = "repair";
  repair["start_time"] = ::time(nullptr) + 1;
  // What is set in the report (the dry run is the newest run), the file of the playbook, the state and a part
  // of its reason.
  const struct {
    std::map<std::string, Json> changes;
    std::string reached;
    std::string state, reason;
  } rows[] = {
      {{}, "", "clean", ""},
      {{}, state_file("checked", ""), "clean", ""},
      {{}, state_file("failed", "exit status 1: disk full"), "check failed", "disk full"},
      {{}, "{}", "check failed", "its state file: "},
      {{}, state_file("unreachable", "no route"), "not reached", "no route; its report is of "},
      {{{"/details/0/run/orphan_copies", 3}}, "", "orphans", "3 orphan copies"},
      {{{"/details/1/listed/dirs_with_issues", 2}, {"/runs/2", repair}},
       "",
       "case issues",
       "spelling of the client's name: a repair ran since then, scan again"},
      {{{"/details/1/listed/dirs_with_issues", 1}, {"/details/0/run/orphan_copies", 3}},
       "",
       "case issues",
       "1 policy directory has POs"},
      {{{"/details/0/concerns/0", "all is lost"}, {"/details/1/listed/dirs_with_issues", 1}},
       "",
       "concerns",
       "dry run: all is lost"},
      {{{"/details/1/concerns/0", "before a later run"}},
       "",
       "concerns",
       "scan: before a later run"},
      {{{"/runs/1/end_time", long_ago}, {"/details/0/concerns/0", "x"}},
       "",
       "no recent check",
       "the newest scan ended on "},
      {{{"/runs/1/end_time", ::time(nullptr) + 200000}},
       "",
       "no recent check",
       "compare the clocks"},
      {{{"/runs/0/end_time", std::numeric_limits<std::int64_t>::min()}}, "", "no recent check", ""},
      {{{"/runs/0/task", "repair"}, {"/details/0/run/task", "repair"}},
       "",
       "no recent check",
       "no dry run on record"},
      {{{"/runs/0/exit_status", 1},
        {"/runs/0/outcome", "refused for x"},
        {"/runs/1/end_time", long_ago}},
       "",
       "check failed",
       "the newest dry run ended well: refused for x"},
      {{{"/runs/0/exit_status", nullptr}}, "", "check failed", "the newest dry run"},
      {{{"/storage/stale_lock", true}}, "", "check failed", "a lock file that no run holds"},
      {{{"/storage/catalog_aside", true}},
       state_file("unreachable", "x"),
       "catalog aside",
       "start no service"},
      {{{"/storage/catalog_aside", nullptr}, {"/runs/1/catalog_aside", "/k/x"}}, "", "clean", ""},
      {{{"/storage", nullptr}, {"/runs/0/catalog_aside", "/k/x"}}, "", "catalog aside", ""},
      {{{"/version", 3}}, "", "no report", "a version that this program does not know"},
      {{{"/schema", "other"}}, "", "no report", "its report: not printed by mdfixup-report"},
      {{{"/whole", false}, {"/unreadable/0", {{"path", "7-7.db"}, {"fault", "damaged"}}}},
       "",
       "check failed",
       "7-7.db: damaged"},
      // What is not known is not sound. Wrong types are as if nothing were there.
      {{{"/details/0/run/id", "1-1"}},
       "",
       "check failed",
       "does not say what the newest dry run found"},
      {{{"/details/0/listed/orphan_copies", -1}}, "", "check failed", "newest dry run found"},
      {{{"/details", "x"}, {"/storage", 1}}, "", "check failed", "newest scan found"},
      {{{"/details length", 5}}, "", "no report", "its report: not a report"},
      {{{"/runs", 7}, {"/details", Json::object()}}, "", "no recent check", "no scan on record"},
      {{{"/runs/0/exit_status", "0"}, {"/runs/0/start_time", -1.5}}, "", "check failed", ""},
  };
  for (const auto& row : rows) {
    Json report = fleet.report_of_host();
    for (const auto& [where, value] : row.changes) report[Json::json_pointer(where)] = value;
    fleet.put("media01.json", report);
    Words names{"media01.json"};
    if (!row.reached.empty()) {
      fleet.put("media01.state.json", row.reached);
      names.emplace_back("media01.state.json");
    }
    const Json shown = fleet.shown(names);
    ASSERT_EQ(shown["hosts"].size(), 1U) << shown;
    EXPECT_EQ(shown["hosts"][0]["host"], "media01");
    EXPECT_EQ(shown["hosts"][0]["state"], row.state) << shown.dump(1);
    const std::string concerns = shown["details"][0]["concerns"].dump();
    EXPECT_TRUE(contains(concerns, row.reason)) << row.reason << ": " << concerns;
    EXPECT_EQ(concerns == "[]", row.state == "clean") << concerns;
    EXPECT_EQ(shown["whole"], row.state != "no report" && row.reached != "{}");
  }
}

TEST(Fleet, TheMostUrgentHostsComeFirstAndEachFileCounts) {
  const Fleet fleet;
  Json report = fleet.report_of_host();
  fleet.put("a-clean.json", report);
  Json& dry_run = report["details"][0];
  const Json group{{"client", "c"}, {"policy", "p"}, {"copies", 1}, {"share", 0.5}};
  for (int i = 0; i < 30; ++i) dry_run["orphans"].push_back(group);
  dry_run["orphans"][1]["loses_everything"] = true;
  dry_run["run"]["orphan_copies"] = 30;
  fleet.put("b-orphans.json", report);
  fleet.put("d-cut.json", report.dump().substr(0, 2000));
  fleet.put("c-down.state.json", state_file("unreachable", "down"));
  fs::create_directories(fleet.file("more"));
  fleet.put("more/a-clean.json", fleet.report_of_host());
  fleet.put("e-lost.json", fleet.report_of_host());
  fleet.put("e-lost.state.json", std::string());
  const Json shown = fleet.shown({"a-clean.json", "b-orphans.json", "c-down.state.json",
                                  "d-cut.json", "e-lost.json", "e-lost.state.json",
                                  "more/a-clean.json", "more/../a-clean.json", "no-such.json"});
  Words hosts;
  for (const Json& host : shown["hosts"]) hosts.push_back(host["host"].get<std::string>());
  EXPECT_EQ(hosts, (Words{"c-down", "d-cut", "no-such", "e-lost", "b-orphans",
                          fleet.file("a-clean"), fleet.file("more/a-clean")}));
  EXPECT_EQ(shown["concerns"].size(), 4U) << shown["concerns"];
  EXPECT_EQ(shown["unreadable"].size(), 3U);
  EXPECT_EQ(shown["details"][4]["orphans"].size(), 20U);
  EXPECT_EQ(shown["directories"].size(), 20U);
  EXPECT_EQ(shown["directories"][0]["host"], "b-orphans");
  const Ended text = report_test::report({"--fleet", fleet.file("b-orphans.json")});
  EXPECT_EQ(text.exit_status, 0);
  expect_parts(text.out, {"1 host: 1 orphans", "the first 20 of 30", "(would lose everything)"});
  expect_documented(shown, read_text(MDFIXUP_SOURCE_DIR "/docs/report.md"));
}

TEST(Fleet, NamesAreEscaped) {
  const Fleet fleet;
  Json report = fleet.report_of_host();
  const std::string hostile = "a\x1b[2J<img src=x onerror=ran=1>";
  report["runs"][0]["host"] = hostile;
  report["details"][0]["concerns"] = {hostile};
  const std::string name = "m<b>\x1b[2J.json";
  fleet.put(name, report);
  const std::string text = report_test::report({"--fleet", fleet.file(name)}).out;
  EXPECT_EQ(text.find('\x1b'), std::string::npos) << text;
  expect_parts(text, {R"(m<b>\x1b[2J)", R"(a\x1b[2J<img src=x)"});
  const std::string page = report_test::report({"--fleet", "--html=-", fleet.file(name)}).out;
  EXPECT_FALSE(contains(page, "<img") || contains(page, "m<b>") || contains(page, "\x1b")) << page;
}

TEST(Fleet, MemoryDoesNotGrowWithTheReports) {
#ifdef MDFIXUP_SANITIZED
  GTEST_SKIP() << "the sanitizers need more address space";
#endif
  const Fleet fleet;
  Json report = fleet.report_of_host();
  const Json group{{"client", "c"}, {"policy", "p"}, {"copies", 1}};
  report["details"][0]["orphans"] = Json::array_t(300000, group);
  fleet.put("media01.json", report);
  fleet.put("deep.json", "{\"runs\": " + std::string(100000, '['));
  std::string wide;
  for (int i = 0; i < 300000; ++i) wide += ",\"" + std::to_string(i) + "\":0";
  fleet.put("wide.json", "{" + wide.substr(1) + "}");
  std::string keys;
  for (int i = 0; i < 900; ++i)
    keys += ",\"" + std::to_string(i) + std::string(30000, 'k') + "\":0";
  fleet.put("keys.json", "{" + keys.substr(1) + "}");
  Words words{"sh",      "-c",    "ulimit -v 200000; exec \"$@\"", "sh", MDFIXUP_REPORT_PROGRAM,
              "--fleet", "--json"};
  EXPECT_EQ(sandbox::run(joined(words, {fleet.file("media01.json")})).exit_status, 0);
  const Json bad =
      Json::parse(sandbox::run(joined(words, {fleet.file("deep.json"), fleet.file("keys.json"),
                                              fleet.file("wide.json")}))
                      .out);
  for (const Json& fault : bad["unreadable"])
    EXPECT_EQ(fault["fault"], "too large for a report") << fault;
  EXPECT_EQ(bad["unreadable"].size(), 3U);
}

}  // namespace scenario::report_test
