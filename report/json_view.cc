#include <utility>

#include "report/escape.h"
#include "report/views.h"

namespace report {

namespace {

using Json = Value;

// JSON allows only valid UTF-8.
void make_valid(Json& json) {
  if (auto* const text = json.get_ptr<std::string*>()) *text = valid_utf8(*text);
  if (!json.is_structured()) return;
  for (Json& part : json) make_valid(part);
}

std::string text_of(Json json) {
  make_valid(json);
  return json.dump();
}

Json json_of(const Timeline& timeline) {
  constexpr std::size_t k_max_bars = 1200;  // a century of months
  Json bars = Json::array();
  for (const Timeline::Bar& bar : timeline.bars(k_max_bars)) {
    bars.push_back({{"period", bar.label}, {"copies", bar.count}});
  }
  return {{"bars", bars}, {"copies_without_a_time", timeline.beyond()}};
}

Json object_of(const std::vector<Fact>& facts) {
  Json object;
  for (const Fact& fact : facts) {
    if (*fact.column.key != '\0') object[fact.column.key] = fact.value;
  }
  return object;
}

// Writes row by row: a table may be larger than memory.
void write_rows(const Table& table, const char* separator, std::ostream& out) {
  const auto write = [&](const Row& row) {
    out << separator << text_of(object_of(row.facts)) << "\n";
    if (*separator != '\0') separator = ",";
  };
  table.rows(write, -1);
}

void write(const Table& table, std::ostream& out) {
  out << ",\n\"" << table.key << "\": [";
  write_rows(table, " ", out);
  out << "]";
}

// Writes an object without its closing brace, for more members.
void write_open(Json object, std::ostream& out) {
  std::string text = text_of(std::move(object));
  text.pop_back();
  out << text;
}

Json texts_of(const std::vector<Concern>& concerns) {
  Json texts = Json::array();
  for (const Concern& concern : concerns) texts.push_back(concern.text);
  return texts;
}

void write(const Section& section, std::ostream& out) {
  Json head{{section.key, object_of(section.facts)},
            {"concerns", texts_of(section.concerns)},
            {"listed", Json::object()}};
  for (const Figure& figure : section.figures) head["listed"][figure.key] = figure.number;
  for (const Table& table : section.tables) {
    const bool has_times = !table.timeline.empty() || table.timeline.beyond() != 0;
    if (has_times) head[std::string(table.key) + "_timeline"] = json_of(table.timeline);
  }
  write_open(head, out);
  for (const Table& table : section.tables) write(table, out);
  out << "}";
}

}  // namespace

void write_json(const Report& report, std::ostream& out) {
  for (const Table& table : report.images) write_rows(table, "", out);
  if (report.scope == Scope::images) return;
  Json head{{"schema", report.naming.schema},
            {"version", report.naming.version},
            {"whole", report.faults.empty()},
            {"unreadable", Json::array()}};
  head.update(report.head);
  if (!report.concerns.empty()) head["concerns"] = texts_of(report.concerns);
  for (const Fault& fault : report.faults) {
    head["unreadable"].push_back({{"path", fault.path}, {"fault", fault.text}});
  }
  write_open(head, out);
  write(report.overview, out);
  for (const Table& table : report.tables) write(table, out);
  if (report.scope == Scope::all) {
    out << ",\n\"details\": [";
    const char* separator = "\n";
    for (const Section& section : report.sections) {
      out << std::exchange(separator, ",\n");
      write(section, out);
    }
    out << "]";
  }
  out << "}\n";
}

}  // namespace report
