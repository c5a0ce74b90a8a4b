#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "report/timeline.h"

// The content of a report: values with headings. It is made once from the records; each view lays it
// out. Texts are the bytes of the record; a view escapes them.
namespace report {

using Texts = std::vector<std::string>;

// Null means unknown; an array holds texts.
using Value = nlohmann::ordered_json;

inline Value unknown() {
  return {};
}

template <class Number>
Value null_unless(bool is_known, Number number) {
  return is_known ? Value(number) : Value();
}

enum class Kind {
  name,       // any text
  verbatim,   // a path or a basename
  arguments,  // an array
  messages,   // an array; a text view leaves it out
  word,       // our own, of ASCII
  number,
  time,  // seconds since the epoch
  share  // from 0 to 1
};

// A column without a key is absent from JSON; one without a label is only there.
struct Column {
  const char* key = "";
  const char* label = "";
  Kind kind = Kind::name;
  bool summed = false;  // a filter on the page shows the sum of the remaining rows

  bool is_shown() const { return *label != '\0'; }
};

// A value with its heading.
struct Fact {
  Column column;
  Value value;
  bool in_table = false;  // of all runs
};

struct Row {
  std::vector<Fact> facts;   // the same columns in each row of a table
  const char* mark = "";     // "bad": something is wrong; "all": the directory loses every copy
  std::string tag = {};      // the mark in words
  std::string section = {};  // the id of the section with details, if another one has them
};

using RowVisitor = std::function<void(const Row&)>;

struct Table {
  const char* key = "";
  std::string caption = {};
  std::uint64_t count = 0;  // of all rows
  // Visits the first `limit` rows, or all for -1. Errors: Cr_ErrnoException, as of a RunReader.
  std::function<void(const RowVisitor&, std::int64_t limit)> rows;
  const char* when_empty = "";  // without it, an empty table is not shown
  const char* note = "";
  Timeline timeline = {};  // backup times of the copies in the rows, if any
};

// The items of a list as the rows of a table.
template <class List, class RowOf>
auto rows_of(List list, RowOf row_of) {
  return [=](const RowVisitor& visit, std::int64_t limit) {
    for (const auto& item : list) {
      if (limit-- == 0) return;
      visit(row_of(item));
    }
  };
}

// A number that is shown above the tables.
struct Figure {
  const char* key = "";
  Value number;
  const char* label = "";
  std::string of = {};  // the total that it is part of, if any
  bool is_alarming = false;
};

// A reason not to trust a run, or not to act on it yet.
struct Concern {
  std::string text;
  const char* about = "facts";  // or the key of the table with details
  std::string section = {};     // the id of another section that it is about
};

// One run in detail, a comparison of two, or a host.
struct Section {
  std::string title;
  std::string task;               // as it is shown: "dry run"
  std::vector<Concern> concerns;  // the gravest first
  std::vector<Fact> facts;
  std::vector<Figure> figures;
  std::vector<Table> tables;
  const char* key = "run";  // of the facts
  std::string id = {};      // on a page, if something links to it
};

// What the views call a report and its table of all runs or hosts.
struct Naming {
  const char* schema;
  int version;  // of the JSON; increased when a field is removed or changes its meaning
  const char* title;
  const char* overview;
  bool is_overview_first;  // on a page; otherwise it is last
};
inline constexpr Naming k_run_naming{"mdfixup-report", 2, "mdfixup report", "Runs", false};
inline constexpr Naming k_fleet_naming{"mdfixup-fleet", 1, "mdfixup on all hosts", "Hosts", true};

// `all`: the table of runs and the runs in detail; `runs`: only that table; `images`: only the orphans.
enum class Scope { all, runs, images };

// A record that could not be read.
struct Fault {
  std::string path;
  std::string text;
};

struct Report {
  Scope scope = Scope::all;
  Value head = Value::object();  // what JSON has of the report as a whole
  Naming naming = k_run_naming;
  std::string summary;            // of the overview, in a sentence
  std::vector<Concern> concerns;  // over all sections
  std::vector<Fault> faults;
  Table overview;             // all runs, newest first, or all hosts, the most urgent first
  std::vector<Table> tables;  // over all sections
  std::uint64_t other_runs_failed = 0;  // runs without a section
  std::uint64_t other_runs_warned = 0;
  std::vector<Section> sections;
  std::vector<Table> images;  // each orphan of the runs in detail
};

}  // namespace report
