#include <gtest/gtest.h>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include "tests/support/scene.h"

namespace {

namespace fs = boost::filesystem;
using boost::algorithm::contains;
using boost::algorithm::ends_with;
using boost::algorithm::starts_with;
using support::Ended;
using support::lines_beginning;
using support::Scene;

const std::string k_image =
    "IMAGE hosta 0 0 13 hosta_1 p 0 *NULL* root Full 0 3 1000 64 1893456000";
const std::string k_frag =
    "FRAG 1 1 1 0 2 6 1 media 65536 0 1000 0 0 *NULL* a;b;c;dp_sandbox;1 0 0 0 *NULL* 7 0 1 0 0 0 "
    "1";

// A listing script: nothing for the whole catalog, `text` and `exit_code` for a client and policy.
std::string listing(const std::string& text, const std::string& end) {
  return "case \"$*\" in *-client*) ;; *) echo no entity was found; exit 227 ;; esac\n"
         "cat <<'END'\n" +
         text + "END\n" + end + "\n";
}

std::string failed_dir(const Scene& scene, const std::string& status, const std::string& text) {
  return "ERROR (" + status +
         ") : could not compare the Tavrin catalog and deduplication metadata for " +
         scene.storage().policy_dir("hosta", "p").string() + "; " + text + "\n";
}

TEST(ConsistencyFailures, FailedListingIsReportedAndMakesNoOrphans) {
  const std::string call = "Could not call tvimagequery: ";
  const std::string invalid =
      call + "Invalid line in parsing; expected an IMAGE line,but received:\n\t";
  const std::string unknown = "): UNKNOWN tvimagequery error; look in tavrin logs (e.g. tvcatd)";
  const std::string half = k_image + "\n" + k_frag + "\n";
  const struct {
    std::string script;
    std::string status;
    std::string text;
  } rows[] = {
      {listing("", "exit 25"), "cannot connect to master server",
       call + "tvimagequery error (25): cannot connect to master server"},
      {listing(half, "exit 25"), "cannot connect to master server",
       call + "tvimagequery error (25): cannot connect to master server"},
      {listing("no entity was found\n", "exit 37"), "connection refused by master server",
       call + "tvimagequery error (37): master server refused connection"},
      {listing(half, "exit 2"), "malformed data", call + "tvimagequery error (2" + unknown},
      {listing(k_image + "\n", "exit 2"), "malformed data",
       call + "tvimagequery error (2" + unknown},
      {listing(half, "kill -KILL $PPID"), "command ended by a signal",
       call + "the pipe command did not exit"},
      {listing("", "kill -PIPE $PPID"), "command ended by a signal",
       call + "the pipe command did not exit"},
      {listing("Error: no licence\n", ""), "malformed data", invalid + "Error: no licence"},
      {listing("", "printf 'no entity was found'"), "malformed data",
       invalid + "no entity was foun"},
      {listing("no entity was found\n" + half, ""), "malformed data",
       call + "Invalid line in parsing; expected no images,but received:\n\t" + k_image},
      {listing("IMAGE hosta 0\n", ""), "malformed data",
       call + "Invalid tvimagequery IMAGE line: IMAGE hosta 0"},
      {listing(k_image + "\nFRAG 1\n", ""), "malformed data",
       call + "Invalid tvimagequery FRAG line: FRAG 1"},
      {listing(k_image + "\nFRAG x" + k_frag.substr(6) + "\n", ""), "malformed data",
       "bad lexical cast: source type value could not be interpreted as target"},
      {"head -c 1100000 /dev/zero | tr '\\0' x\n", "buffer too small",
       call + "pipe buffer is too small"},
  };
  for (const auto& row : rows) {
    const Scene scene;
    scene.put("hosta", "p", {"hosta_1000_C1_F1.img", "hosta_9000_C1_F1.img"});
    scene.put("hostb", "p", {});
    scene.script("tvimagequery", "case \"$*\" in *hostb*|*/*) exit 227 ;; esac\n" + row.script);
    const auto before = scene.snapshot();
    for (const int threads : {1, 4}) {
      const Ended ended = scene.dry_run(threads);
      const std::string line = failed_dir(scene, row.status, row.text);
      EXPECT_TRUE(starts_with(ended.err, line)) << line << "got " << ended.err;
      EXPECT_EQ(ended.exit_status, 1) << row.text;
      EXPECT_EQ(lines_beginning(ended.out, "{").size(), 0U) << row.text;
      EXPECT_TRUE(contains(scene.logs("OrphanImages_"), line)) << row.text;
      EXPECT_EQ(scene.snapshot(), before);
    }
  }
}

TEST(ConsistencyFailures, DirectoryThatCannotBeReadIsNoted) {
  const Scene scene;
  scene.put("hosta", "p", {});
  scene.put("hostb", "p", {"hostb_1000_C1_F1.img"});
  support::write_text(scene.po_db("hosta", "p"), std::string(5000, 'x'));
  const Ended ended = scene.dry_run(4);
  EXPECT_EQ(ended.exit_status, 1);
  EXPECT_EQ(ended.err, failed_dir(scene, "not a path-object database",
                                  "ERROR (not a path-object database): could not read the "
                                  "deduplication metadata for " +
                                      scene.storage().policy_dir("hosta", "p").string()));
  EXPECT_EQ(lines_beginning(ended.out, "{").size(), 1U) << "the others are still visited";
  EXPECT_TRUE(contains(scene.run_log(), "policy directories 2, failed 1,"));
}

TEST(ConsistencyFailures, HostileNamesStartNoCommand) {
  const Scene scene;
  const std::string pwned = (scene.root() / "pwned").string();
  const std::vector<std::string> names{
      "a b", "a;touch ${HOME}", "$(reboot)", "-hoursago", "a'b", "a\"b", "a`b`", "*", "a&b",
      "a\nb"};
  for (const std::string& name : names) scene.put(name, "p", {});
  scene.put("hosta", "p|q", {});
  scene.put("h\xc3\xb6st-A_1:+@", "p.1", {});
  scene.script("tvimagequery", "echo \"$*\" >> " + pwned + "\nexit 227\n");
  const Ended ended = scene.dry_run(4);
  EXPECT_EQ(ended.exit_status, 1);
  for (const std::string& name : names) {
    EXPECT_TRUE(contains(ended.err, "Could not call tvimagequery: the name " + name +
                                        " cannot be passed to tvimagequery\n"))
        << name;
  }
  EXPECT_TRUE(contains(ended.err, "the name p|q cannot be passed to tvimagequery\n"));
  const auto calls = lines_beginning(support::read_text(pwned), "-");
  ASSERT_EQ(calls.size(), 2U) << "one directory and the final listing";
  EXPECT_TRUE(starts_with(calls[0], "-client h\xc3\xb6st-A_1:+@ -policy p.1 -hoursago "));
  EXPECT_TRUE(starts_with(calls[1], "-hoursago "));
}

TEST(ConsistencyFailures, FinalListingThatFailsAbortsTheRun) {
  const Scene scene;
  scene.script("tvimagequery", "echo 'no entity was found'; exit 25\n");
  const Ended ended = scene.dry_run();
  EXPECT_EQ(ended.exit_status, 1);
  EXPECT_EQ(ended.err,
            "Aborting with error:  tvimagequery error (25): cannot connect to master server\n");
  EXPECT_FALSE(contains(ended.out, "finished successfully"));
  EXPECT_FALSE(fs::exists(scene.lock_file()));
}

TEST(ConsistencyFailures, QueriesThatDieAreNoAnswer) {
  for (const char* name : {"tvdevinfo", "tvlifecycle"}) {
    for (const char* end : {"kill -TERM $$", "exit 143", "kill -PIPE $$", "exit 141"}) {
      const Scene scene;
      scene.script(name, end);
      const Ended ended = scene.dry_run();
      // The shell may say "Terminated" first.
      EXPECT_TRUE(ends_with(ended.err, "Aborting with error:  the pipe command did not exit\n"))
          << name << end << ended.err;
      EXPECT_EQ(ended.exit_status, 1);
    }
    const Scene scene;
    scene.script(name, "exit 3");
    EXPECT_FALSE(contains(scene.dry_run().err, "Aborting")) << "other exit codes say nothing";
  }
}

TEST(ConsistencyFailures, ChildrenGetAFixedEnvironment) {
  const Scene scene;
  scene.put("hosta", "p", {});
  scene.script("tvimagequery", "echo \"$PATH $LC_ALL\" >> $0.env; exit 227\n");
  EXPECT_EQ(scene.dry_run().exit_status, 0);
  const std::string environment = "/usr/sbin:/usr/bin:/sbin:/bin C\n";
  EXPECT_EQ(support::read_text(scene.admincmd("tvimagequery.env")), environment + environment);
}

}  // namespace
