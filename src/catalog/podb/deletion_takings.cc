#include "catalog/podb/deletion_takings.h"

#include <algorithm>

#include <boost/lexical_cast/try_lexical_convert.hpp>

#include "catalog/podb/basename_parts.h"
#include "catalog/podb/basename_time_and_copy.h"
#include "platform/sql_like.h"
#include "platform/status.h"

namespace catalog::podb {

namespace {

std::string deletion_pattern(const std::string& client, const details::numbers& copy) {
  return client + "_" + std::to_string(copy.backup_time) + "_C" + std::to_string(copy.copy_number) +
         "%";
}

// What a "_" of the pattern stands for: one character as the database counts them, which is a lead
// byte with all that continues it, or any other byte.
std::string_view without_first_character(std::string_view text) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  std::size_t length = 1;
  if (!text.empty() && at(0) >= 0xC0) {
    while (length < text.size() && (at(length) & 0xC0U) == 0x80U) ++length;
  }
  return text.substr(std::min(length, text.size()));
}

std::size_t count_characters(std::string_view text) {
  std::size_t count = 0;
  for (; !text.empty(); text = without_first_character(text)) ++count;
  return count;
}

std::size_t digits_at(std::string_view text, std::size_t begin) {
  const std::size_t end = text.find_first_not_of("0123456789", begin);
  return std::min(end, text.size()) - begin;
}

}  // namespace

std::string deletion_statement(const std::string& client, const details::numbers& copy) {
  return "DELETE FROM po WHERE basename LIKE '" + deletion_pattern(client, copy) + "';";
}

std::string taking_text(const std::string& verb, const Taking& taking) {
  std::string text = verb + " " + std::to_string(taking.pos) + " POs.\n";
  for (const std::string& basename : taking.other_copies) text += "also takes " + basename + "\n";
  return text;
}

DeletionTakings::DeletionTakings(const std::string& client,
                                 const std::set<details::numbers>& orphans)
    : m_client(client), m_characters_before_time(count_characters(client) + 1) {
  for (const details::numbers& orphan : orphans) {
    m_takings.emplace_hint(m_takings.end(), orphan, Taking());
  }
}

void DeletionTakings::add(std::string_view basename) {
  const auto taker = first_taker(basename);
  if (taker == m_takings.end()) return;
  ++taker->second.pos;
  if (!names_copy(basename, taker->first)) taker->second.other_copies.emplace_back(basename);
}

// A pattern wants its time's digits where the client name and one character end, behind them any one
// character, and a "C". Either the name's digits there are the time, or all but the last are and
// that one is the any character; nothing else can match.
DeletionTakings::Takings::iterator DeletionTakings::first_taker(std::string_view basename) {
  std::string_view rest = basename;
  for (std::size_t i = 0; i < m_characters_before_time; ++i) rest = without_first_character(rest);
  const std::size_t sign = !rest.empty() && rest.front() == '-' ? 1 : 0;
  const std::string_view time = rest.substr(0, sign + digits_at(rest, sign));
  if (time.size() == sign) return m_takings.end();
  const auto taker = first_taker_at(time, basename);
  if (taker != m_takings.end()) return taker;
  return first_taker_at(time.substr(0, time.size() - 1), basename);
}

DeletionTakings::Takings::iterator DeletionTakings::first_taker_at(std::string_view time_text,
                                                                   std::string_view basename) {
  std::int64_t time = 0;
  if (!boost::conversion::try_lexical_convert(time_text.data(), time_text.size(), time)) {
    return m_takings.end();
  }
  auto taker = m_takings.lower_bound({time, 0});
  for (; taker != m_takings.end() && taker->first.backup_time == time; ++taker) {
    if (platform::sql_like(deletion_pattern(m_client, taker->first), std::string(basename))) {
      return taker;
    }
  }
  return m_takings.end();
}

bool DeletionTakings::names_copy(std::string_view basename, const details::numbers& copy) const {
  if (match_prefix(basename, m_client) != PrefixMatch::exact) return false;
  try {
    BasenameTimeAndCopy name;
    name.parse(basename, m_client);
    return name.backup_time == copy.backup_time && name.copy_number == copy.copy_number;
  } catch (const std::exception&) {
    return false;  // a name that says nothing of its copy
  }
}

}  // namespace catalog::podb
