#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

namespace tvr_utils {

// The name of the disk pool that this host serves, found by asking the product for each form of the
// host's name, the full one first; empty when no disk pool names the host.
// Errors: Cr_ErrnoException: k_status_host_name, or what the query met.
std::string GetDiskPoolLabel(const boost::filesystem::path& admincmd_dir);

}  // namespace tvr_utils
