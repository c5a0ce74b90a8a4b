#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

namespace tvr_utils {

// The disk pool that this host serves. Runs the product's listing for each form of the host's name,
// the full one first. Empty if no disk pool names the host.
// Errors: Cr_ErrnoException: k_status_host_name, or those of dct::GetDiskPoolName.
std::string GetDiskPoolLabel(const boost::filesystem::path& admincmd_dir);

// Whether the product has images that wait to be imported.
// Errors: those of dct::CheckPendImpListIsExisting.
bool CheckPendImpListIsExisting(const boost::filesystem::path& admincmd_dir);

}  // namespace tvr_utils
