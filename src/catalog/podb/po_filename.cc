#include "catalog/podb/po_filename.h"

#include <boost/algorithm/string/predicate.hpp>

#include "catalog/podb/basename_parts.h"
#include "status/status.h"
#include "text/to_number.h"

namespace catalog::podb {

namespace {

constexpr std::size_t k_most_tokens_of_po = 6;
constexpr std::size_t k_tokens_with_extra = 5;

// The smallest number stays as it is: it has no positive counterpart.
std::int32_t negated(std::int32_t number) {
  return static_cast<std::int32_t>(0U - static_cast<std::uint32_t>(number));
}

}  // namespace

void POFilename::parse(const std::string& basename, const std::string& client_dir) {
  using boost::algorithm::starts_with;
  using util::to_number;
  const PrefixMatch match = match_prefix(basename, client_dir);
  // A replicated object is skipped whatever the letter case of its client's name.
  if (match != PrefixMatch::none && basename.size() > client_dir.size() && basename.back() == ']') {
    throw Cr_ErrnoException(k_status_handled, "[R]");
  }
  require_prefix(basename, client_dir, match);
  client_name = basename.substr(0, client_dir.size());

  const BasenameTokens tokens = split_basename(basename, client_dir.size(), k_most_tokens_of_po);
  backup_time = to_number<long>(tokens[0]);
  copy_number = number_after_letter(tokens[1]);
  const std::string_view fragment = tokens[2];
  if (starts_with(fragment, "F")) {
    fragment_number = static_cast<std::int32_t>(to_number<unsigned>(fragment.substr(1)));
  } else if (starts_with(fragment, "TIR")) {
    fragment_number = negated(to_number<int>(fragment.substr(3)));
  } else if (fragment != "HDR") {
    throw Cr_ErrnoException(k_status_malformed, basename + " has as unknown fragment type");
  }
  const bool has_extra = tokens.count == k_tokens_with_extra;
  if (has_extra) extra_number = number_after_letter(tokens[3]);
  suffix = tokens[has_extra ? 4 : 3];
}

}  // namespace catalog::podb
