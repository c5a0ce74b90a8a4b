#include "tests/scenario/scenario.h"

#include <set>

#include "sandbox/list_pos.h"

namespace scenario::child_matrix {

const std::string k_listing =
    "IMAGE h 0 0 13 h_1 $4 0 *NULL* root Full 0 3 1000 64\n"
    "FRAG 1 1 1 0 2 6 1 m 6 0 1 0 0 *NULL* a;b;c;dp_sandbox;1 0 0 0 *NULL* 7 0 1 0 0 0 1\n";
const std::string k_end =
    "case $1 in exit) exit $2 ;; self) kill -$2 $$ ;; shell) kill -$2 $PPID ;; esac\nexit 1\n";
const std::size_t k_whole = k_listing.size() + std::string("exit.000.000").size();

// Policies, whose names say what the listing does: what ends whom ("exit" the command, "self" a signal
// the command, "shell" a signal the shell that runs it), with which number, behind how many bytes.
Words all_policies() {
  Words policies;
  const auto add = [&](const std::string& end, int number, std::size_t bytes) {
    policies.push_back(end + "." + std::to_string(number) + "." + std::to_string(bytes));
  };
  for (std::size_t bytes = 0; bytes <= k_whole; ++bytes) {
    const bool is_full = bytes == 0 || bytes == k_whole / 2 || bytes == k_whole;
    for (int code = 0; code < 256; ++code) {
      if (is_full || code == 0 || code == 25) add("exit", code, bytes);
    }
    // Those that are ignored by default or stop a process end none.
    for (const int signal :
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 24, 25, 26, 27, 29, 30, 31}) {
      if (is_full) add("self", signal, bytes);
      if (is_full || signal == 9) add("shell", signal, bytes);
    }
  }
  return policies;
}

TEST(DeletionChildMatrix, ListingThatFailedTakesNothingAndIsReported) {
  const Scene scene;
  const std::string live = "h_1000_C1_F1.img";
  scene.put("h", "template", {live, "h_2000_C1_F1.img"});
  scene.sh("mv catalog/2/h/template template");
  for (const std::string& policy : all_policies()) {
    fs::create_directories(scene.storage().policy_dir("h", policy));
    fs::copy_file(scene.root() / "template" / "po.db", scene.po_db("h", policy));
  }
  scene.script("tvimagequery", "[ $1 = -client ] || exit 227\nlisting=\"" + k_listing +
                                   "\"\nIFS=.; set -- $4\nprintf \"%.${3}s\" \"$listing\"\n" +
                                   k_end);
  const Ended ended = scene.remove_orphans(4);
  EXPECT_EQ(ended.exit_status, 1);
  const std::string log = scene.logs("OrphanImages_");
  for (const std::string& policy : all_policies()) {
    const fs::path dir = scene.storage().policy_dir("h", policy);
    const bool reported = contains(ended.err, dir.string() + "; ");
    EXPECT_EQ(contains(log, dir.string() + "; "), reported) << policy;
    const Words pos = sandbox::list_pos(dir);
    if (!starts_with(policy, "exit.0.") && !starts_with(policy, "exit.227.")) {
      EXPECT_TRUE(pos.size() == 2 && reported) << policy;
    } else if (ends_with(policy, "." + std::to_string(k_whole))) {
      EXPECT_TRUE(pos.size() == 1 && contains(pos[0], live) && !reported) << policy;
    } else {
      EXPECT_TRUE(!reported || pos.size() == 2) << policy << " is reported and changed";
    }
  }
}

// A part of these, as each is a run of its own.
TEST(DeletionChildMatrix, OneListingThatFailedTakesNothingAndIsReported) {
  const Scene scene;
  const Words names{"h_1000_C1_F1.img", "h_2000_C1_F1.img"};
  const std::set<std::string> ends{"exit.0",  "exit.1",  "exit.25", "exit.227", "self.9",
                                   "self.13", "self.15", "shell.2", "shell.9"};
  int taken = 0;
  int reported = 0;
  for (const std::string& end : all_policies()) {
    const std::size_t bytes = std::stoul(end.substr(end.rfind('.') + 1));
    if (ends.count(end.substr(0, end.rfind('.'))) == 0) continue;
    if (bytes % 9 != 0 && bytes != k_whole) continue;
    scene.put("h", end, names);
    scene.script("tvimagequery", "listing=\"" + replace_all_copy(k_listing, "$4", end) +
                                     "\"\nend=" + end + "; IFS=.; set -- $end" +
                                     "\nprintf \"%.${3}s\" \"$listing\"\n" + k_end);
    const Ended ended = scene.remove_orphans(1, support::k_one_listing);
    const std::size_t left = scene.pos().size();
    EXPECT_EQ(left == 2, !ended.err.empty()) << end << ended.err;
    EXPECT_EQ(ended.exit_status, left == 2 ? 1 : 0) << end;
    const bool is_good = starts_with(end, "exit.0.") || starts_with(end, "exit.227.");
    EXPECT_TRUE(is_good || left == 2) << end;
    EXPECT_TRUE(!is_good || bytes != k_whole || left == 1) << end;
    ++(left == 2 ? reported : taken);
    scene.sh("rm -r catalog/2/h");
  }
  EXPECT_GE(taken, 4);
  EXPECT_GE(reported, 30);
}

}  // namespace scenario::child_matrix
