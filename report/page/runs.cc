#include "report/page/runs.h"

#include <algorithm>
#include <sstream>

#include "report/escape.h"
#include "report/page/section.h"
#include "report/page/table.h"
#include "report/wording.h"

namespace report::page {

namespace {

void open_run(const Details& details, const std::vector<Concern>& concerns, const std::string& id,
              std::ostream& out) {
  open_section(id, title_of(details), out);
  if (!concerns.empty()) write_concerns(concerns, id, out);
  write_run_facts(details, id, out);
}

void write_moves(const RepairDetails& details, std::ostream& out) {
  write_note(counted(details.moved_pos, "PO", "POs") + " moved.", out);
  if (details.moves.empty()) return;
  const std::size_t shown = std::min(details.moves.size(), k_most_rows);
  say_rows_left_out(shown, details.moves.size(), out);
  if (details.moves_left_out != 0) {
    write_note(counted(details.moves_left_out, "move", "moves") + " more: only the log names them.",
               out);
  }
  Table table(
      out, "POs moved between directories",
      {{"From", Column::verbatim}, {"To", Column::verbatim}, {"POs", Column::number, true}});
  for (std::size_t i = 0; i < shown; ++i) {
    table.row();
    table.cell(code(details.moves[i].from));
    table.cell(code(details.moves[i].to));
    table.number(details.moves[i].pos);
  }
  table.end();
}

void write_folded(const Notes& notes, const char* one, const char* many, std::ostream& out) {
  if (notes.count == 0) return;
  out << "<details><summary>" << counted(notes.count, one, many) << "</summary>";
  write_notes(notes, out);
  out << "</details>";
}

void write_run_row(const Run& run, Table& table) {
  table.row(run.ended_well() ? "" : "bad");
  table.cell(html(run.start), std::to_string(run.start_time));
  table.text(name_of(run.task));
  table.cell(arguments_of(run));
  table.cell(run.ended_well() ? html(ending_of(run))
                              : "<strong class=\"tag\">" + html(ending_of(run)) + "</strong>");
  table.text(outcome_of(run));
  std::ostringstream notes;
  write_folded(run.warnings, "warning", "warnings", notes);
  write_folded(run.errors, "error", "errors", notes);
  table.cell(notes.str().empty() ? "none" : notes.str());
}

}  // namespace

void write_scan(const ScanDetails& details, const std::string& id, std::ostream& out) {
  open_run(details, concerns_of(details), id, out);
  if (details.dirs_with_issues == 0) {
    write_note("No client has POs under another spelling of its name in what could be read.", out);
  } else {
    write_note(counted(details.dirs_with_issues, "policy directory", "policy directories") +
                   " with POs under another spelling of the client's name: repair them before a "
                   "deletion, which may take such POs.",
               out);
    if (details.dirs_left_out != 0) {
      write_note(counted(details.dirs_left_out, "directory", "directories") +
                     " of further clients: only the log names them.",
                 out);
    }
    const std::size_t shown = std::min(details.clients.size(), k_most_rows);
    say_rows_left_out(shown, details.clients.size(), out);
    Table table(out, "Clients with POs under another spelling",
                {{"Client"}, {"Policy directories", Column::number, true}});
    for (std::size_t i = 0; i < shown; ++i) {
      table.row();
      table.text(details.clients[i].client);
      table.number(details.clients[i].dirs);
    }
    table.end();
  }
  write_troubles(details, id, out);
  close_section(details, out);
}

void write_repair(const RepairDetails& details, const std::string& id, std::ostream& out) {
  open_run(details, concerns_of(details), id, out);
  write_moves(details, out);
  if (details.collisions.count != 0) {
    heading(id + id_of(Concern::About::collisions),
            "Collisions: POs that stayed because of another one", out);
    write_notes(details.collisions, out);
  }
  write_troubles(details, id, out);
  close_section(details, out);
}

void write_runs(const Report& report, std::ostream& out) {
  open_section("runs", "All runs", out);
  if (report.runs.empty()) write_note("The run log was not read, or holds no run.", out);
  if (report.runs_left_out != 0) {
    write_note(counted(report.runs_left_out, "earlier run", "earlier runs") +
                   " more: only the run log names them.",
               out);
  }
  if (!report.runs.empty()) {
    const std::size_t shown = std::min(report.runs.size(), k_most_rows);
    say_rows_left_out(shown, report.runs.size(), out);
    Table table(out, "Runs, newest first; times are the host's",
                {{"Start", Column::time},
                 {"Task"},
                 {"Arguments", Column::verbatim},
                 {"Ending"},
                 {"Outcome"},
                 {"Warnings and errors"}});
    for (std::size_t i = 0; i < shown; ++i) write_run_row(report.runs[i], table);
    table.end();
  }
  out << "</section>\n";
}

void write_files(const Report& report, std::ostream& out) {
  open_section("files", "Files read", out);
  if (report.files_not_read != 0) {
    write_note(counted(report.files_not_read, "log", "logs") +
                   " of earlier runs in the directory: not read. Name a log to have it read.",
               out);
  }
  if (report.files.empty()) {
    write_note("None.", out);
    out << "</section>\n";
    return;
  }
  Table table(out, "Files that this page was made of",
              {{"File", Column::verbatim}, {"Lines", Column::number}, {"State"}});
  for (const SourceFile& file : report.files) {
    table.row(file.whole() ? "" : "bad");
    table.cell(code(file.path));
    table.number(file.lines);
    table.cell(file.whole() ? "read whole"
                            : "<strong class=\"tag\">" + html(fault_of(file)) + "</strong>");
  }
  table.end();
  out << "</section>\n";
}

}  // namespace report::page
