#pragma once

#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace sandbox {

// The columns of a listed PO, as SQL.
inline constexpr const char* k_listed_columns =
    "basename || '|' || poid || '|' || size || '|' || mtime || '|' || hex(record)";

// Every PO of a metadata tree: client/policy, basename and the other columns, the record in
// hexadecimal digits, separated by "|"; in byte order, without line ends. Two listings show whether a
// PO was lost, moved or changed.
// Errors: Cr_ErrnoException, naming the database, when a PO cannot be read.
std::vector<std::string> list_pos(const boost::filesystem::path& tree);

// Has SQLite check each database. An unfinished transaction is rolled back first.
// Errors: Cr_ErrnoException for the first damaged database; filesystem_error.
void check_databases(const boost::filesystem::path& tree);

}  // namespace sandbox
