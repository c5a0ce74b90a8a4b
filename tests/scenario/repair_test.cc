#include "tests/scenario/scenario.h"

#include <sched.h>

#include <set>
#include <thread>

#include "catalog/repair_client_name_case.h"
#include "sandbox/planter.h"

namespace scenario::repair {

const std::string k_work = "zelp-database-caseconv";

std::string work_dir(const Scene& scene, const std::string& client) {
  return (scene.root() / k_work / "2" / client / "p").string();
}

// The same POs with the place of each, which is the client, spelled as its name is.
std::vector<std::string> repaired(std::vector<std::string> pos) {
  for (std::string& line : pos) {
    line = line.substr(line.find('|') + 1, line.find('/')) + line.substr(line.find('/'));
  }
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
  support::sqlite(scene.po_db("HostA", "p"),
                  "UPDATE po SET poid = substr(poid, 2) || 'x' WHERE rowid = 2");
  fs::create_symlink("hosta", scene.root() / "catalog" / "2" / "hostA");
  auto expected = scene.pos();
  const std::string kept = expected[5];
  expected.erase(expected.begin());  // the first one is in both directories
  for (const std::size_t i : {2U, 3U, 5U}) {
    std::string& line = expected[i];
    line = line.substr(line.find('|') + 1, 5) + line.substr(5);
  }
  std::sort(expected.begin(), expected.end());
  const Ended ended = scene.repair(GetParam());
  EXPECT_EQ(ended.exit_status, 0);
  EXPECT_TRUE(contains(ended.out, "Cleaning up symbolic links\nLog file: ")) << ended.out;
  EXPECT_TRUE(ends_with(
      ended.out, support::k_start_services + "Case-sensitivity repair finished successfully.\n"));
  EXPECT_EQ(scene.pos(), expected);
  const std::string source = work_dir(scene, "hosta");
  const std::string from = " POs from " + source + " to ";
  const std::string log = scene.logs("repaired_client_names_with_case_sensitivity_issues.");
  EXPECT_TRUE(contains(
      log,
      "Client hosta and policy p has case sensitivity issues.\nMoved 1" + from +
          work_dir(scene, "HOSTA") +
          "\nWarning: a PO with the name HostA_2_C1_F1.img but a different POID already exists "
          "for the client hosta and policy p; not moving HostA_2_C1_F1.img from \"" +
          source + "\"\n.Moved 2" + from + work_dir(scene, "HostA") + "\n"));
  const std::string collisions = scene.logs("dedupe_client_name_repair_collisions.");
  const std::string record = source + "|HostA_2_C1_F1.img|basename=HostA_2_C1_F1.img poid=";
  EXPECT_TRUE(starts_with(collisions, record + kept.substr(26, 64) + " size=")) << collisions;
  EXPECT_TRUE(ends_with(collisions, " record=16|\n")) << collisions;
  EXPECT_TRUE(contains(ended.err, "Metadata collisions were encountered.\nSee " +
                                      (scene.storage().log_dir() / "dedupe_client").string()));
  EXPECT_TRUE(contains(scene.run_log(), "POs moved 3, collisions 1,")) << scene.run_log();
  EXPECT_TRUE(contains(scene.run_log(), "/2/hostA to hosta\n")) << "the removed link";
}

TEST_P(Repair, ClientNamesMeanThemselves) {
  const Scene scene;
  for (const std::string client : {"it's", "a*b", "x?[y]", "$(exit) `z`", "sp ace;", "h\xc3"}) {
    scene.put(client, "p & q",
              {client + "_1_C1_F1.img", boost::algorithm::to_upper_copy(client) + "_1_C1_F1.img"});
  }
  scene.put("h\xc3", "p & q", {"h\xc3\xa4_2_C1_F1.img"});  // one character begins in the name
  const auto expected = repaired(scene.pos());
  const Ended ended = scene.repair(GetParam());
  EXPECT_EQ(ended.exit_status, 0) << ended.err;
  EXPECT_EQ(scene.pos(), expected);
  const auto unchanged = scene.snapshot();
  EXPECT_EQ(scene.repair(GetParam()).exit_status, 0);
  EXPECT_EQ(scene.snapshot(), unchanged) << "nothing to repair";
  EXPECT_EQ(lines_beginning(scene.logs("repaired_"), "Client ").size(), 7U) << "of the first run";
}

TEST(RepairThreads, MutuallyMiscasedDirectories) {
  const Scene scene;
  sandbox::Plan plan;
  plan.clients = 0;
  plan.pairs = 200;
  sandbox::plant(scene.storage(), plan);
  const auto expected = repaired(scene.pos());
  const Ended ended = scene.repair(8);
  EXPECT_EQ(ended.exit_status, 0);
  EXPECT_EQ(ended.err, "");
  EXPECT_EQ(scene.pos(), expected);
}

// One worker has begun a move between two directories and waits for a database that another process
// holds. The worker of the other directory must wait outside, without a lock on either; that of
// any other client must not wait.
TEST(RepairThreads, TwoSpellingsOfOneClientAreRepairedOneAfterTheOther) {
  const Scene scene;
  for (const std::string client : {"host", "HOST", "other1", "other2", "other3"}) {
    scene.put(client, "p", {"host_1_C1_F1.img", "HOST_1_C1_F1.img", "OTHER1_1_C1_F1.img"});
  }
  catalog::RepairClientNameCase task(scene.storage().log_dir(), scene.root() / "catalog", 2, true);
  const auto visit = [&](const std::string& client) {
    EXPECT_EQ(task.visit_dir(scene.storage().policy_dir(client, "p")), 0) << client;
  };
  const auto log_has = [&](const std::string& client) {
    return contains(scene.logs("repaired_"), "Client " + client + " and");
  };
  SQLitePODB held("/", scene.storage().policy_dir("host", "p").string(),
                  SQLitePODB::Access::read_write);
  ASSERT_EQ(held.do_begin_transaction(), 0);
  std::thread first(visit, "host");
  while (!log_has("host")) ::sched_yield();
  std::thread second(visit, "HOST");
  for (const char* client : {"other1", "other2", "other3"}) visit(client);
  EXPECT_FALSE(log_has("HOST"));
  EXPECT_EQ(held.do_rollback_transaction(), 0);
  first.join();
  second.join();
  EXPECT_TRUE(log_has("HOST"));
}

TEST_P(Repair, FailureLeavesTheCatalogAsideAndCanBeRunAgain) {
  // What is done to the clients' directories before, the error, and what mends it.
  const std::string rows[][3] = {
      {"mkdir -p HostA/p; yes | head -c 5000 > HostA/p/po.db",
       "ERROR(not a path-object database): unable to ", "rm -r HostA"},
      {"touch HostA", "/HostA/p: Not a directory\n", "rm HostA"},
      {"mkdir -p HostA/p/po.db", "/HostA/p/po.db; it is no regular file\n", "rm -r HostA"},
      {"sqlite3 hosta/p/po.db 'PRAGMA user_version=2'",
       "ERROR(database has a newer version): unable to get the basenames from ",
       "sqlite3 hosta/p/po.db 'PRAGMA user_version=1'"},
      // The target has a PO of this name, which cannot be read.
      {"mkdir -p HostA/p; cp hosta/p/po.db HostA/p; sqlite3 HostA/p/po.db \"UPDATE po SET "
       "record='x'\"",
       "ERROR(malformed data): unable to get the po for basename HostA_1_C1_F1.img and directory ",
       "rm -r HostA"},
  };
  for (const auto& [damage, error, mend] : rows) {
    const Scene scene;
    const std::string aside = "The repair is not finished: the catalog is at " +
                              (scene.root() / k_work).string() +
                              ", and the services are down. Run the repair again to finish it.\n";
    const auto sh = [&](const std::string& catalog, const std::string& script) {
      support::run({"sh", "-c", "cd " + (scene.root() / catalog / "2").string() + "; " + script});
    };
    // The second group is sound, and must not move after the first has failed.
    scene.put("hosta", "p", {"HostA_1_C1_F1.img", "hostA_1_C1_F1.img", "hosta_1_C1_F1.img"});
    const auto before = scene.pos();
    sh("catalog", damage);
    const Ended ended = scene.repair(GetParam());
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_TRUE(contains(ended.err, error)) << ended.err;
    EXPECT_TRUE(ends_with(ended.err, aside)) << ended.err;
    EXPECT_TRUE(contains(scene.logs("repaired_"), error)) << error;
    EXPECT_TRUE(ends_with(ended.out, "\nCase-sensitivity repair finished with some errors.\n"));
    EXPECT_FALSE(contains(ended.out, "Please start")) << "it is left for the operator to look";
    EXPECT_FALSE(fs::exists(scene.root() / "catalog"));
    EXPECT_FALSE(contains(scene.run_log(), "failed 0")) << scene.run_log();
    const std::string scan = scene.scan(GetParam()).err;
    EXPECT_TRUE(starts_with(scan, "Aborting with error:  ") && ends_with(scan, "\n" + aside))
        << scan;
    EXPECT_TRUE(ends_with(scene.dry_run().err, " does not exist.\n" + aside));
    sh(k_work, mend);
    EXPECT_EQ(scene.pos(k_work), before);
    EXPECT_EQ(scene.repair(GetParam()).exit_status, 0);
    EXPECT_EQ(scene.pos(), repaired(before));
  }
}

// What can be tried before the catalog is moved is tried then, and a repair that fails before it did
// anything moves it back.
TEST(RepairFaults, CatalogIsNotLeftAsideForNothing) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
  const auto before = scene.snapshot();
  const std::string client = (scene.root() / "catalog/2/hosta").string();
  const std::string strace = "ASAN_OPTIONS=detect_leaks=0 exec strace -qq -o /dev/null ";
  const std::string rows[][2] = {
      {"-P " + client + " -e inject=getdents64:error=EIO", "Aborting with error:  could not read"},
      // The third and later ones are the threads, behind two commands.
      {"-e inject=clone3:error=EAGAIN:when=3+", "Aborting with error:  could not create a worker"},
  };
  for (const auto& [fault, error] : rows) {
    const Ended ended = scene.run_in_shell(strace + fault + " \"$@\"",
                                           {"--repair_client_name_case", "--num_threads", "2"});
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_TRUE(contains(ended.err, error)) << ended.err;
    EXPECT_FALSE(contains(ended.err, "The repair is not finished")) << ended.err;
    EXPECT_EQ(scene.snapshot(), before);
  }
  // One that an earlier repair left there may be half repaired.
  fs::rename(scene.root() / "catalog", scene.root() / k_work);
  const Ended resumed = scene.run_in_shell(strace + rows[1][0] + " \"$@\"",
                                           {"--repair_client_name_case", "--num_threads", "2"});
  EXPECT_TRUE(contains(resumed.err, rows[1][1])) << resumed.err;
  EXPECT_FALSE(fs::exists(scene.root() / "catalog"));
}

TEST(RepairFaults, PathsTooLongBelowThePoliciesAreReportedOnceAndDoNotStopIt) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
  const std::string policy = scene.storage().policy_dir("hosta", "q").string();
  // Directories down to where no path reaches, and in each a link with a longer name.
  support::run({"sh", "-c",
                "mkdir " + policy + "; cd " + policy +
                    "; dir=$(printf %0200d); link=$(printf %0250d); for i in $(seq 25); "
                    "do ln -s /no/such $link; mkdir $dir; cd -P $dir; done"});
  const Ended ended = scene.repair(4);
  EXPECT_EQ(ended.exit_status, 0) << ended.err;
  const auto lines = lines_beginning(ended.err, "ERROR: could not look for symbolic links in ");
  EXPECT_EQ(std::set<std::string>(lines.begin(), lines.end()).size(), lines.size()) << ended.err;
  EXPECT_GE(lines.size(), 2U) << "a directory and a link";
  EXPECT_LE(lines.size(), 3U) << ended.err;
  EXPECT_FALSE(fs::exists(fs::symlink_status(policy + "/" + std::string(250, '0'))));
  support::run({"rm", "-rf", policy});
  EXPECT_TRUE(starts_with(scene.pos().at(0), "HostA/p|")) << scene.pos().at(0);
}

TEST(RepairFaults, InterruptedBeforeItBeganItChangesNothing) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
  const auto before = scene.snapshot();
  support::write_script(scene.storage().product() / "tavrin/bin/tvprocs",
                        "kill -INT $(cat " + scene.lock_file().string() + ")\n");
  const Ended ended = scene.repair();
  EXPECT_EQ(ended.exit_status, 1);
  EXPECT_EQ(ended.out, "");
  EXPECT_TRUE(ends_with(ended.err,
                        "once.\nThe repair was interrupted before it began; nothing in the catalog "
                        "was changed.\n"))
      << ended.err;
  EXPECT_EQ(scene.snapshot().size(), before.size());
  EXPECT_TRUE(starts_with(scene.pos().at(0), "hosta/p|"));
}

TEST(RepairFaults, FirstFailedDirectoryEndsItAndALogThatCannotBeMadePutsTheCatalogBack) {
  const Scene scene;
  for (const std::string client : {"hosta", "hostb"}) {
    scene.put(client, "p", {boost::algorithm::to_upper_copy(client) + "_1_C1_F1.img"});
    support::sqlite(scene.po_db(client, "p"), "PRAGMA user_version = 2");
  }
  const fs::path lister = scene.storage().product() / "tavrin/bin/tvprocs";
  const std::string log = scene.storage().log_dir().string();
  support::write_script(lister, "mv " + log + " " + log + ".aside; touch " + log);
  EXPECT_EQ(scene.repair().exit_status, 1);
  EXPECT_TRUE(fs::exists(scene.root() / "catalog"));
  support::run({"sh", "-c", "rm " + log + "; mv " + log + ".aside " + log});
  support::write_script(lister, "");
  const Ended ended = scene.repair();
  EXPECT_EQ(ended.exit_status, 1);
  EXPECT_EQ(lines_beginning(ended.err, "ERROR").size(), 1U) << ended.err;
}

// Leaks cannot be looked for in a process that is traced.
Ended traced_repair(const Scene& scene, const std::string& options) {
  return scene.run_in_shell("ASAN_OPTIONS=detect_leaks=0 exec strace " + options + " \"$@\"",
                            {"--repair_client_name_case"});
}

// A power failure may take away whatever was not stored: the removal of the source's journal, which
// commits what was taken from it, comes behind the storing of all that leads to the target's POs.
TEST(RepairFaults, TargetIsStoredBeforeTheSourceIsCommitted) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
  const std::string calls = (scene.root() / "calls").string();
  const Ended ended = traced_repair(scene, "-y -o " + calls + " -e fsync,fdatasync,unlink");
  EXPECT_EQ(ended.exit_status, 0) << ended.err;
  const std::string text = support::read_text(calls);
  const std::string base = (scene.root() / k_work / "2").string();
  const std::string target = base + "/HostA/p";
  std::size_t at = 0;
  const std::string steps[] = {
      target + ">",       base + "/HostA>",
      base + ">",         "unlink(\"" + target + "/po.db.new\")",
      target + "/po.db>", "unlink(\"" + target + "/po.db-journal\")",
      target + ">",       "unlink(\"" + base + "/hosta/p/po.db-journal\")",
  };
  for (const std::string& step : steps) {
    at = text.find(step, at);
    ASSERT_NE(at, std::string::npos) << step << " in\n" << text;
  }
}

TEST(RepairFaults, TargetThatCannotBeWrittenKeepsWhatItHasAndSoDoesTheSource) {
  // The call that fails, the file in the target's directory that it fails on, and the error.
  const std::string rows[][3] = {
      {"fsync:error=EIO", "", "could not store the directory "},
      // SQLite keeps the transaction after this one, and would commit it.
      {"openat:error=EMFILE", "/po.db-journal", "unable to store the po for basename HostA_1"},
  };
  for (const auto& [fault, path, error] : rows) {
    const Scene scene;
    scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
    scene.put("HostA", "p", {"HostA_2_C1_F1.img"});
    // A crash before the directories were synced leaves this.
    const fs::path target = scene.po_db("HostA", "p");
    fs::create_hard_link(target, target.string() + ".new");
    const auto before = scene.pos();
    const std::string to = work_dir(scene, "HostA") + path;
    const Ended ended = traced_repair(scene, "-o /dev/null -P " + to + " -e inject=" + fault);
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_TRUE(contains(ended.err, error)) << ended.err;
    EXPECT_EQ(scene.pos(k_work), before);
    EXPECT_EQ(scene.repair().exit_status, 0);
    EXPECT_EQ(scene.pos(), repaired(before));
  }
}

TEST(RepairFaults, LinksThatCannotBeNotedStayAndThoseThatStayAreReported) {
  const Scene scene;
  fs::create_symlink("hosta", scene.root() / "catalog/2/hostA");
  const Ended kept = traced_repair(scene, "-f -o /dev/null -e inject=unlinkat:error=EPERM");
  EXPECT_TRUE(contains(kept.err, "/2/hostA could not be removed\n")) << kept.err;
  const fs::path log = scene.storage().log_dir() / "mdfixup/mdfixup.log";
  fs::remove(log);
  fs::create_symlink("/dev/full", log);
  const Ended lost = scene.run_in_shell("\"$@\" 2> /dev/full", {"--repair_client_name_case"});
  EXPECT_EQ(lost.exit_status, 1);
  const bool is_aside = fs::exists(scene.root() / k_work);
  EXPECT_TRUE(fs::is_symlink(scene.root() / (is_aside ? k_work : "catalog") / "2/hostA"));
}

TEST(RepairFaults, FullDiskLeavesEveryPOInTheSource) {
  const Scene scene;
  std::vector<std::string> names;
  for (int i = 0; i < 3000; ++i) names.push_back("HostA_" + std::to_string(i) + "_C1_F1.img");
  scene.put("HostA", "p", names);
  scene.put("hosta", "p", {"HostA_x_C1_F1.img", "HostA_y_C1_F1.img"});
  support::sqlite(scene.po_db("hosta", "p"), "UPDATE po SET record = randomblob(40000)");
  const auto before = scene.pos();
  // The target cannot grow as far as it must; journals and the source find room.
  int failures = 0;
  for (auto blocks = fs::file_size(scene.po_db("HostA", "p")) / 512;; blocks += 24) {
    const std::string limited = "trap '' XFSZ; ulimit -f " + std::to_string(blocks);
    const Ended ended = scene.run_in_shell(limited + "; \"$@\"", {"--repair_client_name_case"});
    if (ended.exit_status == 0) break;
    ++failures;
    EXPECT_TRUE(contains(ended.err, work_dir(scene, "HostA"))) << ended.err;
    ASSERT_EQ(scene.pos(k_work), before);
  }
  EXPECT_GT(failures, 3);
  EXPECT_EQ(scene.pos(), repaired(before));
}

TEST(RepairFaults, POThatCannotBeReadStaysAndTheOthersMove) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img", "HostA_2_C1_F1.img", "HostA_3_C1_F1.img"});
  const fs::path file = scene.po_db("hosta", "p");
  support::sqlite(file,
                  "UPDATE po SET record = randomblob(20000) WHERE rowid = 2;"
                  "INSERT INTO po VALUES ('HOSTA_4', '', 0, 0, 'no blob'),"
                  "(CAST('HostA_1_C1_F1.img' AS BLOB), '', 0, 0, x''), (x'00', '', 0, 0, x'')");
  // The record's pages are a chain; the first is made to lead nowhere.
  const std::string page =
      support::sqlite(file, "SELECT min(pageno) FROM dbstat WHERE pagetype = 'overflow'");
  std::string bytes = support::read_text(file);
  support::write_text(file, bytes.replace((std::stoul(page) - 1) * 4096, 4, "\x7f\xff\xff\xff"));
  const Ended ended = scene.repair();
  EXPECT_EQ(ended.exit_status, 0);
  const std::string unable = "): unable to get the po for basename ";
  const std::string in = " and directory " + work_dir(scene, "hosta") + ".\n";
  EXPECT_EQ(ended.err, "ERROR(malformed data" + unable + "HostA_1_C1_F1.img" + in +
                           "ERROR(malformed data" + unable + "HOSTA_4" + in +
                           "ERROR(database is damaged" + unable + "HostA_2_C1_F1.img" + in);
  const std::string names = "SELECT basename FROM po ORDER BY 1";
  EXPECT_EQ(support::sqlite(scene.po_db("HostA", "p"), names),
            "HostA_1_C1_F1.img\nHostA_3_C1_F1.img\n");
  EXPECT_EQ(support::sqlite(file, names + " LIMIT 2"), "HOSTA_4\nHostA_2_C1_F1.img\n");
  EXPECT_EQ(support::sqlite(file, "SELECT count(*) FROM po WHERE typeof(basename) = 'blob'"), "2\n")
      << "a name that is no text stays, and its twin moves";
  EXPECT_FALSE(fs::exists(scene.root() / "catalog/2/HOSTA")) << "nothing could be moved there";
}

TEST(RepairFaults, DirectoriesThatCannotBeRenamedRefuseIt) {
  const Scene scene;
  // What is done in the storage's root, and the error, in which "$" stands for that directory.
  const std::string work = "ERROR: the working directory ($/" + k_work + ")";
  const std::string rows[][2] = {
      {"mkdir " + k_work, work + " exists beside the catalog directory ($/catalog)\n"},
      {"rmdir " + k_work + "; ln -s none " + k_work, work + " is a symbolic link\n"},
      {"rm " + k_work + "; mv catalog real",
       "ERROR: the working directory  ($/" + k_work + ") does not exist.\n"},
      {"touch catalog", "ERROR: the catalog directory ($/catalog) is not a directory\n"},
      {"rm catalog; mkdir catalog; ln -s ../real/2 catalog/2",
       "ERROR: the DSID directory ($/catalog/2) is a symbolic link\n"},
      {"mv catalog/2 catalog/+02",
       "ERROR: the DSID directory ($/catalog/+02) is a symbolic link\n"},
      {"rm -r catalog; ln -s real catalog",
       "ERROR: the catalog directory ($/catalog) is a symbolic link\n"},
  };
  for (const auto& [script, error] : rows) {
    support::run({"sh", "-c", "cd " + scene.root().string() + "; " + script});
    const auto before = scene.snapshot();
    const Ended ended = scene.repair();
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_EQ(ended.err, boost::algorithm::replace_all_copy(error, "$", scene.root().string()));
    EXPECT_EQ(scene.snapshot(), before);
  }
}

}  // namespace scenario::repair
