#include "config/version.h"
#include "tests/scenario/scenario.h"

namespace scenario::command_line {

const std::string k_aborting = "Aborting with error:  ";

TEST(CommandLine, ErrorsAreOneLineAndTheFirstMatchingModeWins) {
  const std::string scan = "--scan_client_name_case ";
  const std::string repair = "--repair_client_name_case ";
  const std::string consistency = "--FORCE_DEDUPE_METADATA_CONSISTENCY ";
  const std::string clean = "The deduplication metadata is clean.\n";
  const std::string usage = "Usage: mdfixup [OPTION]...\nThis utility";
  const auto cannot = [](const std::string& option, const std::string& with) {
    return "The --" + option + " option cannot be used with the --" + with + " option";
  };
  // The arguments, the output, and the error.
  const std::string rows[][3] = {
      {"--bogus", usage, "unrecognised option '--bogus'"},
      {"--dry", usage, "unrecognised option '--dry'"},
      {"--", usage, "unexpected argument '--'"},
      {"--num_threads", usage, "'--num_threads' is missing"},
      {"--num_threads=4x", usage, "('4x') for option '--num_threads'"},
      {"--num_threads=1025", usage, "('1025') for option '--num_threads'"},
      {"--catalog_backup_time 99999999999", usage, "('99999999999') for option '--catalog_backup"},
      {"--tvr_disk_pool --dry_run", usage, "'--tvr_disk_pool' is missing"},
      {"--tvr_location ''", usage, "the argument for option '--tvr_location' is empty"},
      {"--only /p --dry_run", usage, "('/p') for option '--only' is not CLIENT or CLIENT/POLICY"},
      {"--except 'a\n/' --dry_run", usage, "('a\\n/') for option '--except' is not"},
      {"--except a/b/c --dry_run", usage, "('a/b/c') for option '--except' is not"},
      {"--max_orphan_share 101", usage, "('101') for option '--max_orphan_share' is out of range"},
      {"'--bo\ngus'", usage, "'--bo\\ngus'"},
      {"-h", "Tavrin Nimbrel.\n\n     -h --help        show this help\n", ""},
      {repair + "--version --help", "<" + version_text("mdfixup") + ">", ""},
      {scan + repair + "--force --dry_run", clean, ""},
      {"--num_threads 9 --num_threads=0 " + scan, clean, ""},
      {repair, "repair finished successfully.\n", ""},
      {consistency, k_start_services + "mdfixup finished successfully.\n", ""},
      {"--dry_run " + consistency, "mdfixup finished successfully.\n", ""},
      {"--force", "", "The --force option requires the --repair_client_name_case option"},
      {"--cleanup_case_work_space", "", "Unknown options combination"},
      {repair + consistency + "--dry_run", "", cannot("dry_run", "repair_client_name_case")},
      {scan + consistency + "--only a", "", cannot("only", "scan_client_name_case")},
      {repair + "--except a", "", cannot("except", "repair_client_name_case")},
      {"--max_orphan_share 0", "",
       "option requires the --FORCE_DEDUPE_METADATA_CONSISTENCY option"},
      {consistency + "--dry_run --approved 1-1", "", cannot("approved", "dry_run")},
      {consistency + "--dry_run --no_undo", "", cannot("no_undo", "dry_run")},
      {scan + "--tvr_location /no/such", "",
       "The provided Tavrin install location ( /no/such ) does not exist"},
  };
  const Scene scene;
  const auto before = scene.snapshot();
  for (const auto& [arguments, out, err] : rows) {
    const Ended ended = scene.run_in_shell("\"$@\" " + arguments, {});
    EXPECT_EQ(ended.exit_status, err.empty() ? 0 : 1) << arguments;
    expect_parts("<" + ended.out + ">", {out});
    expect_parts(ended.err, {err});
    EXPECT_EQ(sorted_lines(ended.err).size(), err.empty() ? 0 : 1) << ended.err;
    EXPECT_EQ(scene.snapshot(), before) << arguments;
  }
  EXPECT_TRUE(starts_with(sandbox::run({MDFIXUP_PROGRAM}).out, usage));
}

TEST(CommandLine, ConfigurationErrorsNameFileAndEntry) {
  const Scene scene;
  const std::string registry = scene.registry_file().string();
  const std::string config = (scene.root() / "etc" / "storage.cfg").string();
  const std::string good_registry = read_text(registry);
  const std::string rows[][3] = {
      {"[StoragePoolAuthority]\nConfigFilePath=/dev/zero\n", "",
       k_aborting + "/dev/zero: is no regular file\n"},
      {good_registry, "[Storage]\nRootDir=\n",
       k_aborting + "Failed to locate the RootDir entry for section Storage in " + config + " .\n"},
      {good_registry, "[Storage]\n; comment\n# another\n\nnonsense\n",
       k_aborting + config + "(5): "},
      {good_registry, "[Storage]\nRootDir=/no/such\n",
       k_aborting + "could not create the lock file /no/such/mdfixup.lock: No such file or "},
      {good_registry, "[Storage]\nRootDir=" + scene.root().string(),
       "Failed to locate the <dedupe_storage>/log directory\n\t\n"},
  };
  for (const auto& [registry_text, config_text, error] : rows) {
    write_text(registry, registry_text);
    write_text(config, config_text);
    const Ended ended = scene.scan();
    EXPECT_EQ(ended.exit_status, 1) << error;
    expect_parts("<" + ended.err, {"<" + error});
    EXPECT_FALSE(fs::exists(scene.lock_file())) << error;
  }
  const Ended missing = sandbox::run({MDFIXUP_PROGRAM, "--dry_run"}, {{"KSREGISTRY", "/no/such"}});
  EXPECT_EQ(missing.err, k_aborting + "Failed to locate the ksregistry path: /no/such.\n");
  const Ended by_default = sandbox::run({MDFIXUP_PROGRAM, "--dry_run"}, {{"KSREGISTRY", ""}});
  expect_parts(by_default.err, {"/etc/ksregistry.cfg"});
}

TEST(CommandLine, RunLogHasStartModeErrorsSummaryAndEnd) {
  const Scene scene;
  (void)scene.scan();
  (void)scene.run({"--force", "--tvr_disk_pool", "a --dry_run \"b"});
  const std::string root = scene.root().string();
  expect_parts(scene.run_log(), {"arguments --tvr_location ", "mode: client name case scan",
                                 " storage root " + root + ", catalog " + root + "/catalog, host ",
                                 "no policy directory was found", "end: exit status 0",
                                 "error pid=", "The --force option requires", "end: exit status 1",
                                 " --force --tvr_disk_pool \"a --dry_run \\\"b\"\n"});
  const fs::path file = scene.log_dir() / layout::k_run_log;
  EXPECT_EQ(fs::status(file).permissions() & fs::others_all, fs::no_perms);
  const std::string no_file = "is neither a regular file nor a character device";
  const std::string rows[][2] = {
      {"mkfifo $log", no_file}, {"exec 9<>$log", no_file}, {"rm $log; ln -s /dev/null $log", ""}};
  fs::remove(file);
  for (const auto& [script, error] : rows) {
    const Ended ended =
        scene.run_in_shell("log=" + file.string() + "; " + script + "; \"$@\"", k_scan);
    const std::string could_not =
        k_aborting + "could not open the log file " + file.string() + ": ";
    EXPECT_EQ(ended.err, error.empty() ? "" : could_not + error + "\n");
  }
}

TEST(CommandLine, ChildrenGetAFixedEnvironmentNoDescriptorsAndTheOriginalLimitOfOpenFiles) {
  const Scene scene;
  scene.put("hosta", "p", {});
  scene.script("tvimagequery",
               "echo $PATH $LC_ALL $(ulimit -S -n) > $0.env; readlink /proc/$$/fd/* > $0.fd\n"
               "exit 227\n");
  for (const std::string hard : {"1000", "100"}) {
    const Ended ended = scene.run_in_shell(
        "ulimit -n " + hard + "; ulimit -S -n 90; exec \"$@\" --num_threads 64 2>&-", k_dry_run);
    EXPECT_EQ(ended.exit_status, 0);
    EXPECT_EQ(read_text(scene.admincmd("tvimagequery.env")),
              "/usr/sbin:/usr/bin:/sbin:/bin C 90\n");
    const std::string descriptors = read_text(scene.admincmd("tvimagequery.fd"));
    EXPECT_TRUE(contains(descriptors, "/dev/null\n")) << "for the closed one";
    EXPECT_FALSE(contains(descriptors, layout::k_lock_file)) << descriptors;
    EXPECT_EQ(contains(scene.run_log(),
                       "only 11 of 64 threads are used: the limit of open files is 100\n"),
              hard == "100");
  }
}

TEST(CommandLine, LogsThatCannotGrowKeepTheirTextAndTheRestGoesToStandardError) {
  // No more text fits into the log, or only the beginning of a line.
  for (const std::size_t bytes : {2000U, 1000U}) {
    const Scene scene;
    const fs::path log = scene.log_dir() / layout::k_run_log;
    const std::string earlier = std::string(bytes, 'x') + "\n";
    write_text(log, earlier);
    scene.sh("cd catalog; for i in $(seq 10 39); do mkdir $i; done");
    const Ended ended = scene.run_in_shell("(ulimit -f 2; exec \"$@\") 2>&1 | cat", k_scan);
    EXPECT_EQ(read_text(log), earlier);
    expect_parts(ended.out, {"; the run goes on\n", "end: exit status 1\n"});
    const std::size_t in_log = lines_beginning(scene.logs("client_names"), "Skip DSID: ").size();
    EXPECT_LT(in_log, 30U);
    EXPECT_EQ(in_log + lines_beginning(ended.out, "Skip DSID: ").size(), 30U);
    EXPECT_EQ(scene.run_in_shell("ulimit -f 2; \"$@\" 2> /dev/full", k_scan).exit_status, 1)
        << "neither the logs nor standard error accepted the lines";
  }
}

TEST(CommandLine, LostOutputFailsTheRunUnlessItsReaderIsGone) {
  const Scene scene;
  expect_end(scene.run_in_shell("\"$@\" > /dev/full", k_scan), 1,
             "The run ended well, but not all that it reports could be written.\n");
  expect_end(scene.run_in_shell("mkfifo pipe; true < pipe & \"$@\" > pipe", k_scan), 0, "");
}

}  // namespace scenario::command_line
