#pragma once

#include <ostream>
#include <string>

#include "report/model.h"

// What a page is made of.
namespace report::page {

// What every page carries, compiled in: the style in its head and the script at its end. A page may load
// nothing and runs no other script: its policy names the two by their SHA-256.
extern const char* const k_before_title;
extern const char* const k_after_title;
extern const char* const k_end;

// A value as HTML.
std::string cell(const Value& value, Kind kind);

// The note, the timeline and the rows of a table; the script makes it sortable. `id` must be the only
// one of its kind on the page.
void write_table(const Table& table, const std::string& id, std::ostream& out);

// Draws how many copies were backed up when, as bars. Widths are shares of what room there is, so that
// texts keep their size on a phone. `what` names the copies and is escaped; `id` as above.
void draw_timeline(const Timeline& timeline, const std::string& what, const std::string& id,
                   std::ostream& out);

}  // namespace report::page
