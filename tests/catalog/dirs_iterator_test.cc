#include "catalog/dirs_iterator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "catalog/locked_dirs_iterator.h"
#include "dct/log_file.h"
#include "tests/support/scene.h"

namespace {

namespace fs = boost::filesystem;
using Lines = std::vector<std::string>;

class DirsIterator : public testing::Test {
 protected:
  // Runs a script in a catalog that is empty at first.
  void make(const std::string& script) const {
    const std::string in_catalog = "rm -rf ../catalog*; mkdir ../catalog; cd ../catalog; ";
    fs::create_directories(m_root);
    support::run({"sh", "-c", "cd " + m_root.string() + "; " + in_catalog + script});
  }

  // The directories that are yielded, below the root, and the lines of the log without it; sorted.
  std::pair<Lines, Lines> walk() const {
    const std::string log_file = m_root.string() + ".log";
    dct::util::LogFile log(log_file);
    catalog::LockedDirsIterator source(m_root, &log);
    Lines dirs;
    for (std::string dir = source.get_next_path(); !dir.empty(); dir = source.get_next_path())
      dirs.push_back(dir.substr(m_root.size() + 1));
    EXPECT_EQ(source.get_next_path(), "");
    std::sort(dirs.begin(), dirs.end());
    std::string text = support::read_text(log_file);
    boost::algorithm::erase_all(text, m_root.string() + "/");
    return {dirs, support::lines_beginning(text, "")};
  }

  const support::TempDir m_dir;
  const fs::path m_root = m_dir.path() / "catalog";
};

TEST_F(DirsIterator, YieldsPolicyDirectoriesOfTheDsidAlone) {
  const std::tuple<std::string, Lines, Lines> rows[] = {
      {"mkdir 2", {}, {}},
      {"mkdir -p 2/a 2/b/p/deeper 2/b/q", {"2/b/p", "2/b/q"}, {}},
      {"mkdir -p 02/a/p +2/a/p", {"+2/a/p", "02/a/p"}, {}},
      {"mkdir -p ./-18446744073709551614/a/p", {"-18446744073709551614/a/p"}, {}},
      {"mkdir -p 3/a/p ./-2/a/p 2a/a/p 18446744073709551616/a/p",
       {},
       {"Invalid DSID: 18446744073709551616\n", "Invalid DSID: 2a\n", "Skip DSID: -2\n",
        "Skip DSID: 3\n"}},
      {"mkdir -p 1/a/p 2/a/p 9/a/p", {"2/a/p"}, {"Skip DSID: 1\n", "Skip DSID: 9\n"}},
      // Links are followed, and what is no directory is passed over.
      {"mkdir -p 2/a/p ../catalog.elsewhere/q; ln -s ../../catalog.elsewhere 2/linked;"
       "for i in . 2 2/a; do ln -s /no/such $i/dangling; ln -s itself $i/itself; done;"
       "rm dangling; touch 2/file 2/a/file",
       {"2/a/p", "2/linked/q"},
       {"Invalid DSID: itself\n"}},
  };
  for (const auto& [script, dirs, log] : rows) {
    make(script);
    EXPECT_EQ(walk(), std::make_pair(dirs, log)) << script;
  }
}

// A directory that is gone is empty; a storage that is gone is out of reach.
TEST_F(DirsIterator, WhatIsGoneIsEmptyOnlyWhileTheRootIsTheSame) {
  for (const std::string script :
       {"rm -r 2/*", "mv $PWD ../catalog.aside", "mv $PWD ../catalog.aside; mkdir ../catalog"}) {
    make("mkdir -p 2/a/p 2/b/p 2/c/p");
    dct::util::LogFile log(m_root.string() + ".log");
    catalog::LockedDirsIterator source(m_root, &log);
    EXPECT_NE(source.get_next_path(), "");
    support::run({"sh", "-c", "cd " + m_root.string() + "; " + script});
    if (!fs::exists(m_root / "2")) {
      EXPECT_THROW(source.get_next_path(), catalog::WalkRootChanged) << script;
    }
    EXPECT_EQ(source.get_next_path(), "") << script;
  }
}

TEST_F(DirsIterator, FileNamedLikeTheDsidLetsTheNextDirectoryThrough) {
  make("for i in $(seq 10 40); do mkdir -p $i/a/p; done; touch 2");
  Lines listed;  // as the file system does
  for (const auto& entry : fs::directory_iterator(m_root))
    listed.push_back(entry.path().filename().string());
  const auto next = std::find(listed.begin(), listed.end(), "2") + 1;
  EXPECT_EQ(walk().first, next == listed.end() ? Lines{} : Lines{*next + "/a/p"});
}

}  // namespace
