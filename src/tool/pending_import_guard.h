#pragma once

#include <boost/filesystem/path.hpp>

// Whether the storage and the product agree that no image waits to be imported. False, after a
// message on standard error, when one does or when it cannot be told.
// Errors: Cr_ErrnoException when the product's query could not be run or died.
bool no_imports_are_pending(const boost::filesystem::path& storage_root,
                            const boost::filesystem::path& admincmd_dir);
