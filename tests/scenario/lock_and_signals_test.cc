#include "tests/scenario/paused_run.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include <boost/interprocess/sync/file_lock.hpp>

#include "lock/file_lock.h"

namespace scenario::lock_and_signals {

TEST(Lock, AnyFileAtItsPathRejectsTheRun) {
  const Scene scene;
  const std::string path = scene.lock_file().string();
  const std::string message =
      "Refusing to run because the lock file " + path + " already exists.\nIt names ";
  const std::string remove =
      " If no mdfixup works on this storage from elsewhere, remove the file and run this again.\n";
  const std::string own_pid = std::to_string(::getpid());
  const std::string rows[][2] = {
      {"touch ", "no process."},
      {"ln -s /no/such ", "no process."},
      {"mkdir ", "no process."},
      {"mkfifo ", "no process."},
      {"printf 2147483647 > ", "process 2147483647, which is not running on this host."},
      {"printf " + own_pid + " > ",
       "process " + own_pid + ", which is running but is not mdfixup."},
  };
  for (const auto& [make, advice] : rows) {
    scene.sh(make + layout::k_lock_file);
    expect_end(scene.scan(), 1, message + advice + remove);
    EXPECT_TRUE(fs::remove(path)) << "the rejected run does not own it";
  }
  write_text(path, "1");
  // As a run on another host holds it.
  boost::interprocess::file_lock elsewhere(path.c_str());
  elsewhere.lock();
  expect_end(scene.scan(), 1,
             message + "process 1, but a run elsewhere holds it. Wait until that run has ended.\n");
  // As two runs that begin at the same time see it: the other makes the file after this one looked
  // for it, or removes it before this one has locked it.
  // ThreadSanitizer makes fstat the call of that name, the C library newfstatat.
  const std::string at_lock = k_strace + "-P " + path + " -e inject=newfstatat,fstat:error=ENOENT";
  for (const std::string which : {":when=1", ""}) {
    if (which.empty()) elsewhere.unlock();
    const Ended ended = scene.run_in_shell(at_lock + which + " \"$@\"", k_scan);
    expect_failure(ended, {"\nRefusing to run because we could not obtain an exclusive lock."});
    EXPECT_TRUE(fs::exists(path)) << which;
  }
}

TEST(Lock, NamesTheProcessUntilTheEndAndALockOfAnotherRunStays) {
  PausedRun run;
  const fs::path lock = run.scene().lock_file();
  EXPECT_EQ(read_text(lock), std::to_string(run.child().pid()));
  EXPECT_FALSE(boost::interprocess::file_lock(lock.c_str()).try_lock());
  EXPECT_EQ(fs::status(lock).permissions(), fs::owner_read | fs::owner_write);
  expect_parts(run.scene().scan().err, {", which is running and is mdfixup. Wait until"});
  fs::remove(lock);
  write_text(lock, "another run's");
  EXPECT_EQ(run.go_on().exit_status, 0);
  EXPECT_EQ(read_text(lock), "another run's");
  expect_parts(run.scene().run_log(), {lock.string() + " was removed or replaced"});
}

TEST(Lock, IsRemovedFromAStorageThatWasRenamed) {
  const support::TempDir dir;
  fs::create_directory(dir.path() / "storage");
  {
    const auto lock = util::FileLock::init(dir.path() / "storage" / layout::k_lock_file);
    fs::rename(dir.path() / "storage", dir.path() / "renamed");
  }
  EXPECT_TRUE(fs::is_empty(dir.path() / "renamed"));
}

TEST(Signals, FirstOneStopsAfterTheCurrentDirectory) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    PausedRun run;
    for (const int again : {SIGINT, SIGTERM, SIGHUP}) run.child().send(again);
    run.send_and_await_line(signal);
    const Ended ended = run.go_on();
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_EQ(sorted_lines(ended.err).size(), 1U) << ended.err;
    EXPECT_FALSE(contains(ended.out, "finished successfully"));
    EXPECT_EQ(run.scene().later_calls(), "") << "neither another directory nor the final listing";
    EXPECT_FALSE(fs::exists(run.scene().lock_file()));
    expect_parts(run.scene().run_log(), {"policy directories 1, failed 0,", "interrupted"});
  }
}

TEST(Signals, FirstOneStopsEveryWorker) {
  const Scene scene;
  for (int i = 0; i < 40; ++i) scene.put("hosta", std::to_string(i), {});
  scene.script("tvimagequery",
               "echo >> $0.calls; kill -INT $(cat mdfixup.lock); sleep 0.1; exit 227\n");
  EXPECT_EQ(scene.run_in_shell("\"$@\" --num_threads 4", k_dry_run).exit_status, 1);
  EXPECT_LE(read_text(scene.admincmd("tvimagequery.calls")).size(), 4U);
}

bool has_ended(pid_t pid) {
  siginfo_t info{};
  return ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == pid;
}

TEST(Signals, SecondOneAfterASecondEndsTheProcess) {
  if (k_signals_are_deferred) GTEST_SKIP();
  PausedRun run;
  const auto start = std::chrono::steady_clock::now();
  run.send_and_await_line(SIGINT);
  while (!has_ended(run.child().pid())) {
    run.child().send(SIGTERM);
    ::sched_yield();
  }
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  const Ended ended = run.child().wait();
  EXPECT_EQ(ended.signal, SIGTERM);
  EXPECT_TRUE(fs::exists(run.scene().lock_file()));
  run.scene().go_on();  // lets the command end
}

TEST(Signals, IgnoredOnesStayIgnored) {
  const Scene scene;
  scene.put("hosta", "p", {});
  scene.script("tvimagequery",
               "for i in INT HUP; do kill -$i $(cat mdfixup.lock); done; exit 227\n");
  expect_end(scene.run_in_shell("trap '' INT HUP; \"$@\"", k_dry_run), 0, "");
}

}  // namespace scenario::lock_and_signals
