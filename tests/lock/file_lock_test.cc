#include "lock/file_lock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>

#include "files/storage_layout.h"
#include "status/status.h"
#include "tests/support/temp_dir.h"

namespace {

// Takes and releases the lock repeatedly. False if another process held it at the same time.
bool contend(const boost::filesystem::path& path) {
  const boost::filesystem::path owner = path.string() + ".owner";
  for (int round = 0; round < 2000; ++round) {
    try {
      const auto lock = util::FileLock::init(path);
      if (!support::read_text(owner).empty()) return false;
      support::write_text(owner, "taken");
      support::write_text(owner, "");
    } catch (const Cr_ErrnoException&) {
      continue;  // another process has it
    }
  }
  return true;
}

TEST(FileLock, NeverHeldByTwoProcesses) {
  const support::TempDir dir;
  const boost::filesystem::path path = dir.path() / layout::k_lock_file;
  for (int process = 0; process < 4; ++process)
    if (::fork() == 0) ::_exit(contend(path) ? 0 : 1);
  for (int process = 0; process < 4; ++process) {
    int status = 0;
    ::wait(&status);
    EXPECT_EQ(status, 0);
  }
  EXPECT_FALSE(boost::filesystem::exists(path)) << "it would block every later run";
}

TEST(FileLock, IsRemovedFromAStorageThatWasRenamed) {
  const support::TempDir dir;
  boost::filesystem::create_directory(dir.path() / "storage");
  {
    const auto lock = util::FileLock::init(dir.path() / "storage" / layout::k_lock_file);
    boost::filesystem::rename(dir.path() / "storage", dir.path() / "renamed");
  }
  EXPECT_TRUE(boost::filesystem::is_empty(dir.path() / "renamed"));
}

}  // namespace
