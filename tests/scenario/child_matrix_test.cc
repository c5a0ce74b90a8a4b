#include "tests/scenario/scenario.h"

#include "sandbox/list_pos.h"

namespace scenario::child_matrix {

// The policy's name says what the listing does: what ends whom ("exit" the command, "self" a signal
// the command, "shell" a signal the shell that runs it), with which number, behind how many bytes.
struct Row {
  std::string end;
  int number;
  std::size_t bytes;

  std::string policy() const {
    return end + "." + std::to_string(number) + "." + std::to_string(bytes);
  }
  bool failed() const { return end != "exit" || (number != 0 && number != 227); }
};

const std::string k_listing =
    "IMAGE h 0 0 13 h_1 $4 0 *NULL* root Full 0 3 1000 64\n"
    "FRAG 1 1 1 0 2 6 1 m 6 0 1 0 0 *NULL* a;b;c;dp_sandbox;1 0 0 0 *NULL* 7 0 1 0 0 0 1\n";
const std::size_t k_whole = k_listing.size() + std::string("exit.000.000").size();

std::vector<Row> all_rows() {
  std::vector<Row> rows;
  for (const std::size_t bytes : {std::size_t{0}, k_whole / 2, k_whole}) {
    for (int code = 0; code < 256; ++code) rows.push_back({"exit", code, bytes});
    // Those that are ignored by default or stop a process end none.
    for (const int signal :
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 24, 25, 26, 27, 29, 30, 31}) {
      rows.push_back({"self", signal, bytes});
      rows.push_back({"shell", signal, bytes});
    }
  }
  for (std::size_t bytes = 1; bytes < k_whole; ++bytes) {
    if (bytes == k_whole / 2) continue;
    for (const int code : {0, 25}) rows.push_back({"exit", code, bytes});
    rows.push_back({"shell", 9, bytes});
  }
  return rows;
}

TEST(DeletionChildMatrix, ListingThatFailedTakesNothingAndIsReported) {
  const std::vector<Row> rows = all_rows();
  const Scene scene;
  const std::string live = "h_1000_C1_F1.img";
  scene.put("h", rows[0].policy(), {live, "h_2000_C1_F1.img"});
  for (const Row& row : rows) {
    const fs::path file = scene.po_db("h", row.policy());
    fs::create_directories(file.parent_path());
    if (!fs::exists(file)) fs::copy_file(scene.po_db("h", rows[0].policy()), file);
  }
  scene.script("tvimagequery", "[ $1 = -client ] || exit 227\nlisting=\"" + k_listing +
                                   "\"\nIFS=.; set -- $4\nprintf \"%.${3}s\" \"$listing\"\n" +
                                   "case $1 in exit) exit $2 ;; self) kill -$2 $$ ;; "
                                   "shell) kill -$2 $PPID ;; esac\nexit 1\n");
  const Ended ended = scene.remove_orphans(4);
  EXPECT_EQ(ended.exit_status, 1);
  const std::string log = scene.logs("OrphanImages_");
  for (const Row& row : rows) {
    const std::string report = scene.storage().policy_dir("h", row.policy()).string() + "; ";
    const bool reported = contains(ended.err, report) && contains(log, report);
    const auto pos = sandbox::list_pos(scene.po_db("h", row.policy()).parent_path());
    if (row.failed()) {
      EXPECT_EQ(pos.size(), 2U) << row.policy();
      EXPECT_TRUE(reported) << row.policy();
    } else if (row.bytes == k_whole) {
      EXPECT_EQ(pos.size(), 1U) << row.policy();
      EXPECT_TRUE(contains(pos.at(0), live)) << row.policy();
      EXPECT_FALSE(reported) << row.policy();
    } else {
      EXPECT_TRUE(!reported || pos.size() == 2) << row.policy() << " is reported and changed";
    }
  }
}

}  // namespace scenario::child_matrix
