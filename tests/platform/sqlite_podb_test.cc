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

using Names = std::vector<std::string>;

class SQLitePODBTest : public testing::Test {
 protected:
  cr_status_t list(Names& names) const {
    names.clear();
    SQLitePODB database("/", m_policy.string());
    return database.get_basenames([&](std::string_view name) { names.emplace_back(name); });
  }

  void create(const Names& names) const {
    sandbox::PolicyDirWriter dir(m_policy, 3, 1);
    for (const std::string& name : names) dir.put(name);
    dir.finish();
  }

  support::TempDir m_dir;
  const fs::path m_policy = m_dir.path() / "2" / "hosta" / "p";
  const fs::path m_file = m_policy / "po.db";
};

TEST_F(SQLitePODBTest, ListsInByteOrderWhatDoesNotBeginSo) {
  const Names sorted{"",       "A", "a",    "aa",       "ab",       "abc",
                     "ab\xff", "b", "\xff", "\xff\xff", "\xff\xff_"};
  create(Names(sorted.rbegin(), sorted.rend()));
  Names all;
  ASSERT_EQ(list(all), 0);
  EXPECT_EQ(all, sorted);
  support::sqlite(m_file, "INSERT INTO po VALUES (x'00', 'i', 1, 1, x''), (x'61', 'i', 1, 1, x'')");
  ASSERT_EQ(list(all), 0);
  SQLitePODB database("/", m_policy.string());
  for (const std::string prefix :
       {"A", "a", "ab", "ab\xff", "abcd", "0", "z", "\xff", "\xff\xff"}) {
    const auto add_other = [&](Names& others, std::string_view name) {
      if (name.substr(0, prefix.size()) != prefix) others.emplace_back(name);
    };
    Names expected;
    Names listed;
    std::size_t count = 0;
    for (const std::string& name : all) add_other(expected, name);
    const auto take = [&](std::string_view name) { add_other(listed, name), ++count; };
    EXPECT_EQ(database.get_basenames_without(prefix, take), 0);
    // A name that is no text may be handed out whatever it begins with.
    EXPECT_EQ(listed, expected) << prefix;
    EXPECT_LE(count, expected.size() + 1) << prefix;
  }
}

TEST_F(SQLitePODBTest, PassesOnEveryColumnOrRefusesTo) {
  create({"plain"});
  support::sqlite(m_file,
                  "INSERT INTO po VALUES ('empty', '', -1, 9223372036854775807, x''),"
                  "('zeros', CAST(x'61006200' AS TEXT), 0, 0, x'0061002700ff'),"
                  "('real', 'p', 1.5, 0, x'00'), ('blob', x'70', 1, 0, x'00')");
  const std::string rows =
      "SELECT basename, hex(poid), typeof(poid), size, mtime, hex(record), typeof(record) FROM po";
  const fs::path other = m_policy.parent_path() / "q";
  PO po(POCreate());
  SQLitePODB source("/", m_policy.string());
  SQLitePODB target(m_dir.path(), other);
  ASSERT_EQ(target.do_begin_transaction(), 0);
  for (const char* name : {"plain", "empty", "zeros"}) {
    ASSERT_EQ(source.get(name, po), 0);
    ASSERT_EQ(target.put(&po), 0);
  }
  ASSERT_EQ(target.do_commit_transaction(), 0);
  EXPECT_EQ(source.get("real", po), k_status_malformed);
  EXPECT_EQ(source.get("blob", po), k_status_malformed);
  EXPECT_EQ(support::sqlite(other / "po.db", rows),
            support::sqlite(m_file, rows + " WHERE rowid <= 3"));
}

TEST_F(SQLitePODBTest, RunsExactlyOneStatement) {
  create({"a"});
  SQLitePODB database("/", m_policy.string(), SQLitePODB::Access::read_write);
  const std::string remove = "DELETE FROM po WHERE basename = 'a'";
  Names names;
  EXPECT_NE(database.get_basenames(names, "1; " + remove), 0);
  for (const std::string& more : {std::string("; x"), std::string(";--"), std::string("\0", 1)})
    EXPECT_NE(database.exec_sql(remove + more, nullptr), 0) << more;
  EXPECT_EQ(database.exec_sql(remove + ";\n", nullptr), 0);
  EXPECT_EQ(database.changed_rows(), 1) << "nothing ran before";
}

TEST_F(SQLitePODBTest, WhatIsCreatedIsLikeTheDirectoryAroundItAndGoesUnlessCommitted) {
  const fs::path client = m_policy.parent_path();
  fs::create_directories(client);
  ASSERT_EQ(::chmod(client.c_str(), 02750), 0);
  const uid_t owner = ::geteuid() == 0 ? 4242 : ::geteuid();  // only root gives files away
  ASSERT_EQ(::chown(client.c_str(), owner, static_cast<gid_t>(-1)), 0);
  const PO po(POCreate());
  for (const bool commits : {false, true}) {
    EXPECT_TRUE(fs::is_empty(client)) << "what was not committed is gone";
    SQLitePODB database(m_dir.path(), m_policy);
    ASSERT_EQ(database.do_begin_transaction(), 0);
    ASSERT_EQ(database.put(&po), 0);
    EXPECT_THROW(support::sqlite(m_file, "BEGIN IMMEDIATE"), std::runtime_error) << "it is locked";
    EXPECT_EQ(fs::status(m_policy).permissions(), 02750);
    EXPECT_EQ(fs::status(m_file).permissions(), 0640);
    for (const fs::path& made : {m_policy, m_file}) {
      struct stat info {};
      ASSERT_EQ(::stat(made.c_str(), &info), 0);
      EXPECT_EQ(info.st_uid, owner) << made;
    }
    if (!commits) continue;
    ASSERT_EQ(database.do_commit_transaction(), 0);
  }
  EXPECT_TRUE(fs::exists(m_file));
}

TEST_F(SQLitePODBTest, WhatACreationThatDiedLeftIsClearedJournalsAreKeptAndNoStorageIsMade) {
  for (const char* left : {".new", ".new-journal"})
    support::write_text(m_file.string() + left, "half a database");
  create({"a"});
  EXPECT_EQ(std::distance(fs::directory_iterator(m_policy), fs::directory_iterator()), 1);
  // What a writer that died leaves beside its database: nobody holds a lock, and it is not empty.
  const std::string journal = m_file.string() + "-journal";
  support::write_text(journal, "the pages as they were");
  Names names;
  EXPECT_EQ(list(names), k_status_db_unfinished);
  fs::remove(m_file);
  EXPECT_THROW(create({"b"}), Cr_ErrnoException) << "a journal without its database";
  EXPECT_FALSE(fs::exists(m_file));
  EXPECT_EQ(support::read_text(journal), "the pages as they were");
  const fs::path gone = m_dir.path() / "gone";
  EXPECT_THROW(SQLitePODB(gone, gone / "2" / "hosta" / "p"), Cr_ErrnoException);
  EXPECT_FALSE(fs::exists(gone));
}

}  // namespace
