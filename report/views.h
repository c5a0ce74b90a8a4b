#pragma once

#include <cstdint>
#include <ostream>

#include "report/model.h"

// The three forms of a report. The caller checks the stream afterwards.
// Errors: as of the rows of a table.
namespace report {

// How many rows of a table a form shows; JSON shows all.
constexpr std::int64_t k_max_text_rows = 50;
constexpr std::int64_t k_max_page_rows = 10000;  // more slow a browser down

// Tables for a terminal of at least 80 columns; for images, a line each with tabs between the cells.
void write_text(const Report& report, std::ostream& out);

// The JSON that docs/report.md describes; for images, an object each.
void write_json(const Report& report, std::ostream& out);

// One page without any other file.
void write_page(const Report& report, std::ostream& out);

}  // namespace report
