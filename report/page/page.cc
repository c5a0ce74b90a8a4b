#include <string>

#include <boost/algorithm/string/join.hpp>

#include "report/escape.h"
#include "report/page/parts.h"
#include "report/views.h"
#include "report/wording.h"

namespace report {

namespace {

std::string id_of(const Section& section, std::size_t number) {
  return section.id.empty() ? "run" + std::to_string(number) : section.id;
}

void write_header(const Report& report, const std::string& title, std::ostream& out) {
  constexpr std::size_t k_most_links = 20;
  out << "<header>\n<h1>" << title << "</h1>\n<p>" << report.summary << "</p>\n";
  if (report.sections.size() <= k_most_links) {
    out << "<nav aria-label=\"Sections\">\n";
    std::size_t number = 0;
    for (const Section& section : report.sections) {
      out << "<a href=\"#" << id_of(section, ++number) << "\">" << html(section.title) << "</a>\n";
    }
    out << "<a href=\"#" << report.overview.key << "\">All " << report.overview.key
        << "</a>\n</nav>\n";
  }
  out << "</header>\n<main>\n";
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

// `id` is of the section that has what the concerns are about.
void write_concerns(const std::vector<Concern>& concerns, const std::string& id,
                    std::ostream& out) {
  out << "<div class=\"alert\"><h3>Look at this first</h3><ul>\n";
  for (const Concern& concern : concerns) {
    const std::string target = concern.section.empty() ? id + "-" + concern.about : concern.section;
    out << "<li><a href=\"#" << target << "\">" << html(concern.text) << "</a></li>\n";
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

void write_with_heading(const Table& table, const std::string& id, std::ostream& out) {
  if (table.count == 0 && *table.when_empty == '\0') return;
  const std::string table_id = id + "-" + table.key;
  out << "<h3 id=\"" << table_id << "\">" << html(table.caption) << "</h3>\n";
  page::write_table(table, table_id, out);
}

void write_section(const Section& section, const std::string& id, std::ostream& out) {
  out << R"(<section id=")" << id << "\">\n<h2>" << html(section.title) << "</h2>\n";
  if (section.concerns.empty()) {
    out << "<p class=\"calm\"><strong>" << k_no_concern << "</strong> " << k_no_concern_caveat
        << "</p>\n";
  } else {
    write_concerns(section.concerns, id, out);
  }
  if (!section.figures.empty()) write_figures(section, out);
  out << R"(<dl class="facts" id=")" << id << "-facts\">\n";
  for (const Fact& fact : section.facts) {
    if (!is_head_fact(fact)) continue;
    out << "<div><dt>" << fact.column.label << "</dt><dd>"
        << page::cell(fact.value, fact.column.kind) << "</dd></div>\n";
  }
  out << "</dl>\n";
  for (const Table& table : section.tables) write_with_heading(table, id, out);
  out << "</section>\n";
}

void write_overview(const Report& report, std::ostream& out) {
  const std::string id = report.overview.key;
  out << "<section id=\"" << id << "\">\n<h2>All " << id << "</h2>\n";
  if (!report.concerns.empty()) write_concerns(report.concerns, id, out);
  page::write_table(report.overview, id, out);
  for (const Table& table : report.tables) write_with_heading(table, id, out);
  out << "</section>\n";
}

std::string title_of(const Report& report) {
  Texts tasks;
  for (const Section& section : report.sections) {
    if (!section.task.empty()) tasks.push_back(section.task);
  }
  if (report.naming.is_overview_first) return report.naming.title;
  return report.naming.title + std::string(": ") +
         (tasks.empty() ? "no run in detail" : boost::join(tasks, ", "));
}

}  // namespace

void write_page(const Report& report, std::ostream& out) {
  const std::string title = title_of(report);
  const bool is_first = report.naming.is_overview_first;
  out << page::k_before_title << title << page::k_after_title;
  write_header(report, title, out);
  write_faults(report, out);
  write_other_runs(report, out);
  if (is_first) write_overview(report, out);
  std::size_t number = 0;
  for (const Section& section : report.sections)
    write_section(section, id_of(section, ++number), out);
  if (!is_first) write_overview(report, out);
  out << page::k_end;
}

}  // namespace report
