#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "report/concerns.h"
#include "report/model.h"

// What the sections of a page have in common. All texts are escaped here.
namespace report::page {

std::string code(std::string_view text);
// Each is cut at the end of a line only if it fills one.
std::string code_words(const std::vector<std::string>& words);
std::string arguments_of(const Run& run);

// The beginning of a section with its heading.
void open_section(const std::string& id, const std::string& title, std::ostream& out);
void heading(const std::string& id, const std::string& title, std::ostream& out);

// What to look at first, each with a link to the place where more is said.
void write_concerns(const std::vector<Concern>& concerns, const std::string& id, std::ostream& out);
std::string id_of(Concern::About about);

// How the run was started, and how it ended.
void write_run_facts(const Details& details, const std::string& id, std::ostream& out);

// Warnings, errors and failed directories; nothing where there are none.
void write_troubles(const Details& details, const std::string& id, std::ostream& out);

// Names the logs that the section was made of.
void close_section(const Details& details, std::ostream& out);

// A list, and how many more there are.
void write_notes(const Notes& notes, std::ostream& out);

void write_note(const std::string& text, std::ostream& out);

// Says that only `shown` of `kept` rows are on the page.
void say_rows_left_out(std::size_t shown, std::size_t kept, std::ostream& out);

}  // namespace report::page
