#include "report/sections.h"

#include <utility>

#include "record/names.h"
#include "report/wording.h"

namespace report {

namespace {

using record::Task;

// All are in JSON, and those with a label at the head of a section.
std::vector<Fact> facts_of(const RunFile& file) {
  const record::Run& run = file.run;
  const bool ended = file.has_end();
  const std::int64_t end = run.end_nanoseconds / k_second_nanoseconds;
  const double seconds =
      (static_cast<double>(run.end_nanoseconds) - static_cast<double>(run.start_nanoseconds)) /
      static_cast<double>(k_second_nanoseconds);
  std::vector<Fact> facts{
      {{"id", "Run", Kind::word}, file.id, true},
      {{"task"}, record::name_of(record::k_task_names, run.task)},
      {{"start", "Start", Kind::word}, local_time(file.start()), true},
      {{"start_time"}, file.start()},
      {{"end_time"}, known(ended, end)},
      {{"seconds", "Seconds", Kind::number}, known(ended, seconds)},
      {{"", "Task", Kind::word}, name_of(run.task), true},
      {{"host", "Host"}, run.host},
      {{"storage_root", "Storage", Kind::verbatim}, run.storage_root},
      {{"disk_pool", "Disk pool"}, run.disk_pool},
      {{"catalog", "Catalog", Kind::verbatim}, run.catalog},
      {{"catalog_aside", "Left aside", Kind::verbatim}, run.catalog_aside},
      {{"listing_hours", "Horizon, hours", Kind::number},
       known(run.listing_hours.has_value(), run.listing_hours.value_or(0))},
      {{"threads", "Threads", Kind::number}, run.threads},
      {{"version", "Version"}, run.version},
      {{"pid", "Process", Kind::word}, run.pid},
      {{"arguments", "Arguments", Kind::words}, run.arguments, true},
      {{"exit_status"}, known(ended, std::int64_t(run.end.exit_status))},
      {{"ending", "Ending"}, ending_of(file), true},
      {{"outcome", "Outcome"}, outcome_of(file), true},
      {{"warnings", "Warnings", Kind::number}, file.warnings, true},
      {{"errors", "Errors", Kind::number}, file.errors, true},
      {{"messages", "Messages", Kind::notes}, file.messages, true},
      {{"record", "Record", Kind::verbatim}, file.file},
      {{"record_bytes", "Bytes of the record", Kind::number, true}, file.bytes, true},
      {{"dirs"}, known(ended, run.dirs)},
      {{"failed_dirs"}, known(ended, run.failed_dirs)}};
  for (const record::Count& count : record::k_counts) {
    facts.push_back({{count.name}, known(ended, run.counts.*count.value)});
  }
  return facts;
}

std::string part_of(std::uint64_t part, std::uint64_t all) {
  return all == 0 ? "" : "of " + with_commas(all) + ", " + percent(share_of(part, all));
}

// Nothing is claimed of directories of which the record does not say what they held.
Figure figure_of_directories(const Contents& contents, bool gone) {
  const char* const label = gone ? "lost everything" : "would lose everything";
  const std::uint64_t number = contents.losing_everything;
  Figure figure{
      "dirs_losing_everything", number, label,
      "of " + counted(contents.orphans.groups.size(), "directory", "directories") + " with orphans",
      number != 0};
  if (contents.unknown_shares != 0) {
    figure.of += ", not known of " + with_commas(contents.unknown_shares);
    if (number == 0) figure.number = nullptr;
  }
  return figure;
}

// Of what the record lists.
std::vector<Figure> figures_of(const RunFile& file, const Contents& contents) {
  using record::DirCounts;
  std::vector<Figure> figures;
  const auto add = [&](const char* key, std::uint64_t number, const char* one, const char* many,
                       bool is_alarming, const std::string& of = "") {
    figures.push_back({key, number, number == 1 ? one : many, of, is_alarming && number != 0});
  };
  for (const record::Count& count : record::k_counts) {
    const bool of_repair =
        count.value == &DirCounts::moved_pos || count.value == &DirCounts::collisions;
    if (!is_listed(count) || !(of_repair ? file.run.task == Task::repair : file.lists_orphans())) {
      continue;
    }
    const std::uint64_t listed = contents.listed.*count.value;
    std::string of;
    if (count.value == &DirCounts::orphan_copies) of = part_of(listed, file.run.counts.copies);
    if (count.value == &DirCounts::taken_pos) of = part_of(listed, file.run.counts.pos);
    add(count.name, listed, count.one, count.many, count.value == &DirCounts::other_copies_pos, of);
  }
  if (file.lists_orphans()) figures.push_back(figure_of_directories(contents, file.is_deletion()));
  if (file.is_deletion()) {
    add("kept_copies", contents.kept_copies, "orphan copy was not deleted",
        "orphan copies were not deleted", true);
  }
  if (file.run.task == Task::scan) {
    add("dirs_with_issues", contents.dirs_with_issues,
        "policy directory has POs under another spelling",
        "policy directories have POs under another spelling", false);
  }
  add("failed_dirs", contents.failed_dirs, "failed directory", "failed directories", true);
  return figures;
}

std::string subject_of(Task task) {
  if (task == Task::deletion) return ": what the deletion took";
  return task == Task::dry_run ? ": what a deletion would take" : "";
}

}  // namespace

Table table_of(const std::vector<RunFile>& runs) {
  const auto row_of = [](const RunFile& file) {
    Row row{facts_of(file), file.ended_well() ? "" : "bad"};
    for (Fact& fact : row.facts) {
      if (!fact.in_table) fact.column.label = "";
    }
    return row;
  };
  return {"runs", "Runs, newest first; times are local", runs.size(), rows_of(runs, row_of)};
}

Section section_of(const RunFile& file, const std::vector<RunFile>& all, std::int64_t most) {
  record::RunReader reader(file.file);
  const auto contents = std::make_shared<const Contents>(reader, file.run.task);
  Section section{title_of(file) + subject_of(file.run.task),
                  name_of(file.run.task),
                  concerns_of(file, *contents, all),
                  facts_of(file),
                  figures_of(file, *contents),
                  tables_of(file, reader, contents)};
  for (const Table& table : section.tables) {
    table.rows([](const Row& /*row*/) {}, most);
  }
  return section;
}

}  // namespace report
