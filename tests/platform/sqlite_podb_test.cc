#include "platform/sqlite_podb.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "platform/po.h"
#include "sandbox/storage_builder.h"
#include "tests/support/scene.h"

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
}

TEST_F(SQLitePODBTest, ListsWhatDoesNotBeginSo) {
  create({"", "A", "a", "aa", "ab", "ab\xff", "abc", "ac", "b", "\xff", "\xff\xff", "\xff\xff_"});
  support::sqlite(m_file, "INSERT INTO po VALUES (x'00', 'i', 1, 1, x''), (x'61', 'i', 1, 1, x'')");
  std::vector<std::string> all;
  ASSERT_EQ(list(all), 0);
  SQLitePODB database("/", m_policy.string());
  for (const std::string prefix :
       {"A", "a", "ab", "ab\xff", "abcd", "0", "z", "\xff", "\xff\xff"}) {
    const auto others = [&](const std::vector<std::string>& names) {
      std::vector<std::string> result;
      for (const std::string& name : names) {
        if (name.compare(0, prefix.size(), prefix) != 0) result.push_back(name);
      }
      return result;
    };
    std::vector<std::string> listed;
    EXPECT_EQ(database.get_basenames_without(
                  prefix, [&](std::string_view name) { listed.emplace_back(name); }),
              0);
    // A name that is no text may be handed out whatever it begins with.
    EXPECT_EQ(others(listed), others(all)) << prefix;
    EXPECT_LE(listed.size(), others(all).size() + 1) << prefix;
  }
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
      {"CREATE TABLE po (" + columns + "); CREATE TABLE [p o] (" + columns + ")",
       k_status_db_foreign},
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

TEST_F(SQLitePODBTest, PassesOnEveryColumnOrRefusesTo) {
  create({"plain"});
  support::sqlite(m_file,
                  "INSERT INTO po VALUES ('empty', '', -1, 9223372036854775807, x''),"
                  "('zeros', CAST(x'61006200' AS TEXT), 0, 0, x'0061002700ff'),"
                  "('real', 'p', 1.5, 0, x'00'), ('blob', x'70', 1, 0, x'00'),"
                  "('text', 'p', 1, 0, 'record')");
  const std::string rows =
      "SELECT basename, hex(poid), typeof(poid), size, mtime, hex(record), typeof(record) FROM po";
  const std::string before = support::sqlite(m_file, rows + " WHERE rowid <= 3");
  PO po(POCreate());
  {
    SQLitePODB source("/", m_policy.string());
    SQLitePODB target(m_dir.path(), m_policy.parent_path() / "q");
    ASSERT_EQ(target.do_begin_transaction(), 0);
    for (const char* name : {"plain", "empty", "zeros"}) {
      ASSERT_EQ(source.get(name, po), 0);
      ASSERT_EQ(target.put(&po), 0);
    }
    ASSERT_EQ(target.do_commit_transaction(), 0);
    for (const char* name : {"real", "blob", "text"}) {
      EXPECT_EQ(source.get(name, po), k_status_malformed) << name;
    }
    EXPECT_EQ(source.get("none", po), k_status_db_no_such_po);
    EXPECT_EQ(target.remove("none"), k_status_db_no_such_po);
  }
  EXPECT_EQ(support::sqlite(m_policy.parent_path() / "q" / "po.db", rows), before);
}

TEST_F(SQLitePODBTest, RunsExactlyOneStatement) {
  create({"a", "b"});
  SQLitePODB database("/", m_policy.string(), SQLitePODB::Access::read_write);
  const std::string remove = "DELETE FROM po WHERE basename = 'a'";
  for (const std::string& sql : {remove + "; x", remove + ";;", remove + ";--",
                                 remove + std::string("\0", 1), std::string(), std::string("--")}) {
    EXPECT_NE(database.exec_sql(sql, nullptr), 0) << sql;
  }
  std::vector<std::string> names;
  EXPECT_NE(database.get_basenames(names, "1; " + remove, 0, 0), 0);
  EXPECT_EQ(database.get_basenames(names, "1", 1, 2), 0);
  EXPECT_EQ(names, std::vector<std::string>{"b"});
  names.clear();
  const PODB::BasenameVisitor collect = [&](std::string_view name) { names.emplace_back(name); };
  EXPECT_EQ(database.exec_sql("SELECT basename FROM po", &collect), 0);
  EXPECT_EQ(names, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(database.exec_sql(remove + ";\n", nullptr), 0);
  EXPECT_EQ(database.changed_rows(), 1);
}

TEST_F(SQLitePODBTest, CreatedDatabaseGoesUnlessSomethingWasCommitted) {
  PO po(POCreate());
  {
    SQLitePODB database(m_dir.path(), m_policy);
    ASSERT_EQ(database.do_begin_transaction(), 0);
    ASSERT_EQ(database.put(&po), 0);
  }
  EXPECT_TRUE(fs::is_empty(m_dir.path())) << "nothing of it is left";
  fs::create_directories(m_policy.parent_path());
  { const SQLitePODB database(m_dir.path(), m_policy); }
  EXPECT_TRUE(fs::is_empty(m_policy.parent_path())) << "what was there stays";
  ASSERT_EQ(::chmod(m_policy.parent_path().c_str(), 02750), 0);
  {
    SQLitePODB database(m_dir.path(), m_policy);
    ASSERT_EQ(database.do_begin_transaction(), 0);
    EXPECT_THROW(support::sqlite(m_file, "BEGIN IMMEDIATE"), std::runtime_error) << "it is locked";
    ASSERT_EQ(database.do_commit_transaction(), 0);
  }
  { const SQLitePODB database(m_dir.path(), m_policy); }
  EXPECT_TRUE(fs::exists(m_file));
  EXPECT_EQ(fs::status(m_policy).permissions(), 02750) << "as the directory around it";
  EXPECT_EQ(fs::status(m_file).permissions(), 0640);
}

TEST_F(SQLitePODBTest, CreatedOnesBelongToTheOwnerOfTheDirectoryAroundThem) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  fs::create_directory(m_dir.path() / "2");
  ASSERT_EQ(::chown((m_dir.path() / "2").c_str(), 4242, 4343), 0);
  const SQLitePODB database(m_dir.path(), m_policy);
  for (const fs::path& made : {m_policy.parent_path(), m_policy, m_file}) {
    struct stat info {};
    ASSERT_EQ(::stat(made.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 4242U) << made;
    EXPECT_EQ(info.st_gid, 4343U) << made;
  }
}

TEST_F(SQLitePODBTest, CreationClearsWhatACrashLeftAndRefusesAJournalWithoutItsDatabase) {
  create({"a"});
  // Killed before the temporary name was gone, and before the database had its own name.
  fs::create_hard_link(m_file, m_file.string() + ".new");
  create({"b"});
  EXPECT_FALSE(fs::exists(m_file.string() + ".new"));
  EXPECT_EQ(support::sqlite(m_file, "SELECT basename FROM po"), "a\nb\n");
  fs::remove(m_file);
  support::write_text(m_file.string() + ".new", "half a database");
  support::write_text(m_file.string() + ".new-journal", "its journal");
  create({"c"});
  EXPECT_EQ(std::distance(fs::directory_iterator(m_policy), fs::directory_iterator()), 1);
  fs::rename(m_file, m_file.string() + "-journal");
  EXPECT_THROW(create({"d"}), Cr_ErrnoException);
  EXPECT_FALSE(fs::exists(m_file));
  fs::remove_all(m_policy);
  support::write_text(m_policy, "no directory");
  EXPECT_THROW(create({"d"}), Cr_ErrnoException);
  fs::remove(m_policy);
  support::write_text(m_file, std::string(5000, 'x'));
  SQLitePODB garbage(m_dir.path(), m_policy);
  EXPECT_EQ(garbage.do_begin_transaction(), k_status_db_foreign) << "not seen before it is used";
  const fs::path gone = m_dir.path() / "gone";
  EXPECT_THROW(SQLitePODB(gone, gone / "2" / "hosta" / "p"), Cr_ErrnoException);
  EXPECT_FALSE(fs::exists(gone)) << "a storage that has disappeared is not made again";
}

}  // namespace
