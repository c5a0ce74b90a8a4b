#include "tests/scenario/scenario.h"

#include "sandbox/list_pos.h"

namespace scenario::child_matrix {

const std::string k_listing =
    "IMAGE h 0 0 13 h_1 $4 0 *NULL* root Full 0 3 1000 64\n"
    "FRAG 1 1 1 0 2 6 1 m 6 0 1 0 0 *NULL* a;b;c;dp_sandbox;1 0 0 0 *NULL* 7 0 1 0 0 0 1\n";
const std::string k_end =
    "case $1 in exit) exit $2 ;; self) kill -$2 $$ ;; shell) kill -$2 $PPID ;; esac\nexit 1\n";
const std::size_t k_whole = k_listing.size() + std::string("exit.000.000").size();

// Policies whose names say how the listing ends: "exit" with an exit code, "self" with a signal to the
// command, "shell" with a signal to its shell; then the code or signal, and the bytes printed before.
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
    // All signals whose default action ends a process.
    for (const int signal :
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 24, 25, 26, 27, 29, 30, 31}) {
      if (is_full) add("self", signal, bytes);
      if (is_full || signal == 9) add("shell", signal, bytes);
    }
  }
  return policies;
}

TEST(DeletionChildMatrix, FailedListingDeletesNothingAndIsReported) {
  const Scene scene;
  const std::string live = "h_1000_C1_F1.img";
  scene.put("h", "template", {live, "h_2000_C1_F1.img"});
  scene.sh("mv catalog/2/h/template template");
  for (const std::string& policy : all_policies()) {
    fs::create_directories(scene.policy_dir("h", policy));
    fs::copy_file(scene.root() / "template/po.db", scene.po_db("h", policy));
  }
  scene.script("tvimagequery", "[ $1 = -client ] || exit 227\nlisting=\"" + k_listing +
                                   "\"\nIFS=.; set -- $4\nprintf \"%.${3}s\" \"$listing\"\n" +
                                   k_end);
  const Ended ended = scene.remove_orphans(4);
  EXPECT_EQ(ended.exit_status, 1);
  const std::string log = scene.logs("OrphanImages_");
  for (const std::string& policy : all_policies()) {
    const fs::path dir = scene.policy_dir("h", policy);
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

}  // namespace scenario::child_matrix
