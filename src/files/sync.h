#pragma once

#include <string>
#include <string_view>

#include <boost/filesystem/path.hpp>

namespace files {

// Syncs a file's contents. Drops the locks that this process holds on the file.
// Errors, also of the others: Cr_ErrnoException, naming the path.
void sync_file(const std::string& file);

// Makes a file, which must not exist, and syncs it. Returns 0 or an errno value, with which a part
// of the file may exist.
int create_synced_file(const std::string& file, std::string_view bytes);

// Syncs a directory's entries.
void sync_directory(const std::string& directory);

// Syncs the entries of `directory` and of its parents up to `top`.
void sync_directories(const boost::filesystem::path& top, boost::filesystem::path directory);

}  // namespace files
