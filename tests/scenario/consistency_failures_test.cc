#include "tests/scenario/scenario.h"

namespace scenario::consistency_failures {

const std::string k_image =
    "IMAGE hosta 0 0 13 hosta_1 p 0 *NULL* root Full 0 3 1000 64 1893456000\n";
const std::string k_frag =
    "FRAG 1 1 1 0 2 6 1 media 65536 0 1000 0 0 *NULL* a;b;c;dp_sandbox;1 0 0 0 *NULL* 7 0 1 0 0 0 "
    "1\n";

std::string failed_dir(const Scene& scene, const std::string& status, const std::string& text) {
  return "ERROR (" + status +
         ") : could not compare the Tavrin catalog and deduplication metadata for " +
         scene.storage().policy_dir("hosta", "p").string() + "; " + text + "\n";
}

TEST(ConsistencyFailures, FailedListingIsReportedAndMakesNoOrphans) {
  const std::string malformed = "malformed data";
  const std::string died = "command ended by a signal";
  const std::string invalid = "Invalid line in parsing; expected ";
  const std::string unknown =
      "tvimagequery error (2): UNKNOWN tvimagequery error; look in tavrin logs (e.g. tvcatd)";
  const std::string half = k_image + k_frag;
  const std::string no_image = "no entity was found";
  // What is listed, how the command ends; the status and text that are reported.
  const std::string rows[][4] = {
      {half, "exit 25", "cannot connect to master server",
       "tvimagequery error (25): cannot connect to master server"},
      {no_image + "\n", "exit 37", "connection refused by master server",
       "tvimagequery error (37): master server refused connection"},
      {k_image, "exit 2", malformed, unknown},
      {half, "kill -KILL $PPID", died, "the pipe command did not exit"},
      {"Error: no licence\n", "", malformed,
       invalid + "an IMAGE line,but received:\n\tError: no licence"},
      {"", "printf '" + no_image + "'", malformed,
       invalid + "an IMAGE line,but received:\n\tno entity was foun"},
      {no_image + "\nIMAGE c\n", "", malformed, invalid + "no images,but received:\n\tIMAGE c"},
      {"", "head -c 1100000 /dev/zero | tr '\\0' x", "buffer too small",
       "pipe buffer is too small"},
  };
  for (const auto& [listing, end, status, text] : rows) {
    const Scene scene;
    scene.put("hosta", "p", {"hosta_1000_C1_F1.img", "hosta_9000_C1_F1.img"});
    scene.put("hostb", "p", {});
    support::write_text(scene.admincmd("listing"), listing);
    scene.script("tvimagequery",
                 "case \"$*\" in *hosta*) ;; *) exit 227 ;; esac\ncat ${0%/*}/listing\n" + end);
    const auto before = scene.snapshot();
    const std::string line = failed_dir(scene, status, "Could not call tvimagequery: " + text);
    for (const int threads : {1, 4}) {
      const Ended ended = scene.dry_run(threads);
      EXPECT_EQ(ended.err, line);
      EXPECT_EQ(ended.exit_status, 1) << text;
      EXPECT_EQ(lines_beginning(ended.out, "{").size(), 0U) << text;
      EXPECT_TRUE(contains(scene.logs("OrphanImages_"), line)) << text;
    }
    EXPECT_EQ(scene.snapshot(), before);
  }
}

TEST(ConsistencyFailures, DirectoryThatCannotBeReadIsNoted) {
  const Scene scene;
  scene.put("hosta", "p", {});
  scene.put("hostb", "p", {"hostb_1000_C1_F1.img"});
  support::write_text(scene.po_db("hosta", "p"), std::string(5000, 'x'));
  scene.storage().list_image("hosta", "p", 1000, {1});
  const Ended ended = scene.dry_run(4);
  EXPECT_EQ(ended.exit_status, 1);
  EXPECT_TRUE(contains(scene.logs("MissingImages_"), "\nhosta_1000|hosta|p|1|\n"));
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
  const std::vector<std::string> names{"a b", "a;touch pwned", "$(touch pwned)", "-hoursago",
                                       "a'b", "a\"b",          "a`b`",           "*",
                                       "a&b", "a\nb"};
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

TEST(ConsistencyFailures, ChildrenGetAFixedEnvironmentAndNoDescriptors) {
  const Scene scene;
  scene.script("tvlifecycle", "echo \"$PATH $LC_ALL\" > $0.env; readlink /proc/$$/fd/* > $0.fd\n");
  scene.run_in_shell("exec \"$@\" 2>&-", {"--FORCE_DEDUPE_METADATA_CONSISTENCY", "--dry_run"});
  EXPECT_EQ(support::read_text(scene.admincmd("tvlifecycle.env")),
            "/usr/sbin:/usr/bin:/sbin:/bin C\n");
  const std::string descriptors = support::read_text(scene.admincmd("tvlifecycle.fd"));
  EXPECT_TRUE(contains(descriptors, "/dev/null\n")) << "for the closed one";
  EXPECT_FALSE(contains(descriptors, "mdfixup.lock")) << descriptors;
}

}  // namespace scenario::consistency_failures
