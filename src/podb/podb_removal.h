#pragma once

#include <boost/filesystem/path.hpp>

namespace database {

// Removes the database of a policy directory if it holds no PO, under an exclusive lock. False if
// it stays or does not exist.
// Errors: Cr_ErrnoException, naming the file, if it cannot be read or removed.
bool remove_podb_without_pos(const boost::filesystem::path& policy_dir);

}  // namespace database
