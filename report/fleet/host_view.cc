#include <algorithm>

#include "report/fleet/extract.h"
#include "report/fleet/host.h"
#include "report/wording.h"

namespace report::fleet {

namespace {

template <class Number>
Value known(const std::optional<Number>& value) {
  return value ? Value(*value) : Value();
}

Value share_of_orphans(const Value& run) {
  const auto orphans = count(run, "orphan_copies");
  const auto copies = count(run, "copies");
  if (!orphans || !copies || *copies == 0 || *orphans > *copies) return {};
  return share_of(*orphans, *copies);
}

const char* word_of(const std::optional<bool>& truth) {
  return truth ? (*truth ? "yes" : "no") : "?";
}

// Directories fail in the scan or the dry run, mostly the same in both.
Value failed_dirs(const HostReport& report) {
  return known(
      std::max(count(report.scan.run, "failed_dirs"), count(report.dry_run.run, "failed_dirs")));
}

// "1795379518-8698: ended well, 6 directories, ..."
std::string summary_of(const Value& run) {
  if (!run.is_object()) return "";
  return text(run, "id") + ": " + text(run, "task") + " of " + text(run, "start") + ", " +
         text(run, "ending") + ": " + text(run, "outcome");
}

// Whatever is known of the host, the columns are the same.
std::vector<Fact> table_facts(const Host& host) {
  static const HostReport k_none;
  const HostReport& report = host.report ? *host.report : k_none;
  const Value& run = report.dry_run.run;
  const std::optional<bool> aside = report.catalog_aside;
  return {
      {{"host", "Host"}, host.name},
      {{"state", "State", Kind::word}, name_of(host.state)},
      {{"reason"}, host.reasons.empty() ? "" : host.reasons.front()},
      {{"latest_check", "Latest check", Kind::time},
       known(number(report.dry_run.attempt, "start_time"))},
      {{"orphan_copies", "Orphan copies", Kind::number, true}, known(count(run, "orphan_copies"))},
      {{"orphan_share", "Share", Kind::share}, share_of_orphans(run)},
      {{"missing_copies", "Missing copies", Kind::number, true},
       known(count(run, "missing_copies"))},
      {{"failed_dirs", "Failed", Kind::number, true}, failed_dirs(report)},
      {{"dirs_with_issues", "Case issues", Kind::number, true},
       known(count(report.scan.listed, "dirs_with_issues"))},
      {{"catalog_aside"}, null_unless(aside.has_value(), aside.value_or(false))},
      {{"", "Catalog aside", Kind::word}, word_of(aside)},
      {{"dry_run", "Dry run", Kind::verbatim}, text(run, "id")}};
}

}  // namespace

Row row_of(const Host& host, const std::string& section) {
  Row row{table_facts(host), needs_attention(host.state) ? "bad" : ""};
  row.section = section;
  return row;
}

Section section_of(const Host& host, const std::string& id) {
  Section section;
  section.id = id;
  section.key = "host";
  section.title = host.name + ": " + name_of(host.state);
  for (const std::string& reason : host.reasons) section.concerns.push_back({reason});
  section.facts = table_facts(host);
  for (Fact& fact : section.facts) fact.column.label = "";  // they are in the table
  const auto add = [&](const Column& column, const Value& value) {
    section.facts.push_back({column, value});
  };
  add({"file", "Report", Kind::verbatim}, host.file);
  add({"reached", "Reached"}, host.reached ? host.reached->state : "");
  add({"reached_time", "Asked, UTC", Kind::time},
      known(host.reached ? host.reached->time : std::nullopt));
  if (!host.report) return section;
  const HostReport& report = *host.report;
  add({"report_time", "Report of, UTC", Kind::time}, known(report.time));
  add({"recorded_host", "Name on record"}, text(report.newest, "host"));
  add({"storage_root", "Storage", Kind::verbatim}, text(report.newest, "storage_root"));
  add({"disk_pool", "Disk pool"}, text(report.dry_run.run, "disk_pool"));
  add({"version", "Version"}, text(report.newest, "version"));
  add({"scan_summary", "Scan"}, summary_of(report.scan.attempt));
  add({"dry_run_summary", "Dry run"}, summary_of(report.dry_run.attempt));
  add({"change_summary", "Latest change"}, summary_of(report.changed));
  section.tables = {report.dry_run.findings, report.scan.findings, report.dry_run.failed_dirs};
  if (report.dry_run.failed_dirs.count == 0) section.tables.back() = report.scan.failed_dirs;
  return section;
}

}  // namespace report::fleet
