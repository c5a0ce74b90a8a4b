#include "report/page/parts.h"

#include <algorithm>
#include <utility>

#include "report/escape.h"
#include "report/views.h"
#include "report/wording.h"

namespace report::page {

namespace {

const char* class_of(Kind kind) {
  if (kind == Kind::time) return " class=\"d\"";
  if (is_number(kind)) return " class=\"n\"";
  return kind == Kind::verbatim || kind == Kind::arguments ? " class=\"c\"" : " class=\"t\"";
}

void write_note(const std::string& text, std::ostream& out) {
  if (!text.empty()) out << "<p class=\"note\">" << html(text) << "</p>\n";
}

std::string notes(const Value& texts) {
  if (texts.empty()) return "none";
  std::string result = "<details><summary>" + counted(texts.size(), "message", "messages") +
                       "</summary><ul class=\"log\">\n";
  for (const std::string text : texts) result += "<li><code>" + html(text) + "</code></li>\n";
  return result + "</ul></details>";
}

// The spans keep a short argument from being broken at a line's end.
std::string words(const Value& texts) {
  std::string result = "<code>";
  for (const std::string text : texts) result += "<span>" + html(text) + "</span> ";
  return result + "</code>";
}

std::string bar(double share) {
  constexpr double k_hundred = 100;
  return R"(<svg class="share" aria-hidden="true"><rect width=")" +
         std::to_string(share * k_hundred) + R"(%" height="100%"/></svg>)" + percent(share);
}

// For the script; empty for an unknown number.
std::string sort_value(const Value& value) {
  if (value.is_null()) return "";
  return value.is_number_float() ? std::to_string(value.get<double>()) : value.dump();
}

void write_head(const Table& table, const Row& row, std::ostream& out) {
  constexpr std::ptrdiff_t k_few_columns = 3;  // do not fill the width of the page
  const auto columns = std::count_if(row.facts.begin(), row.facts.end(),
                                     [](const Fact& fact) { return fact.column.is_shown(); });
  out << "<div class=\"wide\"><table" << (columns > k_few_columns ? " class=\"full\"" : "")
      << "><caption>" << html(table.caption) << "</caption>\n<thead><tr>";
  for (const Fact& fact : row.facts) {
    const Column& column = fact.column;
    if (!column.is_shown()) continue;
    out << "<th scope=\"col\"" << class_of(column.kind) << (column.summed ? " data-sum" : "") << ">"
        << html(column.label) << "</th>";
  }
  out << "</tr></thead>\n<tbody>\n";
}

// The first cell links to the section with details.
std::string linked(const Row& row, const std::string& cell) {
  return row.section.empty() ? cell : "<a href=\"#" + row.section + "\">" + cell + "</a>";
}

void write_row(const Row& row, std::ostream& out) {
  out << "<tr" << (*row.mark == '\0' ? "" : std::string(" class=\"") + row.mark + "\"") << ">";
  std::string tag = row.tag.empty() ? "" : " <strong class=\"tag\">" + html(row.tag) + "</strong>";
  bool is_first = true;
  for (const Fact& fact : row.facts) {
    const Column& column = fact.column;
    if (!column.is_shown()) continue;
    // On a narrow screen each row is a card with the columns' names beside the values.
    out << "<td data-label=\"" << html(column.label) << "\"" << class_of(column.kind);
    if (is_number(column.kind)) out << " data-v=\"" << sort_value(fact.value) << "\"";
    const std::string text = cell(fact.value, column.kind);
    out << ">" << (std::exchange(is_first, false) ? linked(row, text) : text)
        << std::exchange(tag, "") << "</td>";
  }
  out << "</tr>\n";
}

}  // namespace

std::string cell(const Value& value, Kind kind) {
  if (kind == Kind::messages) return notes(value);
  if (kind == Kind::arguments) return words(value);
  if (value.is_string()) {
    const std::string text = html(value.get_ref<const std::string&>());
    return kind == Kind::verbatim ? "<code>" + text + "</code>" : text;
  }
  return kind == Kind::share && !value.is_null() ? bar(value) : shown(value, kind);
}

void write_table(const Table& table, const std::string& id, std::ostream& out) {
  if (table.count == 0) return write_note(table.when_empty, out);
  write_note(table.note, out);
  draw_timeline(table.timeline, table.caption, id + "-time", out);
  const auto shown = std::min<std::uint64_t>(table.count, k_max_page_rows);
  if (shown < table.count) {
    write_note("The first " + with_commas(shown) + " of " + with_commas(table.count) + " rows; " +
                   with_commas(table.count - shown) +
                   " more are too many for a page: mdfixup-report --json has all of them.",
               out);
  }
  bool is_first = true;
  const auto write = [&](const Row& row) {
    if (std::exchange(is_first, false)) write_head(table, row, out);
    write_row(row, out);
  };
  table.rows(write, k_max_page_rows);
  // A run that is still going may have removed the rows since they were counted.
  out << (is_first ? "" : "</tbody></table></div>\n");
}

}  // namespace report::page
