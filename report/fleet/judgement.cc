#include <algorithm>
#include <array>

#include "report/fleet/extract.h"
#include "report/fleet/host.h"
#include "report/wording.h"

namespace report::fleet {

namespace {

constexpr std::int64_t k_check_seconds =
    691200;  // eight days: a day more than from one check to the next

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
  if (!host.reached) return;
  const std::string& state = host.reached->state;
  if (state == "checked") return;
  const bool has_time = host.report && host.report->time;
  const std::string text =
      host.reached->text +
      (has_time ? "; its report is of " + utc(*host.report->time) + " UTC" : "");
  if (state == "unreachable") {
    judge.add(State::not_reached, "not reached: " + text);
  } else {
    judge.add(State::check_failed, "the check failed: " + text);
  }
}

void judge_task(const TaskRuns& runs, const std::string& name, std::int64_t now, Judge& judge) {
  if (runs.attempt.is_null()) {
    judge.add(State::no_recent_check, "no " + name + " on record");
    return;
  }
  const auto end = runs.good_end();
  if (!end) {
    judge.add(State::check_failed, "the newest " + name + " " + text(runs.attempt, "ending") +
                                       ": " + text(runs.attempt, "outcome"));
  } else if (now - *end > k_check_seconds) {
    judge.add(State::no_recent_check, "the newest " + name + " ended on " + utc(*end) + " UTC");
  }
}

void judge_findings(const HostReport& report, Judge& judge) {
  for (const std::string& concern : report.dry_run.concerns) {
    judge.add(State::concerns, "dry run: " + concern);
  }
  const auto count = [](const Value& object, const char* key) {
    return static_cast<std::uint64_t>(std::max<std::int64_t>(0, number(object, key).value_or(0)));
  };
  const std::uint64_t dirs = count(report.scan.listed, "dirs_with_issues");
  judge.add_if(dirs != 0, State::case_issues,
               counted(dirs, "policy directory has", "policy directories have") +
                   " POs under another spelling of the client's name: repair first");
  const std::uint64_t orphans = count(report.dry_run.run, "orphan_copies");
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
  judge.add_if(!host.fault.empty(), State::no_report, "its report " + host.fault);
  if (!host.report) {
    judge.add_if(host.fault.empty(), State::no_report, "there is no report of it");
    return;
  }
  judge.add_if(host.report->stale_lock.value_or(false), State::check_failed,
               "a lock file that no run holds keeps all runs out");
  judge_task(host.report->scan, "scan", now, judge);
  judge_task(host.report->dry_run, "dry run", now, judge);
  judge_findings(*host.report, judge);
}

}  // namespace report::fleet
