#pragma once

#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace sandbox {

// What is listed of a PO, as SQL.
inline constexpr const char* k_listed_columns =
    "basename || '|' || poid || '|' || size || '|' || mtime || '|' || hex(record)";

// Every PO of a catalog: its client and policy, its basename and all its columns, the record in
// hexadecimal digits, with "|" between them; in byte order, without line ends. Two listings tell
// whether a PO was lost, moved or changed.
// Errors: Cr_ErrnoException, naming the database, when a PO cannot be read.
std::vector<std::string> list_pos(const boost::filesystem::path& catalog);

// Has SQLite look through each database; one that was left in the middle of a change is rolled back
// first.
// Errors: Cr_ErrnoException for the first one that is damaged; filesystem_error.
void check_databases(const boost::filesystem::path& catalog);

}  // namespace sandbox
