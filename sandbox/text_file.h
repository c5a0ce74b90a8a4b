#pragma once

#include <ios>
#include <string>

#include <boost/filesystem/path.hpp>

namespace sandbox {

// The whole file; empty when there is none.
std::string read_text(const boost::filesystem::path& file);

// Replaces the file's text, or appends to it (std::ios::app). Makes the directory if there is none.
// Errors: Cr_ErrnoException, naming the file; filesystem_error for the directory.
void write_text(const boost::filesystem::path& file, const std::string& text,
                std::ios::openmode mode = std::ios::trunc);

// Writes a file that every user can execute.
void write_command(const boost::filesystem::path& file, const std::string& text);

}  // namespace sandbox
