#pragma once

#include <ios>
#include <string>

#include <boost/filesystem/path.hpp>

namespace sandbox {

// The whole file; empty when there is none.
std::string read_text(const boost::filesystem::path& file);

// Writes the file anew, or behind what it holds (std::ios::app), and makes its directory if need be.
// Errors: Cr_ErrnoException, naming the file; filesystem_error for the directory.
void write_text(const boost::filesystem::path& file, const std::string& text,
                std::ios::openmode mode = std::ios::trunc);

// The same for a file that can be run, by everybody.
void write_command(const boost::filesystem::path& file, const std::string& text);

}  // namespace sandbox
