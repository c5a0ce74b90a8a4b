#include "report/sections.h"

#include <algorithm>
#include <utility>

#include "record/names.h"
#include "report/concerns.h"
#include "report/tables.h"
#include "report/wording.h"

namespace report {

namespace {

using record::Task;

// A statement about a run; all are in JSON, and those with a label at the head of its section.
struct RunFact : Fact {
  bool in_table = false;
};

std::vector<RunFact> facts_of(const RunFile& file) {
  const record::Run& run = file.run;
  const bool ended = file.has_end();
  const std::int64_t end = run.end_nanoseconds / k_second_nanoseconds;
  const double seconds =
      (static_cast<double>(run.end_nanoseconds) - static_cast<double>(run.start_nanoseconds)) /
      static_cast<double>(k_second_nanoseconds);
  std::vector<RunFact> facts{
      {{{"id", "Run", Kind::word}, file.id}, true},
      {{{"task"}, record::name_of(record::k_task_names, run.task)}},
      {{{"start", "Start", Kind::word}, local_time(start_of(run))}, true},
      {{{"start_time"}, start_of(run)}},
      {{{"end_time"}, known(ended, end)}},
      {{{"seconds", "Seconds", Kind::number}, known(ended, seconds)}},
      {{{"", "Task", Kind::word}, name_of(run.task)}, true},
      {{{"host", "Host"}, run.host}},
      {{{"storage_root", "Storage", Kind::verbatim}, run.storage_root}},
      {{{"disk_pool", "Disk pool"}, run.disk_pool}},
      {{{"catalog", "Catalog", Kind::verbatim}, run.catalog}},
      {{{"catalog_aside", "Left aside", Kind::verbatim}, run.catalog_aside}},
      {{{"listing_hours", "Horizon, hours", Kind::number},
        known(run.listing_hours.has_value(), run.listing_hours.value_or(0))}},
      {{{"threads", "Threads", Kind::number}, run.threads}},
      {{{"version", "Version"}, run.version}},
      {{{"pid", "Process", Kind::word}, run.pid}},
      {{{"arguments", "Arguments", Kind::words}, run.arguments}, true},
      {{{"exit_status"}, known(ended, std::int64_t(run.end.exit_status))}},
      {{{"ending", "Ending"}, ending_of(file)}, true},
      {{{"outcome", "Outcome"}, outcome_of(file)}, true},
      {{{"warnings", "Warnings", Kind::number}, file.warnings}, true},
      {{{"errors", "Errors", Kind::number}, file.errors}, true},
      {{{"messages", "Messages", Kind::notes}, file.messages}, true},
      {{{"record", "Record", Kind::verbatim}, file.file}},
      {{{"record_bytes", "Bytes of the record", Kind::number, true}, file.bytes}, true},
      {{{"dirs"}, known(ended, run.dirs)}},
      {{{"failed_dirs"}, known(ended, run.failed_dirs)}}};
  for (const record::Count& count : record::k_counts) {
    facts.push_back({{{count.name}, known(ended, run.counts.*count.value)}});
  }
  return facts;
}

std::string part_of(std::uint64_t part, std::uint64_t all) {
  if (all == 0) return "";
  return "of " + with_commas(all) + ", " +
         percent(static_cast<double>(part) / static_cast<double>(all));
}

Figure figure(const char* key, std::uint64_t number, const char* one, const char* many,
              bool is_alarming, std::string of = "") {
  return {key, number, number == 1 ? one : many, std::move(of), is_alarming && number != 0};
}

// Of what the record lists.
std::vector<Figure> figures_of(const record::Run& run, const Contents& contents) {
  using record::DirCounts;
  const Images& orphans = contents.orphans;
  const bool gone = run.task == Task::deletion;
  const bool is_consistency = gone || run.task == Task::dry_run;
  std::vector<Figure> figures;
  for (const record::Count& count : record::k_counts) {
    const bool of_repair =
        count.value == &DirCounts::moved_pos || count.value == &DirCounts::collisions;
    if (!is_listed(count) || !(of_repair ? run.task == Task::repair : is_consistency)) continue;
    const std::uint64_t listed = contents.listed.*count.value;
    std::string of;
    if (count.value == &DirCounts::orphan_copies) of = part_of(listed, run.counts.copies);
    if (count.value == &DirCounts::taken_pos) of = part_of(listed, run.counts.pos);
    figures.push_back(figure(count.name, listed, count.one, count.many,
                             count.value == &DirCounts::other_copies_pos, of));
  }
  if (is_consistency) {
    figures.push_back(figure(
        "dirs_losing_everything", orphans.losing_everything,
        gone ? "lost everything" : "would lose everything",
        gone ? "lost everything" : "would lose everything", true,
        "of " + counted(orphans.sorted.size(), "directory", "directories") + " with orphans"));
    // Nothing is claimed of directories of which the record does not say what they held.
    if (orphans.unknown_shares != 0) {
      figures.back().of += ", not known of " + with_commas(orphans.unknown_shares);
      if (orphans.losing_everything == 0) figures.back().number = nullptr;
    }
  }
  if (gone) {
    figures.push_back(figure("kept_copies", contents.kept_copies, "orphan copy was not deleted",
                             "orphan copies were not deleted", true));
  }
  if (run.task == Task::scan) {
    figures.push_back(figure("dirs_with_issues", contents.dirs_with_issues,
                             "policy directory has POs under another spelling",
                             "policy directories have POs under another spelling", false));
  }
  figures.push_back(
      figure("failed_dirs", contents.failed_dirs, "failed directory", "failed directories", true));
  return figures;
}

std::string subject_of(Task task) {
  if (task == Task::deletion) return ": what the deletion took";
  return task == Task::dry_run ? ": what a deletion would take" : "";
}

}  // namespace

Table table_of(const std::vector<RunFile>& runs) {
  Table table;
  table.key = "runs";
  table.caption = "Runs, newest first; times are local";
  table.count = runs.size();
  for (RunFact& fact : facts_of(RunFile())) {
    if (!fact.in_table) fact.column.label.clear();
    table.columns.push_back(std::move(fact.column));
  }
  table.rows = [runs](const RowVisitor& visit, std::int64_t most) {
    for (const RunFile& file : runs) {
      if (most-- == 0) return;
      Row row;
      if (!file.ended_well()) row.mark = Mark::bad;
      for (RunFact& fact : facts_of(file)) row.cells.push_back(std::move(fact.value));
      visit(row);
    }
  };
  return table;
}

Section section_of(const RunFile& file, const std::vector<RunFile>& all, std::int64_t most) {
  record::RunReader reader(file.file);
  const auto contents = std::make_shared<const Contents>(reader, file.run.task);
  Section section;
  section.title = title_of(file) + subject_of(file.run.task);
  section.task = name_of(file.run.task);
  for (RunFact& fact : facts_of(file)) section.facts.push_back(std::move(fact));
  section.figures = figures_of(file.run, *contents);
  section.tables = tables_of(file, reader, contents);
  section.concerns = concerns_of(file, *contents, all);
  for (const Table& table : section.tables) {
    table.rows([](const Row& /*row*/) {}, most);
  }
  return section;
}

}  // namespace report
