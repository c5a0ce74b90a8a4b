#include "platform/sqlite_podb.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "sandbox/storage_builder.h"
#include "tests/support/child.h"

namespace {

namespace fs = boost::filesystem;

class SQLitePODBTest : public testing::Test {
 protected:
  cr_status_t list(std::vector<std::string>& names) const {
    names.clear();
    SQLitePODB database("/", m_policy.string());
    return database.get_basenames([&](std::string_view name) { names.emplace_back(name); });
  }

  void create(const std::vector<std::string>& names) const {
    sandbox::PolicyDirWriter dir(m_policy, 3, 1);
    for (const std::string& name : names) dir.put(name);
    dir.finish();
  }

  support::TempDir m_dir;
  const fs::path m_policy = m_dir.path() / "2" / "hosta" / "p";
  const fs::path m_file = m_policy / "po.db";
};

TEST_F(SQLitePODBTest, ListsInByteOrder) {
  create({"b", "a", "B", "\xc3\xa4", "a_"});
  std::vector<std::string> names;
  EXPECT_EQ(list(names), 0);
  EXPECT_EQ(names, (std::vector<std::string>{"B", "a", "a_", "b", "\xc3\xa4"}));
  create({"b"});
  EXPECT_EQ(support::sqlite(m_file,
                            "SELECT count(*), length(poid), length(record), typeof(record) "
                            "FROM po WHERE basename = 'b'"),
            "1|64|3|blob\n");
}

TEST_F(SQLitePODBTest, AcceptsOurSchemaHoweverItIsWritten) {
  const std::string columns =
      "basename TEXT NOT NULL UNIQUE, -- e.g. a name\n poid\tTEXT NOT NULL,size INTEGER NOT NULL, "
      "mtime INTEGER NOT NULL, /* opaque */ record BLOB NOT NULL";
  const std::pair<std::string, cr_status_t> rows[] = {
      {"CREATE TABLE po (" + columns + ")", 0},
      {"create table \"po\" (" + columns + "); PRAGMA user_version = 1", 0},
      {"CREATE TABLE po (" + columns + "); ANALYZE", 0},
      {"CREATE TABLE po (" + columns + ", more TEXT)", k_status_db_foreign},
      {"CREATE TABLE po (basename TEXT)", k_status_db_foreign},
      {"CREATE TABLE po (" + columns + "); CREATE TABLE other (x)", k_status_db_foreign},
      {"CREATE TABLE po (" + columns + "); CREATE INDEX i ON po (poid)", k_status_db_foreign},
  };
  for (const auto& [statements, status] : rows) {
    fs::create_directories(m_policy);
    support::sqlite(m_file, statements);
    std::vector<std::string> names;
    EXPECT_EQ(list(names), status) << statements;
    fs::remove_all(m_policy);
  }
}

TEST_F(SQLitePODBTest, HotJournalIsLeftForAWriter) {
  create({"a", "b"});
  // What a writer that died leaves beside its database: nobody holds a lock, and it is not empty.
  const std::string journal = m_file.string() + "-journal";
  support::write_text(journal, "the pages as they were");
  std::vector<std::string> names;
  EXPECT_EQ(list(names), k_status_db_unfinished);
  EXPECT_EQ(support::read_text(journal), "the pages as they were");
}

}  // namespace
