#include "catalog/podb/basename_time_and_copy.h"

#include "catalog/podb/basename_parts.h"
#include "util/to_number.h"

namespace catalog::podb {

namespace {

constexpr std::size_t k_most_tokens = 7;

}  // namespace

void BasenameTimeAndCopy::parse(std::string_view basename, const std::string& client_dir) {
  require_prefix(basename, client_dir, match_prefix(basename, client_dir));
  client_name = basename.substr(0, client_dir.size());
  const BasenameTokens tokens = split_basename(basename, client_dir.size(), k_most_tokens);
  backup_time = util::to_number<long>(tokens[0]);
  copy_number = number_behind_letter(tokens[1]);
}

}  // namespace catalog::podb
