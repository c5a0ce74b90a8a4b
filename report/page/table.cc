#include "report/page/table.h"

#include <utility>

#include "report/escape.h"
#include "report/wording.h"

namespace report::page {

namespace {

constexpr std::size_t k_few_columns = 3;  // need not fill the width of the page

const char* class_of(const Column& column) {
  switch (column.kind) {
    case Column::number:
      return " class=\"n\"";
    case Column::text:
      return " class=\"t\"";
    case Column::time:
      return " class=\"d\"";
    case Column::verbatim:
      break;
  }
  return " class=\"c\"";
}

}  // namespace

Table::Table(std::ostream& out, const std::string& caption, std::vector<Column> columns)
    : m_out(out), m_columns(std::move(columns)) {
  m_out << "<div class=\"wide\"><table"
        << (m_columns.size() > k_few_columns ? " class=\"full\"" : "") << "><caption>"
        << html(caption) << "</caption>\n<thead><tr>";
  for (const Column& column : m_columns) {
    m_out << "<th scope=\"col\"" << class_of(column) << (column.summed ? " data-sum" : "") << ">"
          << html(column.label) << "</th>";
  }
  m_out << "</tr></thead>\n<tbody>\n";
}

void Table::row(const char* css_class) {
  if (m_in_row) m_out << "</tr>\n";
  m_in_row = true;
  m_at = 0;
  m_out << "<tr";
  if (*css_class != '\0') m_out << " class=\"" << css_class << "\"";
  m_out << ">";
}

void Table::end() {
  if (m_in_row) m_out << "</tr>\n";
  m_out << "</tbody></table></div>\n";
}

void Table::cell(const std::string& html, const std::string& sort_by) {
  const Column& column = m_columns.at(m_at++);
  // On a narrow screen a row becomes a card, whose lines need the names of the columns.
  m_out << "<td data-label=\"" << report::html(column.label) << "\"";
  if (column.kind != Column::text) m_out << class_of(column);
  if (column.kind == Column::number || column.kind == Column::time) {
    m_out << " data-v=\"" << sort_by << "\"";
  }
  m_out << ">" << html << "</td>";
}

void Table::text(std::string_view text) {
  cell(html(text));
}

void Table::number(std::uint64_t number) {
  cell(with_commas(number), std::to_string(number));
}

void Table::number(const std::optional<std::uint64_t>& number) {
  if (number) return this->number(*number);
  cell("?");
}

void Table::time(std::int64_t time) {
  cell(utc(time), std::to_string(time));
}

}  // namespace report::page
