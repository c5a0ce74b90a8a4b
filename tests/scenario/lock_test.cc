#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include "tests/support/scene.h"

namespace {

namespace fs = boost::filesystem;
using support::Scene;

// The process that holds a write lock on the file; 0 when none does.
pid_t lock_holder(const fs::path& file) {
  const int descriptor = ::open(file.c_str(), O_RDWR);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  const bool known = ::fcntl(descriptor, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  ::close(descriptor);
  return known ? lock.l_pid : 0;
}

TEST(Lock, AnythingAtItsPathRefusesTheRun) {
  const Scene scene;
  const std::string message =
      "Refusing to run because the lock file " + scene.lock_file().string() + " already exists.\n";
  const auto refused = [&] {
    const support::Ended ended = scene.scan();
    return ended.exit_status == 1 && ended.err == message;
  };
  support::write_text(scene.lock_file(), "");
  EXPECT_TRUE(refused());
  EXPECT_TRUE(fs::exists(scene.lock_file())) << "not the refused run's to remove";
  fs::remove(scene.lock_file());
  fs::create_symlink("/no/such", scene.lock_file());
  EXPECT_TRUE(refused());
  fs::remove(scene.lock_file());
  fs::create_directory(scene.lock_file());
  EXPECT_TRUE(refused());
  fs::remove(scene.lock_file());
  EXPECT_EQ(scene.scan().exit_status, 0);
}

TEST(Lock, IsHeldThroughTheRunWithThePidReadable) {
  const Scene scene;
  const std::string ready = (scene.root() / "ready").string();
  const std::string go = (scene.root() / "go").string();
  support::run({"mkfifo", ready, go});
  scene.script("tvimagequery", "echo > " + ready + "; read line < " + go + "; exit 227\n");
  const auto child = scene.start({"--FORCE_DEDUPE_METADATA_CONSISTENCY", "--dry_run"});
  support::read_text(ready);  // returns when the program is in the middle of its run
  EXPECT_EQ(lock_holder(scene.lock_file()), child->pid());
  EXPECT_EQ(support::read_text(scene.lock_file()), std::to_string(child->pid()));
  EXPECT_EQ(fs::status(scene.lock_file()).permissions(), fs::owner_read | fs::owner_write);
  EXPECT_EQ(lock_holder(scene.lock_file()), child->pid());
  support::write_text(go, "\n");
  EXPECT_EQ(child->wait().exit_status, 0);
  EXPECT_FALSE(fs::exists(scene.lock_file()));
}

}  // namespace
