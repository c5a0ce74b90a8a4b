#pragma once

#include <boost/filesystem/path.hpp>

namespace database {

// Removes the database of a policy directory if it holds no PO; an exclusive lock keeps one from being
// stored meanwhile. False when it stays, or there is none.
//
// Threads: one thread.
// Errors: Cr_ErrnoException, naming the file, when it cannot be looked into or removed.
bool remove_podb_without_pos(const boost::filesystem::path& policy_dir);

}  // namespace database
