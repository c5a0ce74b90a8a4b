#include "catalog/walk/dirs_iterator.h"

#include "catalog/walk/locked_dirs_iterator.h"
#include "dct/log_file.h"
#include "tests/scenario/scenario.h"

namespace scenario::walk {

// Runs a script in an empty metadata tree. Returns the log of a walk and then its directories, each as
// sorted lines without the tree's path.
std::string walked(const Scene& scene, const std::string& script) {
  scene.sh("rm -rf catalog* walk.log; mkdir catalog; cd catalog; " + script);
  const std::string log_file = (scene.root() / "walk.log").string();
  dct::util::LogFile log(log_file);
  catalog::LockedDirsIterator source(scene.tree_dir(), &log);
  std::string dirs;
  for (std::string dir = source.get_next_path(); !dir.empty(); dir = source.get_next_path())
    dirs += dir + "\n";
  EXPECT_EQ(source.get_next_path(), "");
  const Words both = joined(sorted_lines(read_text(log_file)), sorted_lines(dirs));
  return replace_all_copy(boost::algorithm::join(both, ""), scene.tree_dir().string() + "/", "");
}

TEST(DirsIterator, YieldsOnlyPolicyDirectoriesOfTheDsid) {
  const std::string rows[][2] = {
      {"mkdir 2", ""},
      {"mkdir -p 2/a 2/b/p/deeper 2/b/q", "2/b/p\n2/b/q\n"},
      {"mkdir -p 02/a/p +2/a/p", "+2/a/p\n02/a/p\n"},
      {"mkdir -p ./-18446744073709551614/a/p", "-18446744073709551614/a/p\n"},
      {"mkdir -p 3/a/p ./-2/a/p 2a/a/p 18446744073709551616/a/p",
       "Invalid DSID: 18446744073709551616\nInvalid DSID: 2a\nSkip DSID: -2\nSkip DSID: 3\n"},
      {"mkdir -p 1/a/p 2/a/p 9/a/p", "Skip DSID: 1\nSkip DSID: 9\n2/a/p\n"},
      // Links are followed; files are skipped.
      {"mkdir -p 2/a/p ../catalog.elsewhere/q; ln -s ../../catalog.elsewhere 2/linked;"
       "for i in . 2 2/a; do ln -s /no/such $i/dangling; ln -s itself $i/itself; done;"
       "rm dangling; touch 2/file 2/a/file",
       "Invalid DSID: itself\n2/a/p\n2/linked/q\n"},
  };
  const Scene scene;
  for (const auto& [script, expected] : rows) EXPECT_EQ(walked(scene, script), expected) << script;
}

// A vanished storage is an error in the tests of deletions and of one listing.
TEST(DirsIterator, VanishedDirectoryIsEmpty) {
  const Scene scene;
  scene.sh("mkdir -p catalog/2/a/p catalog/2/b/p");
  catalog::LockedDirsIterator source(scene.tree_dir(), nullptr);
  EXPECT_NE(source.get_next_path(), "");
  scene.sh("rm -r catalog/2/*");
  EXPECT_EQ(source.get_next_path(), "");
}

TEST(DirsIterator, AfterAFileNamedLikeTheDsidTheNextDirectoryIsWalked) {
  const Scene scene;
  const std::string found =
      walked(scene, "for i in $(seq 10 40); do mkdir -p $i/a/p; done; touch 2");
  Words listed{""};  // in the order of the file system
  for (const auto& entry : fs::directory_iterator(scene.tree_dir()))
    listed.insert(listed.end() - 1, entry.path().filename().string());
  const std::string next = *(std::find(listed.begin(), listed.end(), "2") + 1);
  const std::string yielded = found.substr(found.rfind("Skip DSID: "));
  EXPECT_EQ(yielded.substr(yielded.find('\n') + 1), next.empty() ? "" : next + "/a/p\n");
}

}  // namespace scenario::walk
