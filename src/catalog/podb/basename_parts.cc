#include "catalog/podb/basename_parts.h"

#include <algorithm>

#include <boost/algorithm/string/predicate.hpp>

#include "status/status.h"
#include "text/split.h"
#include "text/to_number.h"

namespace catalog::podb {

namespace {

[[noreturn]] void throw_malformed(const std::string& text) {
  throw Cr_ErrnoException(k_status_malformed, text);
}

}  // namespace

PrefixMatch match_prefix(std::string_view basename, std::string_view client) {
  const std::string_view prefix = basename.substr(0, client.size());
  if (prefix == client) return PrefixMatch::exact;
  if (prefix.size() == client.size() && boost::algorithm::iequals(prefix, client)) {
    return PrefixMatch::other_case;
  }
  return PrefixMatch::none;
}

void require_prefix(std::string_view basename, std::string_view client, PrefixMatch match) {
  // A basename that is only the client's name has no tokens.
  if (match == PrefixMatch::none || basename.size() <= client.size()) {
    if (boost::algorithm::starts_with(basename, "EVENT_")) {
      throw Cr_ErrnoException(k_status_handled, "EVENT");
    }
    throw_malformed(std::string(client) + " does not match the prefix of " + std::string(basename));
  }
  if (match == PrefixMatch::other_case) {
    throw_malformed("the client directory name " + std::string(client) +
                    " does not match the case of " +
                    std::string(basename.substr(0, client.size())));
  }
}

std::size_t count_tokens(std::string_view rest) {
  const auto is_separator = [](char c) { return c == '_' || c == '.'; };
  return 1 + static_cast<std::size_t>(std::count_if(rest.begin(), rest.end(), is_separator));
}

BasenameTokens split_basename(std::string_view basename, std::size_t client_length,
                              std::size_t most) {
  BasenameTokens parts;
  parts.count = util::split<'_', '.'>(basename.substr(client_length + 1), util::Separators::each,
                                      parts.tokens);
  if (parts.count < k_fewest_tokens) {
    throw_malformed(std::string(basename) + " has too few underscores");
  }
  if (parts.count > most) throw_malformed(std::string(basename) + " has too many underscores");
  return parts;
}

unsigned number_after_letter(std::string_view token) {
  return util::to_number<unsigned>(token.substr(token.empty() ? 0 : 1));
}

}  // namespace catalog::podb
