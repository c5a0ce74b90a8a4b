#pragma once

#include <string>
#include <string_view>

#include <boost/filesystem/path.hpp>

namespace files {

// Syncs what a file holds.
// Errors: Cr_ErrnoException, naming the path, as of the others. Closing the file drops the locks that
//   this process has on it.
void sync_file(const std::string& file);

// Makes a file, which must not be there, and syncs what it holds. Returns 0 or an error number; a part
// of the file may be there then.
int create_synced_file(const std::string& file, std::string_view bytes);

// Syncs the names in a directory.
void sync_directory(const std::string& directory);

// Syncs the names on the way from `top`, a directory, down to `directory`, and in it.
void sync_directories(const boost::filesystem::path& top, boost::filesystem::path directory);

}  // namespace files
