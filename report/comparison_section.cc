#include <algorithm>
#include <memory>
#include <utility>

#include "report/comparison.h"
#include "report/wording.h"

namespace report {

namespace {

using Concerns = std::vector<Concern>;

struct Side {
  const char* name;
  const RunFile& file;
};

void add_each(const Side& side, Concerns& concerns) {
  const RunFile& file = side.file;
  const auto add = [&](const std::string& text) { concerns.push_back({side.name + text}); };
  if (file.is_deletion()) add(" is no dry run: " + title_of(file));
  if (!file.ended_well()) add(" did not end well: " + ending_of(file));
  const std::uint64_t skipped = file.run.skipped_dirs;
  if (skipped != 0) {
    add(" skipped " + counted(skipped, "directory", "directories") + ", for --only or --except");
  }
}

// A difference between the two runs may be the only reason for different orphans.
void add_differences(const RunFile& old_run, const RunFile& new_run, Concerns& concerns) {
  const auto horizon = [](const RunFile& file) {
    const std::int64_t time = file.run.catalog_backup_time;
    return time == 0 ? "all images" : "since " + utc(time);
  };
  const struct {
    const char* what;
    std::string old_value;
    std::string new_value;
  } rows[] = {
      {"storages", old_run.run.storage_root, new_run.run.storage_root},
      {"disk pools", old_run.run.disk_pool, new_run.run.disk_pool},
      {"horizons", horizon(old_run), horizon(new_run)},
  };
  for (const auto& row : rows) {
    if (row.old_value == row.new_value) continue;
    concerns.push_back({std::string("Different ") + row.what + ": OLD has " + row.old_value +
                        ", NEW has " + row.new_value});
  }
}

void add_order(const RunFile& old_run, const RunFile& new_run, const std::vector<RunFile>& all,
               Concerns& concerns) {
  const auto start = [](const RunFile& file) { return file.run.start_nanoseconds; };
  const auto add = [&](const std::string& text) { concerns.push_back({text}); };
  if (old_run.file == new_run.file) add("OLD and NEW are the same run");
  if (start(old_run) > start(new_run)) add("OLD began after NEW");
  const auto [first, last] = std::minmax({start(old_run), start(new_run)});
  int limit = 3;
  for (const RunFile& run : all) {
    const bool is_between = start(run) > first && start(run) < last && run.dir == new_run.dir;
    if (!is_between || run.was_refused || !run.changes_storage() || limit-- <= 0) continue;
    add("The storage was changed in between: " + title_of(run));
  }
}

void add_failed(const ComparedGroups& orphans, Concerns& concerns) {
  const auto is_failed = [](const ComparedGroup& group) {
    return group.failed_in_old || group.failed_in_new;
  };
  const auto failed = static_cast<std::uint64_t>(
      std::count_if(orphans.groups.begin(), orphans.groups.end(), is_failed));
  if (failed == 0) return;
  concerns.push_back({counted(failed, "directory", "directories") +
                          " failed, or stopped, in one of the two: its orphans may be in the other "
                          "alone for that",
                      "orphans_compared"});
}

std::vector<Figure> figures_of(const Comparison& compared) {
  std::vector<Figure> figures;
  const auto add = [&](const char* key, std::uint64_t number, const char* one, const char* many) {
    figures.push_back({key, number, number == 1 ? one : many});
  };
  const ComparedGroup& orphans = compared.orphans.total;
  const std::uint64_t changed = orphans.changed_copies;
  add("common_copies", orphans.common.copies, "orphan copy in both", "orphan copies in both");
  add("changed_copies", changed, "of these takes other POs in NEW",
      "of these take other POs in NEW");
  add("common_pos", orphans.common.pos, "PO of these", "POs of these");
  add("common_bytes", orphans.common.bytes, "byte of these", "bytes of these");
  add("only_old_copies", orphans.only_old.copies, "orphan copy only in OLD",
      "orphan copies only in OLD");
  add("only_old_pos", orphans.only_old.pos, "PO of these", "POs of these");
  add("only_old_bytes", orphans.only_old.bytes, "byte of these", "bytes of these");
  add("only_new_copies", orphans.only_new.copies, "orphan copy only in NEW",
      "orphan copies only in NEW");
  add("only_new_pos", orphans.only_new.pos, "PO of these", "POs of these");
  add("only_new_bytes", orphans.only_new.bytes, "byte of these", "bytes of these");
  const ComparedGroup& missing = compared.missing.total;
  add("common_missing_copies", missing.common.copies, "missing copy in both",
      "missing copies in both");
  add("only_old_missing_copies", missing.only_old.copies, "missing copy only in OLD",
      "missing copies only in OLD");
  add("only_new_missing_copies", missing.only_new.copies, "missing copy only in NEW",
      "missing copies only in NEW");
  return figures;
}

Row row_of(const ComparedGroup& group, bool are_orphans) {
  const auto column = [](const char* key, const char* label) {
    return Column{key, label, Kind::number, true};
  };
  Row row{{{{"client", "Client"}, group.client},
           {{"policy", "Policy"}, group.policy},
           {column("common_copies", "In both"), group.common.copies}}};
  const auto add = [&](const Column& shown, const Value& value) {
    row.facts.push_back({shown, value});
  };
  if (are_orphans) {
    add(column("common_pos", ""), group.common.pos);
    add(column("common_bytes", ""), group.common.bytes);
    add(column("changed_copies", "Changed"), group.changed_copies);
  }
  add(column("only_old_copies", "Only OLD"), group.only_old.copies);
  if (are_orphans) {
    add(column("only_old_pos", "OLD POs"), group.only_old.pos);
    add(column("only_old_bytes", "OLD bytes"), group.only_old.bytes);
  }
  add(column("only_new_copies", "Only NEW"), group.only_new.copies);
  if (are_orphans) {
    add(column("only_new_pos", "NEW POs"), group.only_new.pos);
    add(column("only_new_bytes", "NEW bytes"), group.only_new.bytes);
  }
  add({"failed_in_old"}, group.failed_in_old);
  add({"failed_in_new"}, group.failed_in_new);
  if (group.failed_in_old) row.tag = "failed in OLD";
  if (group.failed_in_new) row.tag += group.failed_in_old ? " and NEW" : "failed in NEW";
  if (!row.tag.empty()) row.mark = "bad";
  return row;
}

Table table_of(const char* key, const char* caption, const ComparedGroups& compared,
               bool are_orphans, const char* when_empty) {
  const auto row = [are_orphans](const ComparedGroup& group) { return row_of(group, are_orphans); };
  return {key,
          caption,
          compared.groups.size(),
          rows_of(compared.groups, row),
          when_empty,
          are_orphans ? "Changed: in both, and its deletion would take other POs in NEW." : ""};
}

}  // namespace

Section section_of(const RunFile& old_run, const RunFile& new_run,
                   const std::vector<RunFile>& all) {
  const Comparison compared(old_run.file, new_run.file);
  Section section;
  section.title = "OLD: " + title_of(old_run) + "; NEW: " + title_of(new_run);
  section.task = "comparison";
  section.key = "compared";
  add_differences(old_run, new_run, section.concerns);
  add_each({"OLD", old_run}, section.concerns);
  add_each({"NEW", new_run}, section.concerns);
  add_order(old_run, new_run, all, section.concerns);
  add_failed(compared.orphans, section.concerns);
  section.facts = {{{"old", "OLD", Kind::word}, old_run.id},
                   {{"old_record", "OLD record", Kind::verbatim}, old_run.file},
                   {{"new", "NEW", Kind::word}, new_run.id},
                   {{"new_record", "NEW record", Kind::verbatim}, new_run.file}};
  section.figures = figures_of(compared);
  section.tables = {table_of("orphans_compared", "Orphan copies of both", compared.orphans, true,
                             "None: neither record lists an orphan copy."),
                    table_of("missing_compared", "Missing copies of both", compared.missing, false,
                             "None: neither record lists a missing copy.")};
  return section;
}

}  // namespace report
