#include <signal.h>

#include <regex>
#include <set>

#include "sandbox/generator.h"
#include "tests/scenario/paused_run.h"

// The record of a run, read with sqlite3 and not with the report program.
namespace scenario::records {

TEST(Record, AgreesWithTheLogs) {
  const Scene scene;
  sandbox::Plan plan;
  plan.clients = 2;
  plan.images = 40;
  const sandbox::Generated generated = sandbox::generate(scene, plan);
  Words moving{"HostA\xff_1_C1_F1.img"};
  for (int i = 100; i < 160; ++i) moving.push_back("HostA\xff_" + std::to_string(i) + "_C1_F1.img");
  scene.put("hosta\xff", "p", moving);
  scene.put("HostA\xff", "p", {"HostA\xff_1_C10_F1.img", "HostA\xff_1_C1_F1.img"});
  scene.sql("HostA\xff", "p",
            "UPDATE po SET poid = 'other' WHERE basename LIKE '%C1!_%' ESCAPE '!'");
  scene.sh("ln -s /nowhere catalog/2/link");
  EXPECT_EQ(scene.scan().exit_status, 0);
  EXPECT_EQ(rows_of(scene, "scan",
                    "'Client ' || client || ' has name case-sensitivity issues.'"
                    " FROM directory JOIN client_policy p ON p.id = client_policy"),
            lines_beginning(scene.logs("client_names"), "Client "));
  expect_parts(scene.logs("client_names"), generated.scan_lines);
  EXPECT_EQ(scene.repair(4).exit_status, 0);
  // A full stop follows a collision's line end. The record omits the work directory.
  const std::string moves = replace_all_copy(scene.logs("repaired"), "\n.", "\n");
  const std::string work_dir = (scene.root() / layout::k_work_dir).string() + "/";
  EXPECT_EQ(rows_of(scene, "repair",
                    "'Moved ' || count(*) || ' POs from ' || dsid || '/' || p.client || '/' || "
                    "p.policy || ' to 2/' || t.client || '/' || t.policy FROM moved JOIN directory "
                    "d ON d.id = directory JOIN client_policy p ON p.id = client_policy "
                    "JOIN client_policy t ON t.id = target GROUP BY directory, target"),
            lines_beginning(replace_all_copy(moves, work_dir, ""), "Moved "));
  EXPECT_EQ(rows_of(scene, "repair", "basename, catalog_aside FROM collision, run"),
            Words{"HostA\xff_1_C1_F1.img|\n"});
  EXPECT_EQ(rows_of(scene, "repair", "path, target, removed FROM link"),
            Words{"2/link|/nowhere|1\n"});

  scene.put("hostb", "broken", {});
  write_text(scene.po_db("hostb", "broken"), "no database");
  const Words printed = lines_beginning(scene.dry_run(4).out, "{");
  expect_parts(boost::algorithm::join(printed, ""), generated.orphan_lines);
  for (const std::string task : {"dry_run", "deletion"}) {
    const bool deletes = task == "deletion";
    if (deletes) {
      remove_reports(scene);
      EXPECT_EQ(scene.remove_orphans(2).exit_status, 1);
    }
    const std::string log = scene.logs("OrphanImages_");
    const std::string image =
        "'{client: ' || client || ', policy: ' || policy || ', backup_time: ' || backup_time || "
        "', copy_number: ' || copy || '}.' FROM orphan JOIN directory d ON d.id = directory "
        "JOIN client_policy p ON p.id = client_policy WHERE deleted = ";
    EXPECT_EQ(rows_of(scene, task, image + (deletes ? "1" : "0")), printed);
    EXPECT_EQ(rows_of(scene, task, "'also takes ' || basename FROM collateral"),
              lines_beginning(log, "also takes "));
    EXPECT_EQ(
        rows_of(scene, task,
                "'backupid|client_name|policy_name|copy_num|' UNION ALL SELECT client || '_' || "
                "backup_time || '|' || client || '|' || policy || '|' || copy || '|' FROM missing "
                "JOIN client_policy p ON p.id = client_policy"),
        sorted_lines(scene.logs("MissingImages_")));
    EXPECT_EQ(rows_of(scene, task, "reason FROM directory WHERE state = 'failed'").size(), 1U);
    EXPECT_EQ(rows_of(scene, task, "reason FROM unparsed").size(),
              lines_beginning(log, "ERROR: could not parse PO").size());
  }
  // Other tests put back what was saved, and compare it.
  EXPECT_EQ(rows_of(scene, "deletion", "taken_pos, taken_bytes FROM run"),
            rows_of(scene, "deletion", "count(*), sum(size) FROM saved"));
  for (const char* task : {"scan", "repair", "dry_run", "deletion"}) {
    std::string counts =
        rows_of(scene, task,
                "'', dirs, failed_dirs, pos, copies, orphan_copies, missing_copies, "
                "taken_pos, other_copies_pos, moved_pos, collisions, '' FROM run")
            .at(0);
    counts.pop_back();
    // The numbers of the log, with other characters replaced.
    expect_parts(std::regex_replace(scene.run_log(), std::regex("[^0-9]+"), "|"), {counts});
  }
}

TEST(Record, IsOneFileThatSaysHowTheRunEnded) {
  PausedRun paused;
  const Scene& scene = paused.scene();
  paused.send_and_await_line(SIGTERM);
  EXPECT_EQ(paused.go_on().exit_status, 1);
  EXPECT_EQ(rows_of(scene, "dry_run",
                    "ending, exit_status, threads, disk_pool, ended > started FROM run"),
            Words{"signal|1|1|dp_sandbox|1\n"});
  EXPECT_EQ(rows_of(scene, "dry_run", "group_concat(text, ' ') FROM argument"),
            Words{"--tvr_location " + scene.product().string() +
                  " --FORCE_DEDUPE_METADATA_CONSISTENCY --dry_run --num_threads 1\n"});
  EXPECT_EQ(scene.run_in_shell("umask 077; \"$@\"", k_repair).exit_status, 0);
  EXPECT_EQ(rows_of(scene, "repair", "ending, exit_status FROM run"), Words{"orderly|0\n"});
  fs::remove_all(scene.tree_dir());
  EXPECT_EQ(scene.scan().exit_status, 1);
  EXPECT_EQ(rows_of(scene, "scan",
                    "ending, exit_status FROM run WHERE instr(ending_text, '" +
                        scene.tree_dir().string() + "')"),
            Words{"exception|1\n"});
  std::multiset<int> modes;
  for (const auto& entry : fs::directory_iterator(runs_dir(scene))) {
    EXPECT_EQ(entry.path().extension(), ".db");
    modes.insert(entry.status().permissions());
  }
  EXPECT_EQ(modes, (std::multiset<int>{0600, 0640, 0640}));
}

TEST(Record, FailureToWriteItDoesNotStopARepair) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
  scene.sh("ln -s /nowhere catalog/2/link; mkdir -p log/mdfixup; touch log/mdfixup/runs");
  const Ended ended = scene.repair();
  EXPECT_EQ(ended.exit_status, 1);
  const Words errors = sorted_lines(ended.err);
  ASSERT_EQ(errors.size(), 1U) << ended.err;
  EXPECT_TRUE(starts_with(errors[0], "ERROR: the record of this run, " + runs_dir(scene).string()));
  EXPECT_TRUE(ends_with(errors[0], "; the run goes on\n")) << errors[0];
  expect_parts(ended.out, {"Case-sensitivity repair finished successfully.\n"});
  expect_parts(scene.logs("repaired"), {"Moved 1 POs from "});
  expect_parts(scene.run_log(), {" error ", "; the run goes on\n", "POs moved 1,"});
}

}  // namespace scenario::records
