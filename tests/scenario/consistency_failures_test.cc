#include "tests/scenario/scenario.h"

namespace scenario::consistency_failures {

TEST(ConsistencyFailures, ReportsSayWhyADirectoryWasNotCompared) {
  const std::string malformed = "malformed data";
  const std::string invalid = "Invalid line in parsing; expected ";
  const std::string list_image = "cat ${0%/*}/../../../images/listed/p\n";
  // What the listing does, and the reported status and text.
  const std::string rows[][3] = {
      {"echo no entity was found; exit 37", "connection refused by master server",
       "tvimagequery error (37): master server refused connection"},
      {"exit 2", malformed,
       "tvimagequery error (2): UNKNOWN tvimagequery error; look in tavrin logs (e.g. tvcatd)"},
      {"kill -KILL $PPID", "command ended by a signal", "the pipe command did not exit"},
      {"printf 'no entity was found'", malformed,
       invalid + "an IMAGE line,but received:\n\tno entity was foun"},
      {"echo no entity was found; echo IMAGE c", malformed,
       invalid + "no images,but received:\n\tIMAGE c"},
      {"head -c 1100000 /dev/zero | tr '\\0' x", "buffer too small", "pipe buffer is too small"},
      // After a whole image, and in the middle of another one.
      {list_image + "printf FRA; exit 25", "cannot connect to master server",
       "tvimagequery error (25): cannot connect to master server"},
      {list_image + "printf 'FRAG 1 1'", malformed, "Invalid tvimagequery FRAG line: FRAG 1 "},
  };
  const Scene scene;
  put_own(scene, {"hosta", "hostb"}, {"_1000_C1_F1.img"});
  scene.list_image("listed", "p", 1000, {1});
  const std::string dir = scene.policy_dir("hosta", "p").string();
  const auto expect = [&](const std::string& status, const std::string& text) {
    const Ended ended = scene.dry_run(4);
    const std::string line = not_compared(status, dir, text);
    expect_end(ended, 1, line);
    expect_parts(scene.logs("OrphanImages_"), {line});
    EXPECT_EQ(lines_beginning(ended.out, "{").size(), 1U) << "the others are still visited";
    expect_parts(scene.run_log(), {"policy directories 2, failed 1,"});
  };
  const auto expect_none_taken = [&](const std::string& listing, const std::string& status,
                                     const std::string& text) {
    scene.script("tvimagequery", listing);
    const Words before = scene.pos();
    const std::string line = not_compared(status, "", "Could not call tvimagequery: " + text);
    expect_end(scene.remove_orphans(4, k_one_listing), 1, line);
    expect_parts(scene.logs("OrphanImages_"), {line});
    EXPECT_EQ(scene.pos(), before);
  };
  fs::copy_file(scene.admincmd("tvimagequery"), scene.admincmd("query"));
  for (const auto& [script, status, text] : rows) {
    scene.script("tvimagequery", "[ \"$2\" = hosta ] || exit 227\n" + script);
    expect(status, "Could not call tvimagequery: " + text);
    expect_none_taken(script, status, text);
  }
  expect_none_taken("echo IMAGE c 0 0 13 c_1 p 0 n r F 0 3 1e3 64", malformed,
                    "bad lexical cast: source type value could not be interpreted as target");
  fs::rename(scene.admincmd("query"), scene.admincmd("tvimagequery"));
  scene.list_image("hosta", "p", 1000, {1});
  write_text(scene.po_db("hosta", "p"), std::string(5000, 'x'));
  expect(
      "not a path-object database",
      "ERROR (not a path-object database): could not read the deduplication metadata for " + dir);
  expect_parts(scene.logs("MissingImages_"), {"\nhosta_1000|hosta|p|1|\n"});
}

TEST(ConsistencyFailures, HostileNamesStartNoCommand) {
  const Scene scene;
  const Words names{"a b", "a;touch calls", "$(touch calls)", "-hoursago", "a'b", "a\"b", "a`b`",
                    "*",   "a&b",           "a\nb",           "a|b"};
  put_own(scene, names, {});
  scene.put("hosta", "p|q", {});
  scene.put("h\xc3\xb6st-A_1:+@", "p.1", {});
  scene.script("tvimagequery", "echo \"$*\" >> $0.calls\nexit 227\n");
  const std::string err = scene.dry_run(4).err;
  for (const std::string& name : names)
    expect_parts(err, {": the name " + name + " cannot be passed to tvimagequery\n"});
  expect_parts(err, {"the name p|q cannot be passed to tvimagequery\n"});
  const Words calls = sorted_lines(read_text(scene.admincmd("tvimagequery.calls")));
  ASSERT_EQ(calls.size(), 2U) << "one directory and the final listing";
  EXPECT_TRUE(starts_with(calls[0], "-client h\xc3\xb6st-A_1:+@ -policy p.1 -hoursago "));
  EXPECT_TRUE(starts_with(calls[1], "-hoursago "));
  // With one listing no name reaches a shell. A listing cannot hold all names; such copies stay.
  fs::remove_all(runs_dir(scene));
  put_own(scene, names, {"_1000_C1_F1.img"});
  scene.put("hosta", "p q", {"hosta_1000_C1_F1.img"});
  EXPECT_EQ(lines_beginning(scene.dry_run(4, k_one_listing).out, "{client: ").size(),
            names.size() + 1);
  const std::string errors = scene.remove_orphans(4, k_one_listing).err;
  const Words left{"a b", "a\\nb", "a;touch calls", "$(touch calls)", "p q"};
  for (const std::string& name : left)
    expect_parts(errors, {"; the name " + name + " cannot stand in a listing of the catalog; "});
  EXPECT_EQ(scene.pos().size(), left.size());
  const Words approved{"--approved", id_of(scene, "dry_run")};
  expect_end(scene.remove_orphans(4, joined(k_one_listing, approved)), 0, "");
  EXPECT_EQ(scene.pos().size(), 0U);
  const Words all = lines_beginning(read_text(scene.admincmd("tvimagequery.calls")), "-h");
  EXPECT_EQ(all.size(), 4U) << "one more for each run, unfiltered";
}

}  // namespace scenario::consistency_failures
