#include <string>

#include <boost/algorithm/string/join.hpp>

#include "report/escape.h"
#include "report/page/parts.h"
#include "report/views.h"
#include "report/wording.h"

namespace report {

namespace {

std::string run_id(std::size_t number) {
  return "run" + std::to_string(number);
}

void write_header(const Report& report, const std::string& title, std::ostream& out) {
  out << "<header>\n<h1>" << title << "</h1>\n<p>" << counted(report.runs.count, "run", "runs")
      << " on record.</p>\n"
      << "<nav aria-label=\"Sections\">\n";
  std::size_t number = 0;
  for (const Section& section : report.sections) {
    out << "<a href=\"#" << run_id(++number) << "\">" << html(section.title) << "</a>\n";
  }
  out << "<a href=\"#runs\">All runs</a>\n</nav>\n</header>\n<main>\n";
}

void write_faults(const Report& report, std::ostream& out) {
  if (report.faults.empty()) return;
  out << "<section class=\"alert\"><h2>Not everything could be read</h2>\n<p>What follows may lack "
         "part of what the runs did.</p><ul>\n";
  for (const Fault& fault : report.faults) {
    out << "<li><code>" << html(fault.path) << "</code>: " << html(fault.text) << "</li>\n";
  }
  out << "</ul></section>\n";
}

// Runs without a section would be mentioned only in the last table otherwise.
void write_other_runs(const Report& report, std::ostream& out) {
  if (report.other_runs_failed == 0 && report.other_runs_warned == 0) return;
  out << "<p class=\"note\">Of the other runs, " << with_commas(report.other_runs_failed)
      << " did not end well and " << with_commas(report.other_runs_warned)
      << " had warnings: see <a href=\"#runs\">all runs</a>.</p>\n";
}

void write_concerns(const Section& section, const std::string& id, std::ostream& out) {
  if (section.concerns.empty()) {
    out << "<p class=\"calm\"><strong>" << k_no_concern << "</strong> " << k_no_concern_caveat
        << "</p>\n";
    return;
  }
  out << "<div class=\"alert\"><h3>Look at this first</h3><ul>\n";
  for (const Concern& concern : section.concerns) {
    out << "<li><a href=\"#" << id << "-" << concern.about << "\">" << html(concern.text)
        << "</a></li>\n";
  }
  out << "</ul></div>\n";
}

void write_figures(const Section& section, std::ostream& out) {
  out << "<ul class=\"figures\">\n";
  for (const Figure& figure : section.figures) {
    out << "<li" << (figure.is_alarming ? " class=\"alarming\"" : "") << "><b>"
        << shown(figure.number, Kind::number) << "</b> " << figure.label;
    if (!figure.of.empty()) out << " <small>" << figure.of << "</small>";
    out << "</li>\n";
  }
  out << "</ul>\n";
}

void write_section(const Section& section, const std::string& id, std::ostream& out) {
  out << R"(<section id=")" << id << "\">\n<h2>" << html(section.title) << "</h2>\n";
  write_concerns(section, id, out);
  write_figures(section, out);
  out << R"(<dl class="facts" id=")" << id << "-facts\">\n";
  for (const Fact& fact : section.facts) {
    if (!is_head_fact(fact)) continue;
    out << "<div><dt>" << fact.column.label << "</dt><dd>"
        << page::cell(fact.value, fact.column.kind) << "</dd></div>\n";
  }
  out << "</dl>\n";
  for (const Table& table : section.tables) {
    if (table.count == 0 && *table.when_empty == '\0') continue;
    const std::string table_id = id + "-" + table.key;
    out << "<h3 id=\"" << table_id << "\">" << html(table.caption) << "</h3>\n";
    page::write_table(table, table_id, out);
  }
  out << "</section>\n";
}

}  // namespace

void write_page(const Report& report, std::ostream& out) {
  Texts tasks;
  for (const Section& section : report.sections) tasks.push_back(section.task);
  const std::string title =
      "mdfixup report: " + (tasks.empty() ? "no run in detail" : boost::join(tasks, ", "));
  out << page::k_before_title << title << page::k_after_title;
  write_header(report, title, out);
  write_faults(report, out);
  write_other_runs(report, out);
  std::size_t number = 0;
  for (const Section& section : report.sections) write_section(section, run_id(++number), out);
  out << "<section id=\"runs\">\n<h2>All runs</h2>\n";
  page::write_table(report.runs, "runs", out);
  out << "</section>\n" << page::k_end;
}

}  // namespace report
