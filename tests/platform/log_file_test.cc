#include "dct/log_file.h"

#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include "platform/status.h"
#include "tests/support/temp_dir.h"

namespace {

using dct::util::LogFile;

TEST(LogFile, AppendsToWhatIsThere) {
  const support::TempDir dir;
  const boost::filesystem::path file = dir.path() / "a.log";
  LogFile(file).write("one\n");
  LogFile(file).write("two\n");
  EXPECT_EQ(support::read_text(file), "one\ntwo\n");
  EXPECT_THROW(LogFile(dir.path()), Cr_ErrnoException);
}

TEST(LogFile, TextThatCannotBeWrittenGoesToStandardError) {
  LogFile log("/dev/full");
  testing::internal::CaptureStderr();
  log.write("a line that must not be lost\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "a line that must not be lost\n");
}

}  // namespace
