#pragma once

#include <ostream>
#include <string>

#include "report/model.h"

namespace report::page {

// A value as HTML.
std::string cell(const Value& value, Kind kind);

// The note, the timeline and the rows of a table; the script makes it sortable. `id` must be the only
// one of its kind on the page.
void write_table(const Table& table, const std::string& id, std::ostream& out);

}  // namespace report::page
