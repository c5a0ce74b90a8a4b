#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "report/timeline.h"

// What a report says, as values with headings. It is made once, of the records; the views only lay it
// out. Texts are the bytes that stand in the records: a view escapes what it shows.
namespace report {

using Texts = std::vector<std::string>;

// Null stands for what is not known; an array is one of texts.
using Value = nlohmann::ordered_json;

template <class Number>
Value known(bool is_known, Number number) {
  return is_known ? Value(number) : Value();
}

enum class Kind {
  name,      // may hold anything
  verbatim,  // the same, such as a path or a basename
  words,     // an array: arguments
  notes,     // the same: messages, which have no room in a text
  word,      // our own, of ASCII
  number,
  time,  // seconds since the epoch
  share  // from 0 to 1
};

// Without a key it does not stand in JSON, without a label it stands there alone.
struct Column {
  const char* key = "";
  const char* label = "";
  Kind kind = Kind::name;
  bool summed = false;  // a filter says the sum of the rows that it leaves

  bool is_shown() const { return *label != '\0'; }
};

// A value with its heading.
struct Fact {
  Column column;
  Value value;
  bool in_table = false;  // of all runs
};

struct Row {
  std::vector<Fact> facts;  // of the same columns in each row of a table
  const char* mark = "";    // or "bad", or "all": something is wrong, or all would go
  std::string tag = {};     // what the mark says
};

using RowVisitor = std::function<void(const Row&)>;

struct Table {
  const char* key = "";
  const char* caption = "";
  std::uint64_t count = 0;  // of all rows
  // Visits the first `most` rows; -1 stands for all. Errors: Cr_ErrnoException, as of a RunReader.
  std::function<void(const RowVisitor&, std::int64_t most)> rows;
  const char* when_empty = "";  // without it, an empty table is not shown
  const char* note = "";
  Timeline timeline = {};  // of what the rows count, if that has times
};

// A list as the rows of a table.
template <class List, class RowOf>
auto rows_of(List list, RowOf row_of) {
  return [=](const RowVisitor& visit, std::int64_t most) {
    for (const auto& item : list) {
      if (most-- == 0) return;
      visit(row_of(item));
    }
  };
}

// A number that stands out.
struct Figure {
  const char* key = "";
  Value number;
  const char* label = "";
  std::string of = {};  // what it is a part of, if anything
  bool is_alarming = false;
};

// Something that an operator has to look at before acting on what a run says.
struct Concern {
  std::string text;
  const char* about = "facts";  // or the key of the table that says more
};

// One run in detail, or a comparison of two.
struct Section {
  std::string title;
  std::string task;               // as it is shown: "dry run"
  std::vector<Concern> concerns;  // the gravest first
  std::vector<Fact> facts;
  std::vector<Figure> figures;  // of what the record lists
  std::vector<Table> tables;
  const char* key = "run";  // of the facts
};

// What is asked for: runs in detail as well, the table of runs alone, or the orphans alone.
enum class Scope { all, runs, images };

// A record that could not be read.
struct Fault {
  std::string path;
  std::string text;
};

struct Report {
  Scope scope = Scope::all;
  std::vector<Fault> faults;
  Table runs;                           // newest first
  std::uint64_t other_runs_failed = 0;  // of those that have no section
  std::uint64_t other_runs_warned = 0;
  std::vector<Section> sections;
  std::vector<Table> images;  // each orphan of the runs in detail
};

}  // namespace report
