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

struct Walked {
  std::vector<std::string> dirs;  // below the root, sorted
  std::vector<std::string> log;   // lines, sorted, the root left out
};

Walked walk(const fs::path& root) {
  const fs::path log_file = root.string() + ".log";
  fs::remove(log_file);
  dct::util::LogFile log(log_file);
  Walked walked;
  catalog::LockedDirsIterator source(root, &log);
  for (std::string dir = source.get_next_path(); !dir.empty(); dir = source.get_next_path()) {
    walked.dirs.push_back(dir.substr(root.string().size() + 1));
  }
  EXPECT_EQ(source.get_next_path(), "");
  std::sort(walked.dirs.begin(), walked.dirs.end());
  for (std::string line : support::lines_beginning(support::read_text(log_file), "")) {
    walked.log.push_back(line.erase(line.find(root.string()), root.string().size() + 1));
  }
  return walked;
}

TEST(DirsIterator, YieldsPolicyDirectoriesOfTheDsidAlone) {
  const std::vector<std::string> rows[][3] = {
      {{}, {}, {}},
      {{"2"}, {}, {}},
      {{"2/a", "2/b/p/deeper", "2/b/q"}, {"2/b/p", "2/b/q"}, {}},
      {{"02/a/p", "+2/a/p"}, {"+2/a/p", "02/a/p"}, {}},
      {{"-18446744073709551614/a/p"}, {"-18446744073709551614/a/p"}, {}},
      {{"3/a/p", "-2/a/p", "2a/a/p", "abc/a/p", "18446744073709551616/a/p"},
       {},
       {"Invalid DSID: 18446744073709551616\n", "Invalid DSID: 2a\n", "Invalid DSID: abc\n",
        "Skip DSID: -2\n", "Skip DSID: 3\n"}},
      {{"1/a/p", "2/a/p", "9/a/p"}, {"2/a/p"}, {"Skip DSID: 1\n", "Skip DSID: 9\n"}},
  };
  for (const auto& [dirs, yielded, log] : rows) {
    const support::TempDir dir;
    const fs::path root = dir.path() / "catalog";
    fs::create_directories(root);
    for (const std::string& made : dirs) fs::create_directories(root / made);
    const Walked walked = walk(root);
    EXPECT_EQ(walked.dirs, yielded);
    EXPECT_EQ(walked.log, log);
  }
}

TEST(DirsIterator, FollowsLinksAndPassesOverWhatIsNoDirectory) {
  const support::TempDir dir;
  const fs::path root = dir.path() / "catalog";
  fs::create_directories(root / "2" / "a" / "p");
  fs::create_directories(dir.path() / "elsewhere" / "q");
  fs::create_directory_symlink(dir.path() / "elsewhere", root / "2" / "linked");
  fs::create_symlink("/no/such", root / "2" / "dangling");
  fs::create_symlink("/no/such", root / "2" / "a" / "dangling");
  for (const fs::path& level : {root, root / "2", root / "2" / "a"})
    fs::create_symlink("itself", level / "itself");
  support::write_text(root / "2" / "file", "");
  support::write_text(root / "2" / "a" / "file", "");
  const Walked walked = walk(root);
  EXPECT_EQ(walked.dirs, (std::vector<std::string>{"2/a/p", "2/linked/q"}));
  EXPECT_EQ(walked.log, std::vector<std::string>{"Invalid DSID: itself\n"});
}

// A directory that is gone is empty; a storage that is gone is out of reach.
TEST(DirsIterator, WhatIsGoneIsEmptyOnlyWhileTheRootIsTheSame) {
  for (const char* script :
       {"rm -r $root/2/*", "mv $root $root.aside", "mv $root $root.aside; mkdir $root"}) {
    const support::TempDir dir;
    const fs::path root = dir.path() / "catalog";
    for (const char* client : {"a", "b", "c"}) fs::create_directories(root / "2" / client / "p");
    dct::util::LogFile log(root.string() + ".log");
    catalog::LockedDirsIterator source(root, &log);
    EXPECT_NE(source.get_next_path(), "");
    support::run({"sh", "-c", "root=" + root.string() + "; " + script});
    if (fs::exists(root / "2")) {
      EXPECT_EQ(source.get_next_path(), "");
    } else {
      EXPECT_THROW(source.get_next_path(), catalog::WalkRootChanged) << script;
      EXPECT_EQ(source.get_next_path(), "") << script;
    }
  }
}

TEST(DirsIterator, FileNamedLikeTheDsidLetsTheNextDirectoryThrough) {
  const support::TempDir dir;
  const fs::path root = dir.path() / "catalog";
  for (int dsid = 10; dsid < 40; ++dsid) {
    fs::create_directories(root / std::to_string(dsid) / "a" / "p");
  }
  support::write_text(root / "2", "");
  std::vector<std::string> behind;  // what the file system lists behind the file
  for (const auto& entry : fs::directory_iterator(root)) {
    const std::string name = entry.path().filename().string();
    if (name == "2" || !behind.empty()) behind.push_back(name + "/a/p");
  }
  const bool is_last = behind.size() == 1;
  EXPECT_EQ(walk(root).dirs,
            is_last ? std::vector<std::string>{} : std::vector<std::string>{behind.at(1)});
}

}  // namespace
