#include "tests/scenario/scenario.h"

namespace scenario::command_line {

TEST(CommandLine, RejectsWhatIsWrongInOneLineAndShowsTheUsage) {
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      {{}, ""},
      {{"--bogus"}, "unrecognised option '--bogus'"},
      {{"--dry"}, "unrecognised option '--dry'"},
      {{"-x"}, "unrecognised option '-x'"},
      {{"file"}, "unexpected argument 'file'"},
      {{"--"}, "unexpected argument '--'"},
      {{"--dry_run=yes"}, "'--dry_run' does not take any arguments"},
      {{"--num_threads"}, "'--num_threads' is missing"},
      {{"--num_threads="}, "for option '--num_threads'"},
      {{"--num_threads=4x"}, "('4x') for option '--num_threads'"},
      {{"--num_threads=1025"}, "('1025') for option '--num_threads'"},
      {{"--catalog_backup_time", "99999999999"}, "('99999999999') for option '--catalog_backup"},
      {{"--tvr_disk_pool", "--dry_run"}, "'--tvr_disk_pool' is missing"},
      {{"--tvr_location", ""}, "the argument for option '--tvr_location' is empty"},
      {{"--bo\ngus"}, "'--bo\\ngus'"},
  };
  for (const auto& [arguments, error] : rows) {
    std::vector<std::string> command{MDFIXUP_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const Ended ended = support::run(command);
    EXPECT_EQ(ended.exit_status, 1) << error;
    EXPECT_TRUE(starts_with(ended.out, "Usage: mdfixup [OPTION]...\nThis utility")) << error;
    EXPECT_TRUE(contains(ended.err, error)) << error << " got " << ended.err;
    const auto lines = std::count(ended.err.begin(), ended.err.end(), '\n');
    EXPECT_EQ(lines, error.empty() ? 0 : 1) << ended.err;
  }
  const Ended help = support::run({MDFIXUP_PROGRAM, "-h"});
  EXPECT_EQ(help.exit_status, 0);
  EXPECT_TRUE(ends_with(help.out, "Tavrin Nimbrel.\n\n     -h --help        show this help\n"));
}

TEST(CommandLine, FirstMatchingModeWins) {
  const std::string unknown = "Unknown options combination\n";
  const std::string repaired_dry =
      "The --dry_run option cannot be used with the --repair_client_name_case option\n";
  const std::tuple<std::vector<std::string>, int, std::string, std::string> rows[] = {
      {{"--scan_client_name_case", "--repair_client_name_case", "--force"}, 0, "is clean.\n", ""},
      {{"--num_threads", "9", "--num_threads=0", "--scan_client_name_case"}, 0, "is clean.\n", ""},
      {{"--force"}, 1, "", "The --force option requires the --repair_client_name_case option\n"},
      {{"--dry_run"}, 1, "", unknown},
      {{"--cleanup_case_work_space"}, 1, "", unknown},
      {{"--repair_client_name_case", "--dry_run"}, 1, "", repaired_dry},
      {{"--repair_client_name_case", "--FORCE_DEDUPE_METADATA_CONSISTENCY", "--dry_run"},
       1,
       "",
       repaired_dry},
      {{"--scan_client_name_case", "--repair_client_name_case", "--dry_run"}, 0, "clean.\n", ""},
      {{"--repair_client_name_case"}, 0, "repair finished successfully.\n", ""},
      {{"--FORCE_DEDUPE_METADATA_CONSISTENCY"}, 0, "finished successfully.\n", ""},
      {{"--dry_run", "--FORCE_DEDUPE_METADATA_CONSISTENCY"}, 0, "finished successfully.\n", ""},
      {{"--scan_client_name_case", "--tvr_location", "/no/such"},
       1,
       "",
       "The provided Tavrin install location ( /no/such ) does not exist\n"},
  };
  const Scene scene;
  const auto before = scene.snapshot();
  for (const auto& [arguments, exit_status, out, err] : rows) {
    const Ended ended = scene.run(arguments);
    const std::string& name = arguments.front();
    EXPECT_EQ(ended.exit_status, exit_status) << name;
    EXPECT_TRUE(ends_with(ended.out, out)) << name << ended.out;
    EXPECT_TRUE(starts_with(ended.err, err)) << name << ended.err;
    EXPECT_EQ(ended.err.empty(), err.empty()) << name << ended.err;
    EXPECT_EQ(scene.snapshot(), before) << name;
  }
}

TEST(CommandLine, ConfigurationFaultsNameFileAndEntry) {
  const Scene scene;
  const std::string registry = scene.storage().registry_file().string();
  const std::string config = (scene.root() / "etc" / "storage.cfg").string();
  const std::string good_registry = support::read_text(registry);
  const std::string root_entry = "RootDir = " + scene.root().string() + "\n";
  const std::string aborting = "Aborting with error:  ";
  const std::string no_log_dir = "Failed to locate the <dedupe_storage>/log directory\n\t";
  const std::string rows[][3] = {
      {"[Other]\na=b\n", "",
       aborting + "Failed to locate the ConfigFilePath entry for section StoragePoolAuthority in " +
           registry + " .\n"},
      {"[StoragePoolAuthority]\nConfigFilePath=/no/such\n", "",
       aborting + "The file /no/such does not exist.\n"},
      {"[StoragePoolAuthority]\nConfigFilePath=/dev/zero\n", "",
       aborting + "/dev/zero: is no regular file\n"},
      {good_registry, "[Storage]\nRootDir=\n",
       aborting + "Failed to locate the RootDir entry for section Storage in " + config + " .\n"},
      {good_registry, "[Storage]\n; comment\n# another\n\nnonsense\n", aborting + config + "(5): "},
      {good_registry, "[Storage]\nRootDir=/no/such\n",
       aborting +
           "could not create the lock file /no/such/mdfixup.lock: No such file or directory\n"},
      {good_registry, "[Storage]\n" + root_entry, no_log_dir + "\n"},
      {good_registry, "[Storage]\n" + root_entry + "LogDir=" + config + "\n",
       no_log_dir + config + "\n"},
  };
  for (const auto& [registry_text, config_text, error] : rows) {
    support::write_text(registry, registry_text);
    support::write_text(config, config_text);
    const Ended ended = scene.scan();
    EXPECT_EQ(ended.exit_status, 1) << error;
    EXPECT_TRUE(starts_with(ended.err, error)) << error << "got " << ended.err;
    EXPECT_FALSE(fs::exists(scene.lock_file())) << error;
  }
  const Ended missing = support::run({MDFIXUP_PROGRAM, "--dry_run"}, {{"KSREGISTRY", "/no/such"}});
  EXPECT_EQ(missing.err, aborting + "Failed to locate the ksregistry path: /no/such.\n");
  const Ended by_default = support::run({MDFIXUP_PROGRAM, "--dry_run"}, {{"KSREGISTRY", ""}});
  EXPECT_TRUE(contains(by_default.err, "/etc/ksregistry.cfg")) << by_default.err;
}

TEST(CommandLine, RunLogTellsStartModeErrorsSummaryAndEnd) {
  const Scene scene;
  EXPECT_EQ(scene.scan().exit_status, 0);
  EXPECT_EQ(scene.run({"--force", "--tvr_disk_pool", "a --dry_run \"b"}).exit_status, 1);
  const std::string log = scene.run_log();
  for (const char* part :
       {"arguments --tvr_location ", "mode: client name case scan",
        "summary: policy directories 0, failed 0, POs 0,", "no policy directory was found",
        "end: exit status 0", "error pid=", "The --force option requires", "end: exit status 1",
        " --force --tvr_disk_pool \"a --dry_run \\\"b\"\n"}) {
    EXPECT_TRUE(contains(log, part)) << part << " not in " << log;
  }
  const fs::path file = scene.storage().log_dir() / "mdfixup" / "mdfixup.log";
  const auto mode = fs::status(file).permissions();
  EXPECT_EQ(mode & fs::others_all, fs::no_perms);
  const std::string root = scene.root().string();
  EXPECT_TRUE(contains(log, " storage root " + root + ", catalog " + root + "/catalog, host "));
  const std::string no_file = "is neither a regular file nor a character device";
  const std::string rows[][2] = {{"mkdir $log", "Is a directory"},
                                 {"rmdir $log; mkfifo $log", no_file},
                                 {"exec 9<>$log", no_file},
                                 {"rm $log; ln -s /dev/null $log", ""}};
  fs::remove(file);
  for (const auto& [script, error] : rows) {
    const std::string begin = "log=" + file.string() + "; " + script + "; \"$@\"";
    EXPECT_EQ(scene.run_in_shell(begin, {"--scan_client_name_case"}).err,
              error.empty() ? error
                            : "Aborting with error:  could not open the log file " + file.string() +
                                  ": " + error + "\n");
  }
}

TEST(CommandLine, LimitOfOpenFilesIsRaisedForThreadsAndNotForChildren) {
  const Scene scene;
  scene.put("hosta", "p", {});
  scene.script("tvimagequery", "ulimit -S -n > $0.limit; exit 227\n");
  const std::vector<std::string> dry_run{"--FORCE_DEDUPE_METADATA_CONSISTENCY", "--dry_run",
                                         "--num_threads", "64"};
  for (const std::string hard : {"1000", "100"}) {
    const std::string limits = "ulimit -n " + hard + "; ulimit -S -n 90; \"$@\"";
    EXPECT_EQ(scene.run_in_shell(limits, dry_run).err, "");
    EXPECT_EQ(support::read_text(scene.admincmd("tvimagequery.limit")), "90\n");
    EXPECT_EQ(contains(scene.run_log(),
                       "only 11 of 64 threads are used: the limit of open files is 100\n"),
              hard == "100");
  }
}

TEST(CommandLine, LogsThatCannotGrowKeepWhatTheyHaveAndTheRestGoesToStandardError) {
  // Nothing more fits; the beginning of a line does.
  for (const std::size_t bytes : {2000U, 1000U}) {
    const Scene scene;
    const fs::path log = scene.storage().log_dir() / "mdfixup" / "mdfixup.log";
    const std::string earlier = std::string(bytes, 'x') + "\n";
    support::write_text(log, earlier);
    for (int dsid = 10; dsid < 40; ++dsid) {
      fs::create_directory(scene.root() / "catalog" / std::to_string(dsid));
    }
    const Ended ended =
        scene.run_in_shell("(ulimit -f 2; exec \"$@\") 2>&1 | cat", {"--scan_client_name_case"});
    EXPECT_EQ(support::read_text(log), earlier);
    EXPECT_TRUE(contains(ended.out, "end: exit status 0\n")) << ended.out;
    const auto skipped = [](const std::string& text) {
      return lines_beginning(text, "Skip DSID: ").size();
    };
    const std::size_t in_log = skipped(scene.logs("client_names"));
    EXPECT_LT(in_log, 30U);
    EXPECT_EQ(in_log + skipped(ended.out), 30U);
    const Ended lost =
        scene.run_in_shell("ulimit -f 2; \"$@\" 2> /dev/full", {"--scan_client_name_case"});
    EXPECT_EQ(lost.exit_status, 1) << "neither the logs nor standard error took what there was";
  }
}

TEST(CommandLine, OutputThatCouldNotBePrintedFailsTheRunBehindItsWork) {
  const Scene scene;
  scene.put("hosta", "p", {"HostA_1_C1_F1.img"});
  for (const char* mode : {"--scan_client_name_case", "--repair_client_name_case"}) {
    const Ended ended = scene.run_in_shell("\"$@\" > /dev/full", {mode});
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_EQ(ended.err, "The run ended well, but not all that it reports could be written.\n");
  }
  EXPECT_TRUE(starts_with(scene.pos().at(0), "HostA/p|HostA_1"));
}

}  // namespace scenario::command_line
