#include "report/sections.h"

#include <algorithm>

#include "report/wording.h"

namespace report {

namespace {

using Concerns = std::vector<Concern>;

void add_if(Concerns& concerns, bool holds, const std::string& text, const char* about = "facts") {
  if (holds) concerns.push_back({text, about});
}

void add_options(const RunFile& file, Concerns& concerns) {
  const auto horizon = option(file, "--catalog_backup_time");
  add_if(concerns, horizon && horizon->find_first_not_of('0') != std::string::npos,
         "--catalog_backup_time is not 0: images older than that were not listed, and count as "
         "orphans though the backup catalog may have them");
  add_if(concerns, option(file, "--FORCE_CONSISTENCY_ALL_IMAGE").has_value(),
         "--FORCE_CONSISTENCY_ALL_IMAGE: nobody looked for images that wait to be imported, and "
         "those count as orphans");
  const std::uint64_t skipped = file.run.skipped_dirs;
  add_if(concerns, skipped != 0,
         counted(skipped, "directory was", "directories were") +
             " skipped, for --only or --except: nothing was looked at there");
}

// Adds later runs of the same task that were refused, and later runs that changed the storage, even if
// they were killed or still run.
void add_later_runs(const RunFile& file, const std::vector<RunFile>& all, Concerns& concerns) {
  auto later = std::find_if(all.begin(), all.end(),
                            [&](const RunFile& other) { return other.file == file.file; });
  for (int limit = 3; later != all.begin() && limit != 0;) {
    --later;
    const bool is_refused = later->was_refused && later->run.task == file.run.task;
    const bool changed = !later->was_refused && later->changes_storage() && !file.changes_storage();
    if (later->dir != file.dir || (!is_refused && !changed)) continue;
    --limit;
    add_if(concerns, is_refused,
           "A later one was refused or aborted: " + title_of(*later) + ", " + outcome_of(*later));
    add_if(concerns, changed, "This is how it was before a later run: " + title_of(*later));
  }
}

// Expired images are a few of the copies; many orphans suggest a mistake.
void add_shares(const record::DirCounts& counts, Concerns& concerns) {
  constexpr double k_worrying = 0.2;
  const std::string of_all = " of " + with_commas(counts.copies);
  const double share = share_of(counts.orphan_copies, counts.copies);
  const bool are_all = counts.copies != 0 && counts.orphan_copies == counts.copies;
  add_if(concerns, counts.future_copies != 0,
         with_commas(counts.future_copies) + of_all +
             " copies are newer than the host's clock by more than a day: is the clock right?",
         "warnings");
  add_if(concerns, are_all,
         "Not one copy was found in the backup catalog: is it the right disk pool?");
  add_if(
      concerns, !are_all && share >= k_worrying,
      percent(share) + " of all copies are orphans: " + with_commas(counts.orphan_copies) + of_all,
      "orphans");
}

void add_run(const RunFile& file, const std::vector<RunFile>& all, Concerns& concerns) {
  add_if(concerns, !file.ended_well(), "Ending: " + ending_of(file));
  add_if(concerns, !file.run.catalog_aside.empty(),
         "The catalog lies aside, at " + file.run.catalog_aside +
             ": start no service before it has its name back, and run the repair again");
  add_later_runs(file, all, concerns);
  if (file.warnings == 0) return;
  std::string text = counted(file.warnings, "warning", "warnings");
  if (file.run.counts.future_copies == 0) {
    text += (file.warnings == 1 ? ": " : ", the first: ") + file.first_warning();
  }
  add_if(concerns, true, text, "warnings");
}

// Findings of which a single one is a concern.
void add_findings(const RunFile& file, const Contents& contents, Concerns& concerns) {
  const bool deleted = file.is_deletion();
  const std::uint64_t failed = contents.failed_dirs;
  const struct {
    std::uint64_t count;
    const char* one;
    const char* many;
    const char* text;
    const char* about;
  } rows[] = {
      {contents.losing_everything, "directory", "directories",
       deleted ? " lost every copy" : " would lose every copy", "orphans"},
      {contents.listed.other_copies_pos, "PO", "POs",
       deleted ? " of other copies went with the orphans"
               : " of other copies would go with the orphans",
       "other_copies"},
      {deleted && file.run.undo == record::Undo::off ? contents.listed.taken_pos : 0, "PO", "POs",
       " cannot be put back: --no_undo saved nothing. Without it, mdfixup-undo restore undoes a "
       "deletion",
       "facts"},
      {contents.kept_copies, "orphan copy", "orphan copies", " could not be deleted", "orphans"},
      {failed, "directory", "directories", " failed: not all of what is there was seen",
       "failed_directories"},
      {file.has_end() ? 0 : contents.open_dirs, "directory", "directories",
       " in hand when the run stopped", "unfinished_directories"},
      // The errors include one for each failed directory.
      {file.errors > failed ? file.errors - failed : 0, "error", "errors",
       failed == 0 ? "" : " other than of failed directories", "errors"},
      {contents.listed.collisions, "PO", "POs",
       file.is_restore()
           ? " could not be put back: a different one of that name is there"
           : " stayed because of another one: settle that before a deletion, which may take them",
       "collisions"},
      {contents.names_left_out, "PO was", "POs were",
       " left out of the comparison, mostly for another spelling of the client's name: scan and "
       "repair first",
       "names_left_out"},
  };
  for (const auto& row : rows) {
    add_if(concerns, row.count != 0, counted(row.count, row.one, row.many) + row.text, row.about);
  }
}

// If the rows of a record differ from the run's counts, it was damaged or changed. A run with failed
// directories is left out: the counts may lack what a directory found before it failed.
void add_counts(const RunFile& file, const Contents& contents, Concerns& concerns) {
  if (file.run.end.ending != record::Ending::orderly || file.run.failed_dirs != 0) return;
  for (const record::Count& count : record::k_counts) {
    const std::uint64_t run = file.run.counts.*count.value;
    const std::uint64_t listed = contents.listed.*count.value;
    add_if(concerns, run != listed && is_listed(count) && contents.kept_copies == 0,
           "The run counted " + counted(run, count.one, count.many) + ", its record lists " +
               with_commas(listed));
  }
}

}  // namespace

Concerns concerns_of(const RunFile& file, const Contents& contents,
                     const std::vector<RunFile>& all) {
  Concerns concerns;
  add_shares(file.run.counts, concerns);
  add_run(file, all, concerns);
  add_options(file, concerns);
  add_findings(file, contents, concerns);
  add_counts(file, contents, concerns);
  return concerns;
}

}  // namespace report
