#include "platform/sqlite_podb.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "platform/po.h"
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
    SQLitePODB database(fs::path("/"), m_policy);
    ASSERT_EQ(database.do_begin_transaction(), 0);
    for (const std::string& name : names) {
      PO po;
      po.basename = name;
      po.poid = std::string(64, 'a');
      po.record = std::string("\0'\xff", 3);
      ASSERT_EQ(database.put(&po), 0);
    }
    ASSERT_EQ(database.do_commit_transaction(), 0);
  }

  support::TempDir m_dir;
  const fs::path m_policy = m_dir.path() / "2" / "hosta" / "p";
  const fs::path m_file = m_policy / "po.db";
};

TEST_F(SQLitePODBTest, ListsInByteOrderAndKeepsEveryColumn) {
  create({"b", "a", "B", "\xc3\xa4", "a_"});
  std::vector<std::string> names;
  EXPECT_EQ(list(names), 0);
  EXPECT_EQ(names, (std::vector<std::string>{"B", "a", "a_", "b", "\xc3\xa4"}));
  create({"b"});
  EXPECT_EQ(support::sqlite(m_file, "SELECT count(*), hex(record) FROM po WHERE basename = 'b'"),
            "1|0027FF\n");
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

TEST_F(SQLitePODBTest, LeftoversOfACrashAreCleared) {
  fs::create_directories(m_policy);
  support::write_text(m_file.string() + ".new", "half a database");
  support::write_text(m_file.string() + ".new-journal", "its journal");
  create({"a"});
  const auto files = std::distance(fs::directory_iterator(m_policy), fs::directory_iterator());
  EXPECT_EQ(files, 1);
  EXPECT_EQ(support::sqlite(m_file, "PRAGMA user_version; PRAGMA integrity_check"), "1\nok\n");
}

TEST_F(SQLitePODBTest, HotJournalIsLeftForAWriter) {
  create({"a", "b"});
  // A writer that dies inside its transaction, with pages already written.
  support::run({"sh", "-c",
                "{ echo 'PRAGMA cache_size = 1; PRAGMA cache_spill = 1; BEGIN; INSERT INTO po "
                "SELECT hex(randomblob(900)), 1, 1, 1, 1 FROM (WITH RECURSIVE n(i) AS (SELECT 1 "
                "UNION ALL SELECT i + 1 FROM n WHERE i < 900) SELECT i FROM n); SELECT 1;'; "
                "echo '.shell kill -KILL $PPID'; } | sqlite3 " +
                    m_file.string()});
  ASSERT_TRUE(fs::exists(m_file.string() + "-journal"));
  const std::string before = support::read_text(m_file);
  std::vector<std::string> names;
  EXPECT_EQ(list(names), k_status_db_unfinished);
  EXPECT_EQ(support::read_text(m_file), before);
  EXPECT_TRUE(fs::exists(m_file.string() + "-journal"));
}

}  // namespace
