#pragma once

#include <boost/filesystem/path.hpp>

namespace tvr_utils {

// Whether the product has images that wait to be imported.
// Errors: Cr_ErrnoException when the query could not be run or died.
bool CheckPendImpListIsExisting(const boost::filesystem::path& admincmd_dir);

}  // namespace tvr_utils
