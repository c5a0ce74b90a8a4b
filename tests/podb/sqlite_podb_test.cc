#include "podb/sqlite_podb.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>
#include <boost/range/algorithm_ext/erase.hpp>

#include "podb/po.h"
#include "sandbox/storage_builder.h"
#include "tests/support/scene.h"

namespace {

namespace fs = boost::filesystem;

using Names = std::vector<std::string>;

class SQLitePODBTest : public testing::Test {
 protected:
  void create(const Names& names) const {
    sandbox::PolicyDirWriter dir(m_policy, 3, 1);
    for (const std::string& name : names) dir.put(name);
    dir.finish();
  }

  support::TempDir m_dir;
  const fs::path m_policy = m_dir.path() / "2/hosta/p";
  const fs::path m_file = m_policy / layout::k_po_database;
};

TEST_F(SQLitePODBTest, ListsInByteOrderNamesWithoutThePrefix) {
  const Names sorted{"",       "A", "a",    "aa",       "ab",       "abc",
                     "ab\xff", "b", "\xff", "\xff\xff", "\xff\xff_"};
  create(Names(sorted.rbegin(), sorted.rend()));
  scenario::sqlite(m_file,
                   "INSERT INTO po VALUES (x'00', 'i', 1, 1, x''), (x'61', 'i', 1, 1, x'')");
  SQLitePODB database("/", m_policy.string());
  Names all;
  const auto take_all = [&](std::string_view name) { all.emplace_back(name); };
  ASSERT_EQ(database.get_basenames(take_all), 0);
  EXPECT_EQ(Names(all.begin(), all.end() - 2), sorted) << "the blobs follow";
  for (const std::string prefix :
       {"A", "a", "ab", "ab\xff", "abcd", "0", "z", "\xff", "\xff\xff"}) {
    const auto begins_so = [&](const std::string& name) { return name.rfind(prefix, 0) == 0; };
    Names listed;
    const auto take = [&](std::string_view name) { listed.emplace_back(name); };
    EXPECT_EQ(database.get_basenames_without(prefix, take), 0);
    // A blob may be listed even if it has the prefix.
    EXPECT_LE(std::count_if(listed.begin(), listed.end(), begins_so), 1) << prefix;
    boost::range::remove_erase_if(listed, begins_so);
    Names expected = all;
    boost::range::remove_erase_if(expected, begins_so);
    EXPECT_EQ(listed, expected) << prefix;
  }
}

TEST_F(SQLitePODBTest, NewDatabaseWithRowsOfAnotherProcessStays) {
  fs::create_directories(m_policy.parent_path());
  {
    const SQLitePODB database(m_dir.path(), m_policy);
    scenario::sqlite(m_file, "INSERT INTO po VALUES ('of another process', '', 0, 0, x'')");
  }
  EXPECT_TRUE(fs::exists(m_file));
}

TEST_F(SQLitePODBTest, CreationRemovesLeftoversKeepsJournalsAndMakesNoStorage) {
  for (const char* left : {".new", ".new-journal"})
    support::write_text(m_file.string() + left, "half a database");
  create({"a"});
  EXPECT_EQ(std::distance(fs::directory_iterator(m_policy), fs::directory_iterator()), 1);
  // A killed writer leaves a journal that is not empty and that no process locks.
  const std::string journal = m_file.string() + "-journal";
  support::write_text(journal, "the pages as they were");
  fs::remove(m_file);
  EXPECT_THROW(create({"b"}), Cr_ErrnoException) << "a journal without its database";
  EXPECT_FALSE(fs::exists(m_file));
  EXPECT_EQ(support::read_text(journal), "the pages as they were");
  const fs::path gone = m_dir.path() / "gone";
  EXPECT_THROW(SQLitePODB(gone, gone / "2" / "hosta" / "p"), Cr_ErrnoException);
  EXPECT_FALSE(fs::exists(gone));
}

}  // namespace
