#pragma once

#include <cstdint>
#include <string>

#include <boost/filesystem/path.hpp>

namespace catalog::podb {

// What the path of a policy directory says: `<catalog root>/<DSID>/<client>/<policy>`.
struct PolicyLocation {
  // Errors: boost::bad_lexical_cast for a DSID that is no number.
  explicit PolicyLocation(const boost::filesystem::path& policy_dir);

  std::string policy;
  std::string client;
  std::int64_t dsid;
  boost::filesystem::path tree_root;
};

// Names a lock: equal for all directories whose POs a repair may move between them, and only for these.
std::string spellings_lock_name(const PolicyLocation& location);

}  // namespace catalog::podb
