#pragma once

#include <ostream>

#include "report/model.h"

// The three forms of a report. Each writes all of it; the caller looks whether the stream took it.
namespace report {

// Tables for a terminal of at least 80 columns. Long tables are cut, and say so.
void write_text(const Report& report, std::ostream& out);

// Everything, as docs/report.md describes it.
void write_json(const Report& report, std::ostream& out);

// One page that needs nothing else.
void write_page(const Report& report, std::ostream& out);

}  // namespace report
