#include "catalog/podb/policy_location.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/lexical_cast.hpp>

namespace catalog::podb {

PolicyLocation::PolicyLocation(const boost::filesystem::path& policy_dir) {
  auto element = policy_dir.end();
  policy = (--element)->string();
  client = (--element)->string();
  dsid = boost::lexical_cast<long>((--element)->string());
  for (auto above = policy_dir.begin(); above != element; ++above) tree_root /= *above;
}

std::string spellings_lock_name(const PolicyLocation& location) {
  return std::to_string(location.dsid) + "/" + boost::algorithm::to_lower_copy(location.client) +
         "/" + location.policy;
}

}  // namespace catalog::podb
