#pragma once

#include <boost/filesystem/path.hpp>

// Whether neither the storage nor the product has an image that waits to be imported. False, after a
// message on standard error, if one has or if the storage's events cannot be read.
// Errors: Cr_ErrnoException if the product's query cannot run, or a signal ends it.
bool no_imports_are_pending(const boost::filesystem::path& storage_root,
                            const boost::filesystem::path& admincmd_dir);
