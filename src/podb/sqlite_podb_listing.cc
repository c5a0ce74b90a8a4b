// The listings of SQLitePODB.
#include <algorithm>

#include <SQLiteCpp/SQLiteCpp.h>

#include "podb/basename_range.h"
#include "podb/sqlite_connection.h"
#include "podb/sqlite_podb.h"
#include "podb/statement_rows.h"

using database::bind_upper_bound;
using database::step_through;
using database::step_up_to;
using database::text_of;

cr_status_t SQLitePODB::get_basenames(const BasenameVisitor& visitor) {
  return under_read_lock([&] {
    // UNIQUE has an index of the basenames alone, in byte order.
    SQLite::Statement names(*m_database, "SELECT basename FROM po ORDER BY basename");
    step_through(names, &visitor);
  });
}

cr_status_t SQLitePODB::get_basenames_without(std::string_view prefix,
                                              const BasenameVisitor& visitor) {
  return under_read_lock([&] {
    SQLite::Statement names(*m_database,
                            "SELECT basename FROM po WHERE basename >= ? ORDER BY basename");
    names.bind(1, "");
    step_up_to(prefix, names, visitor);
    const std::string upper_bound = database::upper_bound_of_prefix(prefix);
    names.reset();
    bind_upper_bound(names, 1, upper_bound);
    step_through(names, &visitor);
  });
}

cr_status_t SQLitePODB::get_entries_in(const std::vector<database::BasenameRange>& ranges,
                                       bool with_sizes, const EntryVisitor& visitor) {
  constexpr std::int64_t k_most_bytes = std::int64_t{1} << 53;
  return under_read_lock([&] {
    SQLite::Statement pos(*m_database,
                          std::string("SELECT basename, rowid, ") + (with_sizes ? "size" : "0") +
                              " FROM po WHERE basename >= ? AND basename < ? ORDER BY basename");
    for (const database::BasenameRange& range : ranges) {
      pos.bindNoCopy(1, range.from);
      bind_upper_bound(pos, 2, range.to);
      while (pos.executeStep()) {
        const std::int64_t size = pos.getColumn(2).getInt64();
        const std::int64_t bytes = std::clamp<std::int64_t>(size, 0, k_most_bytes);
        visitor({text_of(pos.getColumn(0)), pos.getColumn(1).getInt64(),
                 static_cast<std::uint64_t>(bytes)});
      }
      pos.reset();
    }
  });
}

cr_status_t SQLitePODB::get_basenames(std::vector<std::string>& names, const std::string& condition,
                                      std::vector<std::string>* blobs) {
  const std::string sql = "SELECT basename FROM po WHERE " + condition + " ORDER BY basename";
  names.clear();
  const cr_status_t status = under_read_lock([&] {
    database::require_one_statement(*m_database, sql);
    SQLite::Statement listing(*m_database, sql);
    while (listing.executeStep()) {
      const SQLite::Column name = listing.getColumn(0);
      (blobs != nullptr && name.isBlob() ? *blobs : names).emplace_back(text_of(name));
    }
  });
  if (status != k_status_ok) names.clear();
  return status;
}
