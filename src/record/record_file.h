#pragma once

#include <string>

namespace record {

// Makes an empty file that was not there, and on which locks can be had.
// Errors: Cr_ErrnoException, as of the other.
void make_file(const std::string& path);

// Gives a file its name, which nothing may have, and syncs both.
void put_in_place(const std::string& made, const std::string& file);

}  // namespace record
