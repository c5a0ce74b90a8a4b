#include <algorithm>
#include <string>

#include "report/concerns.h"
#include "report/escape.h"
#include "report/text_table.h"
#include "report/views.h"
#include "report/wording.h"

namespace report {

namespace {

constexpr std::size_t k_most_rows = 50;
constexpr std::size_t k_most_notes = 10;

void heading(std::ostream& out, const std::string& text) {
  out << "\n" << text << "\n" << std::string(text.size(), '-') << "\n";
}

void more(std::ostream& out, std::uint64_t all, std::size_t shown, const std::string& what) {
  if (all > shown) {
    out << "  ... and " << with_commas(all - shown) << " more " << what
        << "; --json and --html show more\n";
  }
}

void show_notes(std::ostream& out, const std::string& title, const Notes& notes) {
  if (notes.count == 0) return;
  out << "  " << title << " (" << with_commas(notes.count) << "):\n";
  const std::size_t shown = std::min(k_most_notes, notes.first.size());
  for (std::size_t i = 0; i < shown; ++i) out << "    " << printable(notes.first[i]) << "\n";
  if (notes.count > shown) out << "    ... and " << with_commas(notes.count - shown) << " more\n";
}

void show_failed(std::ostream& out, const FailedDirs& failed) {
  if (failed.count == 0) return;
  out << "  Failed directories (" << with_commas(failed.count) << "):\n";
  const std::size_t shown = std::min(k_most_rows, failed.first.size());
  for (std::size_t i = 0; i < shown; ++i) {
    out << "    " << printable(failed.first[i].dir) << "\n      "
        << printable(failed.first[i].reason) << "\n";
  }
  more(out, failed.count, shown, "failed directories");
}

std::string name_of(const ImageGroup& group) {
  return printable(group.client) + " " + printable(group.policy);
}

void show_bars(std::ostream& out, const Timeline& timeline) {
  constexpr std::size_t k_most_bars = 24;
  constexpr std::size_t k_width = 40;
  std::uint64_t largest = 1;
  const auto bars = timeline.bars(k_most_bars);
  for (const Timeline::Bar& bar : bars) largest = std::max(largest, bar.count);
  TextTable table({"backed up", " copies", ""});
  for (const Timeline::Bar& bar : bars) {
    const std::size_t least = bar.count == 0 ? 0 : 1;
    const auto length = static_cast<std::size_t>(static_cast<double>(bar.count) * k_width /
                                                 static_cast<double>(largest));
    table.add({bar.label, with_commas(bar.count), std::string(std::max(least, length), '#')});
  }
  if (!table.empty()) out << table;
  if (timeline.beyond() != 0) {
    out << "  " << with_commas(timeline.beyond()) << " copies have no time of backups\n";
  }
}

void show_orphans(std::ostream& out, const ConsistencyDetails& details) {
  const Images& images = details.orphans;
  const std::string go = details.task == Task::deletion ? "went" : "would go";
  out << "\n  " << with_commas(images.copies) << " orphan copies " << go << ", with "
      << with_commas(images.taken_pos) << " POs";
  if (images.other_copies_pos != 0) {
    out << ", " << with_commas(images.other_copies_pos) << " of them OF OTHER COPIES";
  }
  out << ".\n";
  TextTable table({" orphans", " of", " share", "oldest (UTC)", "newest (UTC)", " POs", " other",
                   "client and policy"});
  const std::size_t shown = std::min(k_most_rows, images.groups.size());
  for (std::size_t i = 0; i < shown; ++i) {
    const ImageGroup& group = images.groups[i];
    table.add({with_commas(group.copies), group.dir_copies ? with_commas(*group.dir_copies) : "?",
               group.loses_everything() ? "ALL" : percent(group.share()), utc(group.oldest),
               utc(group.newest), with_commas(group.taken_pos), with_commas(group.other_copies_pos),
               name_of(group)});
  }
  if (!table.empty()) out << table;
  more(out, images.groups.size(), shown, "clients and policies");
  show_bars(out, images.timeline);
}

void show_other_pos(std::ostream& out, const ConsistencyDetails& details) {
  if (details.other_pos.empty()) return;
  out << "\n  POs of other copies that go with an orphan:\n";
  const std::size_t shown = std::min(k_most_rows, details.other_pos.size());
  for (std::size_t i = 0; i < shown; ++i) {
    const OtherPO& po = details.other_pos[i];
    out << "    " << printable(po.basename) << "  with copy " << po.copy_number << " of "
        << printable(po.client) << "_" << po.backup_time << ", policy " << printable(po.policy)
        << "\n";
  }
  more(out, details.orphans.other_copies_pos, shown, "POs");
}

void show_missing(std::ostream& out, const Images& images) {
  out << "\n  " << with_commas(images.copies)
      << " copies are in the backup catalog and not in the metadata.\n";
  TextTable table({" missing", "oldest (UTC)", "newest (UTC)", "client and policy"});
  const std::size_t shown = std::min(k_most_rows, images.groups.size());
  for (std::size_t i = 0; i < shown; ++i) {
    const ImageGroup& group = images.groups[i];
    const char* const failed = group.dir_failed ? "  (its directory FAILED: not compared)" : "";
    table.add(
        {with_commas(group.copies), utc(group.oldest), utc(group.newest), name_of(group) + failed});
  }
  if (!table.empty()) out << table;
  more(out, images.groups.size(), shown, "clients and policies");
  show_bars(out, images.timeline);
}

void show_concerns(std::ostream& out, const std::vector<Concern>& concerns) {
  if (concerns.empty()) return;
  out << "  LOOK AT THIS FIRST:\n";
  for (const Concern& concern : concerns) out << "    " << printable(concern.text) << "\n";
}

void show_head(std::ostream& out, const Details& details, const std::vector<Concern>& concerns) {
  heading(out, title_of(details));
  show_concerns(out, concerns);
  for (const std::string& file : details.files) out << "  " << printable(file) << "\n";
  if (!details.run) return;
  const Run& run = *details.run;
  const std::string outcome = printable(outcome_of(run));
  out << "  mdfixup " << printable(run.arguments) << "\n  " << ending_of(run)
      << (outcome.empty() ? "" : "; ") << outcome << "\n";
  show_notes(out, "Warnings", run.warnings);
}

void show(std::ostream& out, const ConsistencyDetails& details) {
  const std::vector<Concern> concerns = concerns_of(details);
  show_head(out, details, concerns);
  if (concerns.empty()) out << "  " << k_no_concern << " " << k_no_concern_caveat << "\n";
  show_failed(out, details.failed);
  show_notes(out, "Errors", details.errors);
  if (details.orphans_were_read) {
    show_orphans(out, details);
    show_other_pos(out, details);
  } else {
    out << "\n  No orphan log was read.\n";
  }
  if (details.missing_were_read) {
    show_missing(out, details.missing);
  } else {
    out << "\n  No missing-images log was read.\n";
  }
  show_notes(out, "Names left out of the comparison", details.unparsed_names);
}

void show(std::ostream& out, const ScanDetails& details) {
  show_head(out, details, concerns_of(details));
  show_failed(out, details.failed);
  out << "  " << with_commas(details.dirs_with_issues)
      << " policy directories have POs under another spelling of the client's name.\n";
  TextTable table({" directories", "client"});
  const std::size_t shown = std::min(k_most_rows, details.clients.size());
  for (std::size_t i = 0; i < shown; ++i) {
    table.add({with_commas(details.clients[i].dirs), printable(details.clients[i].client)});
  }
  if (!table.empty()) out << table;
  more(out, details.clients.size(), shown, "clients");
}

void show(std::ostream& out, const RepairDetails& details) {
  show_head(out, details, concerns_of(details));
  show_failed(out, details.failed);
  show_notes(out, "Errors", details.errors);
  out << "  " << with_commas(details.moved_pos) << " POs were moved.\n";
  TextTable table({" POs", "from and to"});
  const std::size_t shown = std::min(k_most_rows, details.moves.size());
  for (std::size_t i = 0; i < shown; ++i) {
    const Move& move = details.moves[i];
    table.add({with_commas(move.pos), printable(move.from) + " -> " + printable(move.to)});
  }
  if (!table.empty()) out << table;
  more(out, details.moves.size() + details.moves_left_out, shown, "moves");
  show_notes(out, "Collisions, which stayed", details.collisions);
}

void show_runs(std::ostream& out, const Report& report) {
  constexpr std::size_t k_most_runs = 20;
  heading(out, "Runs");
  TextTable table({"start", "task", " warnings", " errors", "ending and outcome"});
  const std::size_t shown = std::min(k_most_runs, report.runs.size());
  for (std::size_t i = 0; i < shown; ++i) {
    const Run& run = report.runs[i];
    const bool was_refused = !run.summary && run.exit_status && !run.errors.first.empty();
    const std::string outcome = printable(was_refused ? run.errors.first.front() : outcome_of(run));
    table.add({to_the_second(run.start), name_of(run.task), with_commas(run.warnings.count),
               with_commas(run.errors.count),
               ending_of(run) + (outcome.empty() ? "" : "; " + outcome)});
  }
  if (table.empty()) {
    out << "  No run log was read.\n";
  } else {
    out << table;
  }
  more(out, report.runs.size() + report.runs_left_out, shown, "runs");
}

void show_faults(std::ostream& out, const Report& report) {
  if (report.whole()) return;
  heading(out, "NOT ALL COULD BE READ");
  for (const SourceFile& file : report.files) {
    if (!file.whole()) out << "  " << printable(file.path) << ": " << fault_of(file) << "\n";
  }
}

}  // namespace

void write_text(const Report& report, std::ostream& out) {
  show_faults(out, report);
  show_runs(out, report);
  for (const auto& details : report.consistency) show(out, details);
  for (const auto& details : report.scans) show(out, details);
  for (const auto& details : report.repairs) show(out, details);
  if (report.files_not_read != 0) {
    out << "\n"
        << with_commas(report.files_not_read)
        << " logs of earlier runs were not read; name them to see them.\n";
  }
}

}  // namespace report
