#include "report/page/table.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "report/escape.h"
#include "report/page/timeline_drawing.h"
#include "report/views.h"
#include "report/wording.h"

namespace report::page {

namespace {

const char* class_of(Kind kind) {
  if (kind == Kind::time) return " class=\"d\"";
  if (is_number(kind)) return " class=\"n\"";
  return kind == Kind::verbatim || kind == Kind::words ? " class=\"c\"" : " class=\"t\"";
}

void write_note(const std::string& text, std::ostream& out) {
  if (!text.empty()) out << "<p class=\"note\">" << html(text) << "</p>\n";
}

std::string notes(const Texts& texts) {
  if (texts.empty()) return "none";
  std::string result = "<details><summary>" + counted(texts.size(), "message", "messages") +
                       "</summary><ul class=\"log\">\n";
  for (const std::string& text : texts) result += "<li><code>" + html(text) + "</code></li>\n";
  return result + "</ul></details>";
}

std::string bar(double share) {
  constexpr double k_hundred = 100;
  return R"(<svg class="share" aria-hidden="true"><rect width=")" +
         std::to_string(share * k_hundred) + R"(%" height="100%"/></svg>)" + percent(share);
}

// What a number is sorted by; nothing for one that is not known.
std::string sort_value(const Value& value) {
  return std::visit(
      [](const auto& any) -> std::string {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(any)>>) return std::to_string(any);
        return "";
      },
      value);
}

void write_head(const Table& table, std::ostream& out) {
  constexpr std::ptrdiff_t k_few_columns = 3;  // need not fill the width of the page
  const auto columns = std::count_if(table.columns.begin(), table.columns.end(),
                                     [](const Column& column) { return !column.label.empty(); });
  out << "<div class=\"wide\"><table" << (columns > k_few_columns ? " class=\"full\"" : "")
      << "><caption>" << html(table.caption) << "</caption>\n<thead><tr>";
  for (const Column& column : table.columns) {
    if (column.label.empty()) continue;
    out << "<th scope=\"col\"" << class_of(column.kind) << (column.summed ? " data-sum" : "") << ">"
        << html(column.label) << "</th>";
  }
  out << "</tr></thead>\n<tbody>\n";
}

void write_row(const Table& table, const Row& row, std::ostream& out) {
  constexpr const char* k_marks[] = {"", " class=\"bad\"", " class=\"all\""};
  out << "<tr" << k_marks[static_cast<int>(row.mark)] << ">";
  std::string tag = row.tag.empty() ? "" : " <strong class=\"tag\">" + html(row.tag) + "</strong>";
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const Column& column = table.columns[i];
    if (column.label.empty()) continue;
    // On a narrow screen a row becomes a card, whose lines need the names of the columns.
    out << "<td data-label=\"" << html(column.label) << "\"" << class_of(column.kind);
    if (is_number(column.kind)) out << " data-v=\"" << sort_value(row.cells[i]) << "\"";
    out << ">" << cell(row.cells[i], column.kind) << std::exchange(tag, "") << "</td>";
  }
  out << "</tr>\n";
}

}  // namespace

std::string cell(const Value& value, Kind kind) {
  if (const auto* texts = std::get_if<Texts>(&value)) {
    if (kind == Kind::notes) return notes(*texts);
    std::string words = "<code>";
    // Each is cut at the end of a line only if it fills one.
    for (const std::string& word : *texts) words += "<span>" + html(word) + "</span> ";
    return words + "</code>";
  }
  if (const auto* text = std::get_if<std::string>(&value)) {
    return kind == Kind::verbatim ? "<code>" + html(*text) + "</code>" : html(*text);
  }
  const auto* const number = std::get_if<double>(&value);
  return kind == Kind::share && number != nullptr ? bar(*number) : shown(value, kind);
}

void write_table(const Table& table, const std::string& id, std::ostream& out) {
  if (table.count == 0) return write_note(table.when_empty, out);
  write_note(table.note, out);
  draw_timeline(table.timeline, table.caption, id + "-time", out);
  const auto shown = std::min<std::uint64_t>(table.count, k_most_page_rows);
  if (shown < table.count) {
    write_note("The first " + with_commas(shown) + " of " + with_commas(table.count) + " rows; " +
                   with_commas(table.count - shown) +
                   " more are too many for a page: mdfixup-report --json has all of them.",
               out);
  }
  write_head(table, out);
  table.rows([&](const Row& row) { write_row(table, row, out); }, k_most_page_rows);
  out << "</tbody></table></div>\n";
}

}  // namespace report::page
