#include "report/sections.h"

#include <algorithm>
#include <utility>

#include "record/names.h"
#include "report/wording.h"

namespace report {

namespace {

using record::Task;

// JSON has all facts; the head of a section shows those with a label.
std::vector<Fact> facts_of(const RunFile& file) {
  const record::Run& run = file.run;
  const bool ended = file.has_end();
  const std::int64_t end = run.end_nanoseconds / k_second_nanoseconds;
  const double seconds =
      (static_cast<double>(run.end_nanoseconds) - static_cast<double>(run.start_nanoseconds)) /
      static_cast<double>(k_second_nanoseconds);
  const auto& undone = file.undone_by;
  const std::string restore = undone ? undone->id : "";
  std::vector<Fact> facts{
      {{"id", "Run", Kind::word}, file.id, true},
      {{"task"}, record::name_of(record::k_task_names, run.task)},
      {{"start", "Start", Kind::word}, local_time(file.start()), true},
      {{"start_time"}, file.start()},
      {{"end_time"}, null_unless(ended, end)},
      {{"seconds", "Seconds", Kind::number}, null_unless(ended, seconds)},
      {{"", "Task", Kind::word}, task_of(file), true},
      {{"host", "Host"}, run.host},
      {{"storage_root", "Storage", Kind::verbatim}, run.storage_root},
      {{"disk_pool", "Disk pool"}, run.disk_pool},
      {{"catalog", "Catalog", Kind::verbatim}, run.catalog},
      {{"catalog_aside", "Left aside", Kind::verbatim}, run.catalog_aside},
      {{"listing_hours", "Horizon, hours", Kind::number},
       null_unless(run.listing_hours.has_value(), run.listing_hours.value_or(0))},
      {{"catalog_backup_time"}, run.catalog_backup_time},
      {{"threads", "Threads", Kind::number}, run.threads},
      {{"version", "Version"}, run.version},
      {{"pid", "Process", Kind::word}, run.pid},
      {{"arguments", "Arguments", Kind::arguments}, run.arguments, true},
      {{"exit_status"}, null_unless(ended, std::int64_t(run.end.exit_status))},
      {{"ending", "Ending"}, ending_of(file), true},
      {{"outcome", "Outcome"}, outcome_of(file), true},
      {{"undo"}, record::name_of(record::k_undo_names, run.undo)},
      {{"undone_by"}, null_unless(undone && undone->is_complete, restore)},
      {{"undone_in_part_by"}, null_unless(undone && !undone->is_complete, restore)},
      {{"of_run", file.is_restore() ? "Restored run" : "Approved by", Kind::word}, run.of_run},
      {{"warnings", "Warnings", Kind::number}, file.warnings, true},
      {{"errors", "Errors", Kind::number}, file.errors, true},
      {{"messages", "Messages", Kind::messages}, file.messages, true},
      {{"record", "Record", Kind::verbatim}, file.file},
      {{"record_bytes", "Bytes of the record", Kind::number, true}, file.bytes, true},
      {{"dirs"}, null_unless(ended, run.dirs)},
      {{"failed_dirs"}, null_unless(ended, run.failed_dirs)},
      {{"skipped_dirs", run.skipped_dirs == 0 ? "" : "Skipped directories", Kind::number},
       null_unless(ended, run.skipped_dirs)}};
  for (const record::Count& count : record::k_counts) {
    facts.push_back({{count.name}, null_unless(ended, run.counts.*count.value)});
  }
  return facts;
}

std::string part_of(std::uint64_t part, std::uint64_t all) {
  return all == 0 ? "" : "of " + with_commas(all) + ", " + percent(share_of(part, all));
}

// Counts only directories whose number of copies the record has.
Figure figure_of_directories(const Contents& contents, bool deleted) {
  const char* const label = deleted ? "lost everything" : "would lose everything";
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

// Whether the section of such a run shows the count, even if it is 0.
bool belongs_to(const record::Count& count, const RunFile& file) {
  using record::DirCounts;
  const bool is_repair = file.run.task == Task::repair;
  if (count.value == &DirCounts::moved_pos) return is_repair;
  if (count.value == &DirCounts::collisions) return is_repair || file.is_restore();
  if (count.value == &DirCounts::restored_pos) return file.is_restore();
  if (is_run_total(count)) return file.is_deletion() && !file.run.of_run.empty();
  return is_listed(count) && file.lists_orphans();
}

std::vector<Figure> figures_of(const RunFile& file, const Contents& contents) {
  using record::DirCounts;
  std::vector<Figure> figures;
  const auto add = [&](const char* key, std::uint64_t number, const char* one, const char* many,
                       bool is_alarming, const std::string& of = "") {
    figures.push_back({key, number, number == 1 ? one : many, of, is_alarming && number != 0});
  };
  for (const record::Count& count : record::k_counts) {
    if (!belongs_to(count, file)) continue;
    const bool has_rows = is_listed(count) || count.value == &DirCounts::unapproved_copies;
    const record::DirCounts& source = has_rows ? contents.listed : file.run.counts;
    const std::uint64_t number = source.*count.value;
    std::string of;
    if (count.value == &DirCounts::orphan_copies) of = part_of(number, file.run.counts.copies);
    if (count.value == &DirCounts::taken_pos) of = part_of(number, file.run.counts.pos);
    add(count.name, number, count.one, count.many, count.value == &DirCounts::other_copies_pos, of);
    if (!has_rows && !file.has_end()) figures.back().number = nullptr;
  }
  if (file.lists_orphans()) figures.push_back(figure_of_directories(contents, file.is_deletion()));
  if (file.is_deletion()) {
    add("kept_copies", contents.kept_copies, "orphan copy could not be deleted",
        "orphan copies could not be deleted", true);
    add("saved_pos", contents.saved_pos, "PO saved for an undo", "POs saved for an undo", false);
  }
  if (file.run.task == Task::scan) {
    add("dirs_with_issues", contents.dirs_with_issues,
        "policy directory has POs under another spelling",
        "policy directories have POs under another spelling", false);
  }
  add("failed_dirs", contents.failed_dirs, "failed directory", "failed directories", true);
  return figures;
}

// How to undo the run; empty if it changed nothing.
std::string undo_of(const RunFile& file, const Contents& contents) {
  const bool is_complete = file.undone_by && file.undone_by->is_complete;
  if (is_complete) return "undone by " + file.undone_by->id;
  if (file.run.undo == record::Undo::off) return "not saved (--no_undo)";
  if (file.run.undo == record::Undo::forgotten) return "forgotten (mdfixup-undo forget)";
  if (file.run.undo != record::Undo::saved) return "";
  const std::uint64_t moves = contents.listed.moved_pos;
  const std::uint64_t links = contents.removed_links;
  if (contents.saved_pos + moves + links == 0) {
    return contents.listed.taken_pos == 0 ? "nothing to undo" : "the record holds nothing for it";
  }
  std::string saved = counted(contents.saved_pos, "PO", "POs");
  if (!file.is_deletion()) {
    saved =
        counted(moves, "move", "moves") + " and " + counted(links, "removed link", "removed links");
  }
  return "mdfixup-undo restore " + file.id + " (" + saved + " saved" +
         (file.undone_by ? "; undone in part by " + file.undone_by->id : "") + ")";
}

std::vector<Fact> facts_in_detail(const RunFile& file, const Contents& contents) {
  std::vector<Fact> facts = facts_of(file);
  const auto undo = std::find_if(facts.begin(), facts.end(), [](const Fact& fact) {
    return fact.column.key == std::string("undo");
  });
  facts.insert(undo, {{"how_to_undo", "Undo"}, undo_of(file, contents)});
  return facts;
}

std::string subject_of(const RunFile& file) {
  const Task task = file.run.task;
  if (file.is_restore_dry_run()) return ": what a restore would put back";
  if (file.is_restore()) return ": what was put back";
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

Section section_of(const RunFile& file, const std::vector<RunFile>& all, std::int64_t max_rows) {
  record::RunReader reader(file.file);
  const auto contents = std::make_shared<const Contents>(reader, file.run.task);
  Section section{title_of(file) + subject_of(file), task_of(file),
                  concerns_of(file, *contents, all), facts_in_detail(file, *contents),
                  figures_of(file, *contents),       tables_of(file, reader, contents)};
  for (const Table& table : section.tables) {
    table.rows([](const Row& /*row*/) {}, max_rows);
  }
  return section;
}

}  // namespace report
