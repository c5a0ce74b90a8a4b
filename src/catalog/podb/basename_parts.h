#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace catalog::podb {

// How the beginning of a basename compares with the name of its client directory.
enum class PrefixMatch {
  exact,
  other_case,  // equal only without regard to letter case
  none,        // too short included
};

// The exact comparison decides nearly every basename; the other costs a hundred times as much.
PrefixMatch match_prefix(std::string_view basename, std::string_view client);

// The part of a basename after the client name and a separator, split at every "_" and ".". The
// longest accepted name has 7 tokens.
struct BasenameTokens {
  static constexpr std::size_t k_capacity = 8;

  std::array<std::string_view, k_capacity> tokens;
  std::size_t count = 0;  // k_capacity means that many or more

  std::string_view operator[](std::size_t i) const { return tokens[i]; }
};

// The fewest tokens of an accepted name.
constexpr std::size_t k_fewest_tokens = 4;

// The number of tokens in the rest of a basename, which starts after a separator.
std::size_t count_tokens(std::string_view rest);

// Splits a basename whose prefix is the client's name, and checks that it has 4 to `most` tokens.
// Errors: Cr_ErrnoException, k_status_malformed.
BasenameTokens split_basename(std::string_view basename, std::size_t client_length,
                              std::size_t most);

// Throws unless the basename begins with the client's name in its exact letter case: the status is
// k_status_handled for an event's name, else k_status_malformed.
void require_prefix(std::string_view basename, std::string_view client, PrefixMatch match);

// The number after the token's first character, which may be any.
// Errors: boost::bad_lexical_cast, also for an empty token.
unsigned number_after_letter(std::string_view token);

}  // namespace catalog::podb
