#include "catalog/podb/basename_time_and_copy.h"

#include "catalog/podb/basename_parts.h"
#include "text/to_number.h"

namespace catalog::podb {

namespace {

constexpr std::size_t k_most_tokens = 7;
constexpr std::size_t k_tokens_of_copy = 2;  // time and copy number

}  // namespace

void BasenameTimeAndCopy::parse(std::string_view basename, const std::string& client_dir) {
  if (names_same_copy(basename, client_dir)) return;
  m_copy_prefix.clear();
  require_prefix(basename, client_dir, match_prefix(basename, client_dir));
  client_name = basename.substr(0, client_dir.size());
  const BasenameTokens tokens = split_basename(basename, client_dir.size(), k_most_tokens);
  backup_time = util::to_number<long>(tokens[0]);
  copy_number = number_after_letter(tokens[1]);
  const char* const after_copy = tokens[1].data() + tokens[1].size() + 1;
  m_copy_prefix = basename.substr(0, static_cast<std::size_t>(after_copy - basename.data()));
}

bool BasenameTimeAndCopy::names_same_copy(std::string_view basename,
                                          const std::string& client_dir) const {
  if (m_copy_prefix.empty() || client_name != client_dir ||
      basename.substr(0, m_copy_prefix.size()) != m_copy_prefix) {
    return false;
  }
  const std::size_t tokens = k_tokens_of_copy + count_tokens(basename.substr(m_copy_prefix.size()));
  return tokens >= k_fewest_tokens && tokens <= k_most_tokens;
}

}  // namespace catalog::podb
