#pragma once

#include <cstdint>
#include <ostream>

#include "report/model.h"

// The three forms of a report. Each writes all of it; the caller looks whether the stream took it.
// Errors: as of the rows of a table.
namespace report {

// The rows of a table that a form shows; JSON shows all.
constexpr std::int64_t k_most_text_rows = 50;
constexpr std::int64_t k_most_page_rows = 10000;  // more than a browser shows with ease

// Tables for a terminal of at least 80 columns; of images, a line for each, with tabs between its parts.
void write_text(const Report& report, std::ostream& out);

// Everything, as docs/report.md describes it; of images, an object for each.
void write_json(const Report& report, std::ostream& out);

// One page that needs nothing else.
void write_page(const Report& report, std::ostream& out);

}  // namespace report
