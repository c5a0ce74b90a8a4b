#pragma once

#include <string>

namespace record {

// Makes an empty file, which must not exist, and checks that it can be locked.
// Errors of both: Cr_ErrnoException.
void make_file(const std::string& path);

// Syncs a file and renames it to a free name; syncs the directory.
void put_in_place(const std::string& made, const std::string& file);

}  // namespace record
