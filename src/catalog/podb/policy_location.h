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
  boost::filesystem::path catalog_root;
};

}  // namespace catalog::podb
