#include "tvr_utils/names_in_listing.h"

#include "console/run_log.h"

namespace tvr_utils {

void warn_of_other_spelling(const PairOfNames& listed, const PairOfNames& directory) {
  WarningA("the catalog lists images of client " + std::string(listed.client) + " and policy " +
           std::string(listed.policy) + " where " + std::string(directory.client) + " and " +
           std::string(directory.policy) + " was asked for; they are not compared");
}

bool can_be_listed(std::string_view name) {
  return name.find_first_of(" \n") == std::string_view::npos;
}

}  // namespace tvr_utils
