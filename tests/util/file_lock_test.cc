#include "util/file_lock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>

#include "platform/status.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr int k_rounds = 2000;

// Takes and gives back the lock again and again. Returns how often it was obtained; -1 when the
// lock was held while the file did not say so.
int contend(const boost::filesystem::path& path) {
  int obtained = 0;
  for (int round = 0; round < k_rounds; ++round) {
    try {
      const auto lock = util::FileLock::init(path);
      ++obtained;
      if (support::read_text(path.string() + ".owner") != "") return -1;
      support::write_text(path.string() + ".owner", "taken");
      support::write_text(path.string() + ".owner", "");
    } catch (const Cr_ErrnoException& error) {
      if (error.GetStatus() != k_status_lock_file_exists && error.GetStatus() != k_status_lock_held)
        return -1;
    } catch (const std::exception&) {
      // The file went away between two steps; the run ends with an error, which is allowed.
    }
  }
  return obtained;
}

TEST(FileLock, NeverHeldByTwoProcesses) {
  const support::TempDir dir;
  const boost::filesystem::path path = dir.path() / "mdfixup.lock";
  for (int process = 0; process < 4; ++process) {
    if (::fork() == 0) ::_exit(contend(path) > 0 ? 0 : 1);
  }
  for (int process = 0; process < 4; ++process) {
    int status = 0;
    ::wait(&status);
    EXPECT_EQ(status, 0);
  }
  EXPECT_FALSE(boost::filesystem::exists(path));
}

}  // namespace
