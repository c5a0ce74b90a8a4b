#pragma once

#include <ostream>
#include <string>

#include "report/model.h"

// The parts of a page.
namespace report::page {

// The constant parts, with the style and the script. The page's content security policy allows only these
// two, by their SHA-256, and loads nothing.
extern const char* const k_before_title;
extern const char* const k_after_title;
extern const char* const k_end;

// A value as HTML.
std::string cell(const Value& value, Kind kind);

// Writes the note, the timeline and the rows of a table. `id` must be unique on the page.
void write_table(const Table& table, const std::string& id, std::ostream& out);

// Draws the timeline as bars. Widths are in percent, so that texts keep their size on a phone. `what`
// names the copies and is escaped here; `id` as above.
void draw_timeline(const Timeline& timeline, const std::string& what, const std::string& id,
                   std::ostream& out);

}  // namespace report::page
