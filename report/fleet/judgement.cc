#include <algorithm>
#include <array>

#include "report/fleet/extract.h"
#include "report/fleet/host.h"
#include "report/wording.h"

namespace report::fleet {

namespace {

constexpr std::int64_t k_day_seconds = 86400;
constexpr std::int64_t k_check_seconds = 8 * k_day_seconds;  // a day more than between two checks

// Collects the reasons; the gravest comes first and decides.
class Judge {
 public:
  explicit Judge(Host& host) : m_host(host) {}

  void add(State state, const std::string& reason) {
    m_host.state = std::min(m_host.state, state);
    m_host.reasons.push_back(reason);
  }
  void add_if(bool holds, State state, const std::string& reason) {
    if (holds) add(state, reason);
  }

 private:
  Host& m_host;
};

void judge_reached(const Host& host, Judge& judge) {
  judge.add_if(!host.reached_fault.empty(), State::check_failed,
               "its state file: " + host.reached_fault);
  if (!host.reached || host.reached->state == "checked") return;
  const bool is_down = host.reached->state == "unreachable";
  std::string text = is_down ? "not reached" : "the check failed";
  if (!host.reached->text.empty()) text += ": " + host.reached->text;
  const bool has_time = host.report && host.report->time;
  if (has_time) text += "; its report is of " + utc(*host.report->time) + " UTC";
  judge.add(is_down ? State::not_reached : State::check_failed, text);
}

// `finding`, in the counts of the record, is what the run looked for.
void judge_task(const TaskRuns& runs, const std::string& name, const char* finding,
                std::int64_t now, Judge& judge) {
  if (runs.attempt.is_null()) {
    judge.add(State::no_recent_check, "no " + name + " on record");
    return;
  }
  const auto end = runs.good_end();
  if (!end) {
    judge.add(State::check_failed, "the newest " + name + " " + text(runs.attempt, "ending") +
                                       ": " + text(runs.attempt, "outcome"));
    return;
  }
  // Without what it found, nothing says that all is well.
  const bool is_known =
      text(runs.run, "id") == text(runs.attempt, "id") && count(runs.listed, finding).has_value();
  judge.add_if(!is_known, State::check_failed,
               "the report does not say what the newest " + name + " found");
  const std::string ended = "the newest " + name + " ended on " + utc(*end) + " UTC";
  judge.add_if(*end < now - k_check_seconds, State::no_recent_check, ended);
  judge.add_if(*end > now + k_day_seconds, State::no_recent_check,
               ended + ", by its clock: compare the clocks");
  const std::string prefix = name + ": ";
  for (const std::string& concern : runs.concerns) judge.add(State::concerns, prefix + concern);
}

void judge_findings(const HostReport& report, Judge& judge) {
  const std::uint64_t dirs = count(report.scan.listed, "dirs_with_issues").value_or(0);
  judge.add_if(dirs != 0, State::case_issues,
               counted(dirs, "policy directory has", "policy directories have") +
                   " POs under another spelling of the client's name: " +
                   (report.repaired ? "a repair ran since then, scan again" : "repair first"));
  const std::uint64_t orphans = count(report.dry_run.run, "orphan_copies").value_or(0);
  judge.add_if(orphans != 0, State::orphans, counted(orphans, "orphan copy", "orphan copies"));
}

}  // namespace

const char* name_of(State state) {
  constexpr std::array<const char*, 9> k_names{"catalog aside", "not reached",     "no report",
                                               "check failed",  "no recent check", "concerns",
                                               "case issues",   "orphans",         "clean"};
  return k_names.at(static_cast<std::size_t>(state));
}

bool needs_attention(State state) {
  return state < State::orphans;
}

void judge(Host& host, std::int64_t now) {
  Judge judge(host);
  if (host.report && host.report->catalog_aside.value_or(false)) {
    judge.add(State::catalog_aside,
              "the metadata tree lies aside: start no service, and run the repair again");
  }
  judge_reached(host, judge);
  judge.add_if(!host.fault.empty(), State::no_report, "its report: " + host.fault);
  if (!host.report) {
    judge.add_if(host.fault.empty(), State::no_report, "there is no report of it");
    return;
  }
  judge.add_if(host.report->stale_lock.value_or(false), State::check_failed,
               "a lock file that no run holds keeps all runs out");
  judge.add_if(!host.report->lacks.empty(), State::check_failed,
               "the report lacks what could not be read there: " + host.report->lacks);
  judge_task(host.report->scan, "scan", "dirs_with_issues", now, judge);
  judge_task(host.report->dry_run, "dry run", "orphan_copies", now, judge);
  judge_findings(*host.report, judge);
}

}  // namespace report::fleet
