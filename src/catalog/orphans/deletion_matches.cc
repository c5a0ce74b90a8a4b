#include "catalog/orphans/deletion_matches.h"

#include "catalog/podb/basename_parts.h"
#include "catalog/podb/basename_time_and_copy.h"
#include "podb/sql_like.h"
#include "text/to_number.h"

namespace catalog::podb {

namespace {

constexpr unsigned char k_beyond_ascii = 0x80;

bool is_before(const record::Orphan& orphan, const CopyKey& key) {
  return key_of(orphan) < key;
}

std::string pattern_of(const std::string& client, const CopyKey& copy) {
  return client + "_" + std::to_string(copy.backup_time) + "_C" + std::to_string(copy.copy_number) +
         "%";
}

// Removes what a "_" of the pattern matches: one character as the database counts them. That is a
// lead byte with its continuation bytes, or any other byte.
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
  std::size_t end = begin;
  while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
  return end - begin;
}

}  // namespace

DeletionMatches::DeletionMatches(const std::string& client, const CopySet& copies, Rows rows)
    : m_client(client),
      m_characters_before_time(count_characters(client) + 1),
      m_keep(rows),
      m_copies(&copies) {
  m_orphans.reserve(copies.size());
  copies.for_each([this](const CopyKey& orphan) {
    record::Orphan& found = m_orphans.emplace_back();
    found.backup_time = orphan.backup_time;
    found.copy_number = orphan.copy_number;
  });
}

// A name that begins with the client's own spelling and "_" matches only if the time follows. Any
// other name may match, but there are few of them.
std::vector<database::BasenameRange> DeletionMatches::ranges() const {
  using database::upper_bound_of_prefix;
  const std::string own = m_client + "_";
  std::vector<database::BasenameRange> ranges;
  for (const record::Orphan& orphan : m_orphans) {
    const std::string begin = own + std::to_string(orphan.backup_time);
    ranges.push_back({begin, upper_bound_of_prefix(begin)});
  }
  std::sort(ranges.begin(), ranges.end(),
            [](const auto& a, const auto& b) { return a.from < b.from; });
  // If a time has the first digits of another, its range includes the other's.
  std::vector<database::BasenameRange> result{{"", own}};
  for (const database::BasenameRange& range : ranges) {
    if (range.from >= result.back().to) result.push_back(range);
  }
  result.push_back({upper_bound_of_prefix(own), ""});
  return result;
}

void DeletionMatches::add(const SQLitePODB::Entry& po) {
  const auto orphan = first_match(po.basename);
  if (orphan == m_orphans.end()) return;
  const std::optional<CopyKey> copy = copy_of(po.basename);
  if (copy && !m_copies->was_inserted(*copy)) return;
  ++orphan->pos;
  orphan->bytes += po.bytes;
  if (!copy || !(*copy == key_of(*orphan))) orphan->other_copies.emplace_back(po.basename);
  if (m_keep == Rows::counted) return;
  m_rows.push_back({static_cast<std::uint32_t>(orphan - m_orphans.begin()), po.row});
}

void DeletionMatches::finish() {
  std::sort(m_rows.begin(), m_rows.end());
}

const record::Orphan& DeletionMatches::of(const CopyKey& orphan) const {
  return m_orphans.at(index_of(orphan));
}

std::uint32_t DeletionMatches::index_of(const CopyKey& orphan) const {
  const auto found = std::lower_bound(m_orphans.begin(), m_orphans.end(), orphan, is_before);
  return static_cast<std::uint32_t>(found - m_orphans.begin());
}

bool DeletionMatches::is_match(const CopyKey& orphan, const std::string& basename) const {
  return database::sql_like(pattern_of(m_client, orphan), basename);
}

// A pattern requires its time's digits after the client name and one character; then any one
// character and a "C". So either all digits of the name there are the time, or all but the last,
// which is the "any character". Nothing else can match.
DeletionMatches::Orphans::iterator DeletionMatches::first_match(std::string_view basename) {
  const std::string_view rest = from_time_on(basename);
  const std::size_t sign = !rest.empty() && rest.front() == '-' ? 1 : 0;
  const std::string_view time = rest.substr(0, sign + digits_at(rest, sign));
  if (time.size() == sign) return m_orphans.end();
  const auto orphan = first_match_at(time, basename);
  if (orphan != m_orphans.end()) return orphan;
  return first_match_at(time.substr(0, time.size() - 1), basename);
}

// In the client's own spelling, which nearly all names have, the time follows one more byte.
std::string_view DeletionMatches::from_time_on(std::string_view basename) const {
  const std::size_t time = m_client.size() + 1;
  const bool is_own_spelling = basename.size() > time &&
                               static_cast<unsigned char>(basename[time - 1]) < k_beyond_ascii &&
                               basename.substr(0, m_client.size()) == m_client;
  if (is_own_spelling) return basename.substr(time);
  std::string_view rest = basename;
  for (std::size_t i = 0; i < m_characters_before_time; ++i) rest = without_first_character(rest);
  return rest;
}

DeletionMatches::Orphans::iterator DeletionMatches::first_match_at(std::string_view time_text,
                                                                   std::string_view basename) {
  std::int64_t time = 0;
  if (!util::try_to_number(time_text, time)) return m_orphans.end();
  const CopyKey first{time, 0};
  auto orphan = std::lower_bound(m_orphans.begin(), m_orphans.end(), first, is_before);
  for (; orphan != m_orphans.end() && orphan->backup_time == time; ++orphan) {
    if (is_match(key_of(*orphan), std::string(basename))) return orphan;
  }
  return m_orphans.end();
}

std::optional<CopyKey> DeletionMatches::copy_of(std::string_view basename) const {
  if (match_prefix(basename, m_client) != PrefixMatch::exact) return std::nullopt;
  try {
    BasenameTimeAndCopy name;
    name.parse(basename, m_client);
    return CopyKey{name.backup_time, name.copy_number};
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

}  // namespace catalog::podb
