#include <algorithm>
#include <iomanip>
#include <string>
#include <utility>
#include <vector>

#include <boost/algorithm/string/join.hpp>

#include "report/escape.h"
#include "report/views.h"
#include "report/wording.h"

namespace report {

namespace {

void heading(std::ostream& out, const std::string& text) {
  out << "\n" << text << "\n" << std::string(text.size(), '-') << "\n";
}

using Line = std::vector<std::string>;  // its cells

bool is_fixed(const Column& column) {
  return column.is_shown() && (column.kind == Kind::word || is_number(column.kind));
}

// Numbers and our own words come first. Names follow together, because their width on the terminal is
// unknown and unbounded. Messages and arguments are left out.
Line laid_out(const Row& row) {
  Line cells;
  std::string names;
  for (const Fact& fact : row.facts) {
    const Kind kind = fact.column.kind;
    if (!fact.column.is_shown() || kind == Kind::arguments || kind == Kind::messages) continue;
    const std::string cell = shown(fact.value, kind);
    if (is_fixed(fact.column)) {
      cells.push_back(cell);
    } else {
      names += (names.empty() ? "" : "  ") + cell;
    }
  }
  cells.push_back(names + (row.tag.empty() ? "" : "  (" + row.tag + ")"));
  return cells;
}

void write_lines(std::ostream& out, const std::vector<Row>& rows) {
  Row head{rows.front().facts};
  for (Fact& fact : head.facts) fact.value = fact.column.label;
  std::vector<Line> lines{laid_out(head)};
  for (const Row& row : rows) lines.push_back(laid_out(row));
  std::size_t i = 0;
  for (const Fact& fact : head.facts) {
    if (!is_fixed(fact.column)) continue;
    std::size_t width = 0;
    for (const Line& line : lines) width = std::max(width, line[i].size());
    for (Line& line : lines) {
      const std::size_t at = fact.column.kind == Kind::number ? 0 : line[i].size();
      line[i].insert(at, width - line[i].size(), ' ');
    }
    ++i;
  }
  for (const Line& line : lines) out << "  " << boost::join(line, "  ") << "\n";
}

void show_bars(std::ostream& out, const Timeline& timeline) {
  constexpr std::size_t k_max_bars = 24;
  constexpr std::size_t k_width = 40;
  std::uint64_t largest = 1;
  const auto bars = timeline.bars(k_max_bars);
  for (const Timeline::Bar& bar : bars) largest = std::max(largest, bar.count);
  std::vector<Row> rows;
  for (const Timeline::Bar& bar : bars) {
    const std::size_t least = bar.count == 0 ? 0 : 1;
    const auto length = static_cast<std::size_t>(static_cast<double>(bar.count) * k_width /
                                                 static_cast<double>(largest));
    rows.push_back({{{{"", "Backed up", Kind::word}, bar.label},
                     {{"", "Copies", Kind::number}, bar.count},
                     {{"", " "}, std::string(std::max(least, length), '#')}}});
  }
  if (!rows.empty()) write_lines(out, rows);
  if (timeline.beyond() != 0) {
    out << "  " << counted(timeline.beyond(), "copy has", "copies have")
        << " a time that can be none of a backup\n";
  }
}

void show(std::ostream& out, const Table& table, std::int64_t limit) {
  std::vector<Row> rows;
  if (table.count != 0) table.rows([&](const Row& row) { rows.push_back(row); }, limit);
  // Even if rows were counted: a run that is still going may have removed them since.
  if (rows.empty()) {
    if (*table.when_empty != '\0') out << "\n  " << table.when_empty << "\n";
    return;
  }
  out << "\n  " << table.caption << " (" << with_commas(table.count) << "):\n";
  write_lines(out, rows);
  if (table.count > rows.size()) {
    out << "  ... and " << with_commas(table.count - rows.size()) << " more; --json shows all\n";
  }
  show_bars(out, table.timeline);
}

void show(std::ostream& out, const std::vector<Concern>& concerns) {
  if (concerns.empty()) return;
  out << "  LOOK AT THIS FIRST:\n";
  for (const Concern& concern : concerns) out << "    " << printable(concern.text) << "\n";
}

void show(std::ostream& out, const Section& section) {
  heading(out, printable(section.title));
  if (section.concerns.empty()) out << "  " << k_no_concern << " " << k_no_concern_caveat << "\n";
  show(out, section.concerns);
  for (const Fact& fact : section.facts) {
    if (!is_head_fact(fact)) continue;
    out << "  " << std::left << std::setw(20) << fact.column.label
        << shown(fact.value, fact.column.kind) << "\n";
  }
  for (const Figure& figure : section.figures) {
    out << "  " << shown(figure.number, Kind::number) << " " << figure.label
        << (figure.of.empty() ? "" : " (" + figure.of + ")") << "\n";
  }
  for (const Table& table : section.tables) show(out, table, k_max_text_rows);
}

void write_images(const Table& table, std::ostream& out) {
  const auto write = [&](const Row& row) {
    const char* separator = "";
    for (const Fact& fact : row.facts) {
      if (!fact.column.is_shown()) continue;
      out << std::exchange(separator, "\t") << shown(fact.value, fact.column.kind);
    }
    out << "\n";
  };
  table.rows(write, -1);
}

}  // namespace

void write_text(const Report& report, std::ostream& out) {
  for (const Table& table : report.images) write_images(table, out);
  if (report.scope == Scope::images) return;
  if (!report.faults.empty()) {
    heading(out, "NOT ALL COULD BE READ");
    for (const Fault& fault : report.faults) {
      out << "  " << printable(fault.path) << ": " << printable(fault.text) << "\n";
    }
  }
  heading(out, report.naming.overview);
  if (report.naming.is_overview_first) out << "  " << report.summary << "\n";
  show(out, report.concerns);
  show(out, report.overview, report.scope == Scope::runs ? -1 : k_max_text_rows);
  for (const Table& table : report.tables) show(out, table, k_max_text_rows);
  for (const Section& section : report.sections) show(out, section);
}

}  // namespace report
