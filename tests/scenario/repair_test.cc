#include "tests/scenario/scenario.h"

#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "catalog/client_name_case/repair_client_name_case.h"
#include "sandbox/generator.h"

namespace scenario::repair {

const std::string k_work = layout::k_work_dir;

std::string work_dir(const Scene& scene, const std::string& client) {
  return (scene.root() / k_work / "2" / client).string() + (client.empty() ? "/" : "/p");
}

// The POs after the repair: each in the directory of the client that its basename begins with.
Words repaired(Words pos) {
  for (std::string& line : pos)
    line = line.substr(line.find('|') + 1, line.find('/')) + line.substr(line.find('/'));
  std::sort(pos.begin(), pos.end());
  return pos;
}

class Repair : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Threads, Repair, testing::Values(1, 8));

TEST_P(Repair, MovesEachSpellingToItsOwnDirectory) {
  const Scene scene;
  scene.put("hosta", "p",
            {"EVENT_6", "HOSTA_4_C1_F1.img", "HostA_1_C1_F1.img", "HostA_2_C1_F1.img",
             "HostA_3_C1_F1.img", "hosta_1_C1_F1.img", "hostb_5_C1_F1.img"});
  scene.put("HostA", "p", {"HostA_1_C1_F1.img", "HostA_2_C1_F1.img"});
  const std::string same = "UPDATE po SET poid = 'a', size = 1, mtime = 3, record = x'04';";
  scene.sql("hosta", "p", same);
  scene.sql("HostA", "p",
            same + "UPDATE po SET size = 2; UPDATE po SET poid = 'b' WHERE rowid = 2");
  const std::string owner = ::geteuid() == 0 ? "4242" : std::to_string(::geteuid());
  scene.sh("cd catalog/2; ln -s hosta hostA; mkdir HOSTA; chown " + owner + " .; chmod 2750 .");
  const Ended ended = scene.repair(GetParam());
  EXPECT_EQ(ended.exit_status, 0);
  EXPECT_TRUE(
      ends_with(ended.out, k_start_services + "Case-sensitivity repair finished successfully.\n"));
  EXPECT_EQ(scene.pos(), (Words{
                             "HOSTA/p|HOSTA_4_C1_F1.img|a|1|3|04",
                             "HostA/p|HostA_1_C1_F1.img|a|1|3|04",
                             "HostA/p|HostA_2_C1_F1.img|b|2|3|04",
                             "HostA/p|HostA_3_C1_F1.img|a|1|3|04",
                             "hosta/p|EVENT_6|a|1|3|04",
                             "hosta/p|HostA_2_C1_F1.img|a|1|3|04",
                             "hosta/p|hosta_1_C1_F1.img|a|1|3|04",
                             "hosta/p|hostb_5_C1_F1.img|a|1|3|04",
                         }));
  const std::string source = work_dir(scene, "hosta");
  const std::string from = " POs from " + source + " to " + work_dir(scene, "");
  expect_parts(
      scene.logs("repaired_client_names_with_case_sensitivity_issues."),
      {"Client hosta and policy p has case sensitivity issues.\nMoved 1" + from + "HOSTA/p\n" +
       "Warning: a PO with the name HostA_2_C1_F1.img but a different POID already exists for the "
       "client hosta and policy p; not moving HostA_2_C1_F1.img from \"" +
       source + "\"\n.Moved 2" + from + "HostA/p\n"});
  expect_parts(
      scene.logs("dedupe_client_name_repair_collisions."),
      {source + "|HostA_2_C1_F1.img|basename=HostA_2_C1_F1.img poid=a size=1 ", " record=1|\n"});
  expect_parts(ended.err, {"Metadata collisions were encountered.\nSee " +
                           (scene.log_dir() / "dedupe_client").string()});
  expect_parts(scene.run_log(), {"POs moved 3, collisions 1,", "/2/hostA to hosta\n"});
  const std::string made = (scene.tree_dir() / "2/HOSTA").string();
  EXPECT_EQ(sandbox::run({"stat", "-c", "%a %u", made, made + "/p", made + "/p/po.db"}).out,
            "2750 " + owner + "\n2750 " + owner + "\n640 " + owner + "\n")
      << "as the parent directory, also if a run was killed after it had made one";
}

// Names with special characters, and many pairs whose directories have POs of each other.
TEST_P(Repair, TakesNamesLiterallyAndASecondRepairChangesNothing) {
  const Scene scene;
  sandbox::Plan plan;
  plan.clients = 0;
  plan.pairs = 200;
  sandbox::generate(scene, plan);
  for (const std::string client : {"it's", "a*b", "x?[y]", "$(exit) `z`", "sp ace;", "h\xc3"}) {
    scene.put(client, "p & q",
              {client + "_1_C1_F1.img", boost::algorithm::to_upper_copy(client) + "_1_C1_F1.img"});
  }
  scene.put("h\xc3", "p & q", {"h\xc3\xa4_2_C1_F1.img"});  // the name ends within a character
  const Words expected = repaired(scene.pos());
  for (int run = 0; run < 2; ++run) {
    expect_end(scene.repair(GetParam()), 0, "");
    EXPECT_EQ(scene.pos(), expected);
  }
  EXPECT_EQ(lines_beginning(scene.logs("repaired_"), "Client ").size(), 407U) << "the first run's";
}

// One worker has begun a move between two directories and waits for a database that another process
// has locked. The worker of the second directory must wait without a lock on either database. Workers
// of other clients must not wait.
TEST(RepairThreads, RepairTwoSpellingsOfOneClientOneAfterTheOther) {
  const Scene scene;
  for (const std::string client : {"host", "HOST", "other"})
    scene.put(client, "p", {"host_1_C1_F1.img", "HOST_1_C1_F1.img", "OTHER_1_C1_F1.img"});
  catalog::RepairClientNameCase task(scene.log_dir(), scene.tree_dir(), 2, true);
  const auto visit = [&](const std::string& client) {
    EXPECT_EQ(task.visit_dir(scene.policy_dir(client, "p")), 0) << client;
  };
  const auto log_has = [&](const std::string& client) {
    return contains(scene.logs("repaired_"), "Client " + client + " and");
  };
  SQLitePODB held("/", scene.policy_dir("host", "p").string(), SQLitePODB::Access::read_write);
  ASSERT_EQ(held.do_begin_transaction(), 0);
  std::thread first(visit, "host");
  while (!log_has("host")) ::sched_yield();
  std::atomic<pid_t> id{0};
  std::thread second([&] {
    id = ::gettid();
    visit("HOST");
  });
  visit("other");
  const auto waits = [&] {
    const std::string stat = "/proc/self/task/" + std::to_string(id) + "/stat";
    return contains(read_text(stat), ") S ");
  };
  while (!waits()) ::sched_yield();
  EXPECT_FALSE(log_has("HOST"));
  EXPECT_EQ(held.do_rollback_transaction(), 0);
  first.join();
  second.join();
  EXPECT_TRUE(log_has("HOST"));
}

TEST_P(Repair, FailureLeavesTheMetadataTreeAsideAndARerunFinishes) {
  const std::string newer =
      "ERROR(database has a newer version): unable to get the basenames from ";
  // The damage to the clients' directories, the error, and the correction.
  const std::string rows[][3] = {
      {"mkdir -p HostA/p; yes | head -c 5000 > HostA/p/po.db",
       "ERROR(not a path-object database): unable to ", "rm -r HostA"},
      {"mkdir -p HostA/p/po.db", "/HostA/p/po.db; it is no regular file\n", "rm -r HostA"},
      {"sqlite3 hosta/p/po.db 'PRAGMA user_version=2'; for i in $(seq 40); do cp -r hosta host$i; "
       "done",
       newer, "rm -r host[0-9]*; sqlite3 hosta/p/po.db 'PRAGMA user_version=1'"},
      // The target has an unreadable PO of this name.
      {"cp -r hosta HostA; sqlite3 HostA/p/po.db \"UPDATE po SET record='x'\"",
       "ERROR(malformed data): unable to get the po for basename HostA_1_C1_F1.img and directory ",
       "rm -r HostA"},
  };
  const Scene scene;
  const std::string aside = "The repair is not finished: the catalog is at " +
                            (scene.root() / k_work).string() +
                            ", and the services are down. Run the repair again to finish it.\n";
  for (const auto& [damage, error, correction] : rows) {
    scene.sh("rm -rf catalog/2/* log/*/*");
    // The second group is intact, and must not move after the first has failed.
    scene.put("hosta", "p", {"HostA_1_C1_F1.img", "hostA_1_C1_F1.img", "hosta_1_C1_F1.img"});
    const Words before = scene.pos();
    scene.sh("cd catalog/2; " + damage);
    const Ended ended = scene.repair(GetParam());
    expect_failure(ended, {error});
    EXPECT_TRUE(ends_with(ended.err, aside)) << ended.err;
    expect_parts(scene.logs("repaired_"), {error});
    EXPECT_LE(lines_beginning(ended.err, newer).size(), static_cast<unsigned>(GetParam()))
        << "a worker goes on after a failure";
    EXPECT_TRUE(ends_with(ended.out, "\nCase-sensitivity repair finished with some errors.\n"));
    EXPECT_FALSE(contains(ended.out, "Please start")) << "the operator must act first";
    EXPECT_FALSE(contains(scene.run_log(), "failed 0")) << scene.run_log();
    const std::string scan = scene.scan(GetParam()).err;
    EXPECT_TRUE(starts_with(scan, "Aborting with error:  ") && ends_with(scan, "\n" + aside))
        << scan;
    EXPECT_TRUE(ends_with(scene.dry_run().err, " does not exist.\n" + aside));
    scene.sh("cd " + k_work + "/2; " + correction);
    EXPECT_EQ(scene.pos(k_work), before);
    EXPECT_EQ(scene.repair(GetParam()).exit_status, 0);
    EXPECT_EQ(scene.pos(), repaired(before));
  }
}

Ended repair_after(const Scene& scene, const std::string& script) {
  return scene.run_in_shell(script + " \"$@\" --num_threads 2", k_repair);
}

// A repair that fails before its first change leaves the metadata tree in its place, or moves it back.
// If a target cannot be written, target and source keep their POs.
TEST(RepairFaults, EarlyFailureChangesNothingAndLeavesTheTreeInItsPlace) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
  scene.put("HostA", "p", {"HostA_2_C1_F1.img"});
  scene.sh("cd catalog/2/HostA/p; ln po.db po.db.new");  // as a crash may leave it
  const Words before = scene.pos();
  const std::string lister = " > quorv/tavrin/bin/tvprocs; ";
  // The first clone starts a command, the next ones start threads.
  const std::string no_threads = k_strace + "-e inject=clone3:error=EAGAIN:when=2+ ";
  const std::string at_target = k_strace + "-f -P " + work_dir(scene, "HostA");
  // The fault, the error, and whether the repair has begun.
  const std::tuple<std::string, std::string, bool> rows[] = {
      {k_strace + "-P " + (scene.tree_dir() / "2/hosta").string() +
           " -e inject=getdents64:error=EIO ",
       "Aborting with error:  could not read", false},
      {no_threads, "Aborting with error:  could not create a worker", false},
      {"echo 'mv log log.aside; touch log'" + lister, "Aborting with error:  ", false},
      {"rm log; mv log.aside log; echo 'kill -INT $(cat mdfixup.lock)'" + lister,
       "once.\nThe repair was interrupted before it began; nothing in the catalog was changed.\n",
       false},
      {"echo" + lister + at_target + " -e inject=fsync:error=EIO", "could not store the directory ",
       true},
      // SQLite keeps the transaction open after this error, and could still commit it.
      {at_target + "/po.db-journal -e inject=openat:error=EMFILE",
       "unable to store the po for basename HostA_1", true},
      {k_strace + "-f -P " + work_dir(scene, "hosta") +
           "/po.db-journal -e inject=openat:error=EMFILE",
       "unable to remove the po for basename HostA_1", true},
  };
  for (const auto& [fault, error, has_begun] : rows) {
    const Ended ended = repair_after(scene, fault);
    expect_failure(ended, {error});
    EXPECT_FALSE(contains(ended.out, "Please start")) << ended.out;
    EXPECT_EQ(contains(ended.err, "The repair is not finished"), has_begun) << ended.err;
    if (has_begun) scene.sh("mv " + k_work + " catalog");
    EXPECT_EQ(scene.pos(), before);
  }
  expect_parts(scene.run_log(), {"the progress of the run cannot be told: "});
  // A tree whose links are removed stays aside; so does one that an earlier repair left there.
  scene.sh("ln -s none catalog/2/link");
  for (int i = 0; i < 2; ++i) {
    expect_failure(repair_after(scene, k_strace + "-e inject=clone3:error=EAGAIN:when=3+ "),
                   {"Aborting with error:  could not create a worker"});
    EXPECT_FALSE(fs::exists(scene.tree_dir()));
  }
  // With one worker fewer than wanted, the repair goes on.
  const Ended fewer = repair_after(scene, k_strace + "-e inject=clone3:error=EAGAIN:when=3");
  expect_end(fewer, 0, "");
}

// SQLite rolls the transaction back if a read fails during an insert; later inserts would be kept.
TEST(RepairFaults, FailedReadOfTheTargetStoresAllOrNothing) {
  const Scene scene;
  Words source;
  for (int i = 1000; i < 1012; ++i) source.push_back("HostA_" + std::to_string(i) + "_C1_F1.img");
  Words target{source[0], source[5], source[8], source[11]};
  for (int i = 2000; i < 2800; ++i) target.push_back("HostA_" + std::to_string(i) + "_C1_F1.img");
  scene.put("hosta", "p", source);
  scene.put("HostA", "p", target);
  scene.sql("HostA", "p", "UPDATE po SET poid = 'other' WHERE rowid IN (1, 2, 4)");
  const Words before = scene.pos();
  scene.sh("cp -r catalog before");
  EXPECT_EQ(scene.repair().exit_status, 0);
  const Words after = scene.pos();
  const std::string read =
      k_strace + "-f -P " + work_dir(scene, "HostA") + "/po.db -e inject=pread64:error=EBADF:when=";
  int stored_nothing = 0;
  for (int when = 8; when < 24; ++when) {
    scene.sh("rm -rf catalog " + k_work + "; cp -r before catalog");
    const Ended ended = repair_after(scene, read + std::to_string(when) + " ");
    const Words pos =
        scene.pos(ended.exit_status == 0 ? layout::k_metadata_tree : layout::k_work_dir);
    EXPECT_TRUE(pos == before || pos == after) << when << ended.err;
    if (pos == before) ++stored_nothing;
  }
  EXPECT_GT(stored_nothing, 0);
}

// A power failure may lose whatever is not synced. The removal of the source's journal commits the
// deletion there, so the target's POs and all directories above them are synced before.
TEST(RepairFaults, RecordAndTargetAreSyncedBeforeTheSourceIsCommitted) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
  // An interrupted repair finishes its directory, and is not finished itself.
  (void)scene.run_in_shell(
      k_strace + "-y -e fsync,fdatasync,link,unlink -e inject=link:signal=INT \"$@\"", k_repair);
  EXPECT_FALSE(fs::exists(scene.tree_dir()));
  const std::string calls = read_text(scene.root() / "trace");
  const std::string base = (scene.root() / k_work / "2").string();
  const std::string target = base + "/HostA/p";
  expect_in_order(calls, {target + "/po.db.new>", "link(", target + ">", base + "/HostA>",
                          base + ">", "unlink(\"" + target + "/po.db.new\")", ".db-wal>",
                          target + "/po.db>", "unlink(\"" + target + "/po.db-journal\")",
                          target + ">", "unlink(\"" + base + "/hosta/p/po.db-journal\")"});
}

TEST(RepairFaults, LinksThatCannotBeLoggedStayAndThoseThatStayAreReported) {
  const Scene scene;
  scene.sh("mkdir -p catalog/2/hosta/p; ln -s hosta catalog/2/hostA");
  const Ended kept = repair_after(scene, k_strace + "-f -e inject=unlinkat:error=EPERM");
  expect_parts(kept.err, {"/2/hostA could not be removed\n"});
  scene.sh("rm mdfixup.lock");  // which could not be removed either
  EXPECT_EQ(
      repair_after(scene, "ln -sf /dev/full log/mdfixup/mdfixup.log; 2> /dev/full").exit_status, 1);
  EXPECT_TRUE(fs::is_symlink(scene.tree_dir() / "2/hostA"));
  // An unreadable directory may have more links.
  scene.sh("rm log/mdfixup/mdfixup.log catalog/2/hostA; ln -s none catalog/2/hosta/p/link");
  const std::string unread = (scene.tree_dir() / "2/hosta/p").string();
  const Ended removed =
      repair_after(scene, k_strace + "-P " + unread + " -e inject=openat:error=EIO");
  EXPECT_TRUE(starts_with(removed.err, "ERROR: could not look for symbolic links in " + unread))
      << removed.err;
  EXPECT_FALSE(fs::is_symlink(unread + "/link"));
}

// The damaged group is copied twice, but errors are reported once.
TEST(RepairFaults, UnreadablePOStaysAndTheOthersMove) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img", "HostA_2_C1_F1.img", "HostA_3_C1_F1.img"});
  scene.put("HostA", "p", {"HostA_01", "HostA_02", "HostA_9"});
  const fs::path file = scene.po_db("hosta", "p");
  const fs::path target = scene.po_db("HostA", "p");
  sqlite(target, "UPDATE po SET poid = 'p'; UPDATE po SET size = 7 WHERE rowid = 2");
  sqlite(file,
         "UPDATE po SET record = randomblob(20000) WHERE rowid = 2;"
         "INSERT INTO po VALUES ('HOSTA_4', '', 0, 0, 'no blob'), ('HostA_00', 1, 'x', 0, x''),"
         "('HostA_01', 'other', 1, 0, x''), ('HostA_02', 'p', 1, 0, x''),"
         "('HostA_5', x'70', 1, 0, x''), ('HostA_6', 'p', 1.5, 0, x''),"
         "('HostA_7', '', -1, 9223372036854775807, x''),"
         "('HostA_8', CAST(x'61006200' AS TEXT), 0, 0, x'0061002700ff'),"
         "('HostA_9', 'other', 1, 0, x''), ('hOSTA_1', '', 0, 0, x''),"
         "(CAST('HostA_1_C1_F1.img' AS BLOB), '', 0, 0, x''), (x'00', '', 0, 0, x'')");
  const std::string columns =
      "SELECT basename, hex(poid), typeof(poid), size, mtime, hex(record), typeof(record) FROM po "
      "WHERE basename = 'HostA_02' OR substr(basename, 7, 1) IN ('1', '3', '7', '8') AND "
      "typeof(basename) = 'text' AND basename GLOB 'HostA*' ORDER BY basename";
  const std::string movable = sqlite(file, columns);
  damage_long_record(file);
  const Ended ended = scene.repair();
  EXPECT_EQ(ended.exit_status, 0);
  std::string errors;
  for (const std::string name :
       {"HostA_1_C1_F1.img", "HOSTA_4", "HostA_00", "HostA_2_C1_F1.img", "HostA_5", "HostA_6"})
    errors += (name == "HostA_2_C1_F1.img" ? "ERROR(database is damaged" : "ERROR(malformed data") +
              ("): unable to get the po for basename " + name) + " and directory " +
              work_dir(scene, "hosta") + ".\n";
  errors += "Metadata collisions were encountered.\n";
  EXPECT_EQ(ended.err.substr(0, errors.size()), errors);
  EXPECT_EQ(sorted_lines(scene.logs("dedupe_client_name_repair_collisions.")).size(), 2U);
  expect_parts(scene.run_log(), {"POs moved 6, collisions 2,"});
  EXPECT_EQ(rows_of(scene, "repair",
                    "basename FROM collision UNION ALL SELECT basename || ' saved ' || size FROM "
                    "saved UNION ALL SELECT 'unparsed ' || count(*) FROM unparsed UNION ALL SELECT "
                    "'moved ' || count(*) FROM moved"),
            (Words{"HostA_01\n", "HostA_02 saved 7\n", "HostA_9\n", "moved 6\n", "unparsed 6\n"}));
  EXPECT_EQ(sqlite(target, columns), movable);
  const std::string names = "SELECT basename, typeof(basename) FROM po ORDER BY 2 DESC, 1";
  EXPECT_EQ(sorted_lines(sqlite(target, names)).size(), 7U);
  EXPECT_EQ(scene.sql("hOSTA", "p", names), "hOSTA_1|text\n");
  const std::string left = sqlite(file, names);
  EXPECT_TRUE(starts_with(left,
                          "HOSTA_4|text\nHostA_00|text\nHostA_01|text\nHostA_2_C1_F1.img|text\n"
                          "HostA_5|text\nHostA_6|text\nHostA_9|text\n"));
  EXPECT_EQ(sorted_lines(left).size(), 9U) << "names that are blobs stay";
  EXPECT_FALSE(fs::exists(scene.tree_dir() / "2/HOSTA")) << "no PO moved there";
}

TEST(RepairFaults, DirectoriesThatCannotBeRenamedRejectIt) {
  const Scene scene;
  // A script in the storage's root, and the error; "$" is that directory, "%" the work directory's
  // name.
  const std::string rows[][2] = {
      {"mkdir %", "working directory ($/%) exists beside the catalog directory ($/catalog)\n"},
      {"rmdir %; ln -s none %", "working directory ($/%) is a symbolic link\n"},
      {"rm %; mv catalog real", "working directory  ($/%) does not exist.\n"},
      {"touch catalog", "catalog directory ($/catalog) is not a directory\n"},
      {"rm catalog; mkdir catalog; ln -s ../real/2 catalog/2",
       "DSID directory ($/catalog/2) is a symbolic link\n"},
      {"mv catalog/2 catalog/+02", "DSID directory ($/catalog/+02) is a symbolic link\n"},
      {"rm -r catalog; ln -s real catalog", "catalog directory ($/catalog) is a symbolic link\n"},
  };
  const auto named = [&](const std::string& text) {
    return replace_all_copy(replace_all_copy(text, "%", k_work), "$", scene.root().string());
  };
  for (const auto& [script, error] : rows) {
    scene.sh(named(script));
    const auto before = scene.snapshot();
    expect_end(scene.repair(), 1, "ERROR: the " + named(error));
    EXPECT_EQ(scene.snapshot(), before);
  }
}

}  // namespace scenario::repair
