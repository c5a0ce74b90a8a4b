#pragma once

#include <cstdint>
#include <string>

#include <boost/filesystem/path.hpp>

namespace catalog::podb {

// The parts of a policy directory's path: `<tree root>/<DSID>/<client>/<policy>`.
struct PolicyLocation {
  // Errors: boost::bad_lexical_cast for a DSID that is no number.
  explicit PolicyLocation(const boost::filesystem::path& policy_dir);

  std::string policy;
  std::string client;
  std::int64_t dsid;
  boost::filesystem::path tree_root;
};

// The name of a lock: equal exactly for directories between which a repair may move POs.
std::string spellings_lock_name(const PolicyLocation& location);

}  // namespace catalog::podb
