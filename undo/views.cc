#include "undo/views.h"

#include <algorithm>
#include <set>

#include "console/standard_streams.h"
#include "record/schema.h"
#include "report/escape.h"
#include "report/saved.h"
#include "report/wording.h"

namespace undo {

namespace {

using record::RunReader;
using report::counted;
using report::printable;
using report::with_commas;
using Cells = std::vector<std::string>;

// A table with headings; the columns of numbers are right-aligned.
class Table {
 public:
  Table(Cells headings, std::set<std::size_t> numbers)
      : m_rows{std::move(headings)}, m_numbers(std::move(numbers)) {}

  void add(Cells cells) { m_rows.push_back(std::move(cells)); }

  void print() const {
    if (m_rows.size() == 1) return;
    std::string text;
    for (const Cells& row : m_rows) {
      std::string line;
      for (std::size_t i = 0; i < row.size(); ++i) line += cell(row, i);
      line.erase(line.find_last_not_of(' ') + 1);
      text += line + "\n";
    }
    console::print(text);
  }

 private:
  std::string cell(const Cells& row, std::size_t column) const {
    std::size_t width = 0;
    for (const Cells& each : m_rows) width = std::max(width, each[column].size());
    const std::string blanks(width - row[column].size(), ' ');
    const bool is_number = m_numbers.count(column) != 0;
    return (is_number ? blanks + row[column] : row[column] + blanks) + "  ";
  }

  std::vector<Cells> m_rows;
  const std::set<std::size_t> m_numbers;
};

std::string saved_text(const SavedRun& run) {
  Cells parts;
  if (run.pos != 0) parts.push_back(counted(run.pos, "PO", "POs"));
  if (run.moves != 0) parts.push_back(counted(run.moves, "move", "moves"));
  if (run.links != 0) parts.push_back(counted(run.links, "link", "links"));
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text.empty() ? "nothing" : text;
}

std::string undone_text(const SavedRun& run) {
  const auto& undone = run.file.undone_by;
  if (!undone) return "";
  return (undone->is_complete ? "undone by " : "undone in part by ") + printable(undone->id);
}

void print_saved(RunReader& reader) {
  const std::string each = std::to_string(record::k_saved_of_directory);
  Table table({"Client", "Policy", "POs saved", "Bytes"}, {2, 3});
  reader.rows(std::string("SELECT client, policy, count(*), sum(") + report::k_saved_size +
                  ") FROM directory d JOIN client_policy p ON p.id = client_policy JOIN "
                  "saved s ON s.id > d.id * " +
                  each + " AND s.id < (d.id + 1) * " + each +
                  " GROUP BY d.id ORDER BY client, policy",
              [&](const RunReader::Row& row) {
                table.add({printable(row.text(0)), printable(row.text(1)),
                           with_commas(row.count(2)), with_commas(row.count(3))});
              });
  table.print();
}

void print_moves(RunReader& reader) {
  Table table({"Client", "Policy", "Moved to client", "POs"}, {3});
  reader.rows(
      "SELECT f.client, f.policy, t.client, count(*) FROM moved JOIN directory d ON d.id = "
      "directory JOIN client_policy f ON f.id = client_policy JOIN client_policy t ON t.id = "
      "target GROUP BY directory, target ORDER BY 1, 2, 3",
      [&](const RunReader::Row& row) {
        table.add({printable(row.text(0)), printable(row.text(1)), printable(row.text(2)),
                   with_commas(row.count(3))});
      });
  table.print();
}

void print_links(RunReader& reader) {
  Table table({"Symbolic link", "Target"}, {});
  reader.rows("SELECT path, target FROM link ORDER BY path", [&](const RunReader::Row& row) {
    table.add({printable(row.text(0)), printable(row.text(1))});
  });
  table.print();
}

}  // namespace

void print_list(const std::vector<SavedRun>& runs) {
  if (runs.empty()) console::print("No run can be undone.\n");
  Table table({"Run", "Task", "Time", "Saved", "Bytes of record", ""}, {4});
  for (const SavedRun& run : runs) {
    table.add({printable(run.file.id), report::name_of(run.file.run.task),
               report::local_time(run.file.start()), saved_text(run), with_commas(run.file.bytes),
               undone_text(run)});
  }
  table.print();
}

void print_run(const SavedRun& run) {
  std::string text = printable(report::title_of(run.file) + ", " + report::ending_of(run.file));
  text += "\nRun: " + printable(run.file.id) + "\n";
  text += "Storage root: " + printable(run.file.run.storage_root) + "\n";
  text += "Saved: " + saved_text(run) + "; the record takes " +
          counted(run.file.bytes, "byte", "bytes") + "\n";
  if (!undone_text(run).empty()) text += "It was " + undone_text(run) + "\n";
  if (!run.can_be_undone()) text += "It cannot be undone: " + why_not(run) + "\n";
  console::print(text);
  RunReader reader(run.file.file);
  print_saved(reader);
  print_moves(reader);
  print_links(reader);
}

}  // namespace undo
