#include "dct/log_file.h"

#include <gtest/gtest.h>

namespace {

using dct::util::LogFile;

TEST(LogFile, TextThatCannotBeWrittenGoesToStandardError) {
  LogFile log("/dev/full");
  testing::internal::CaptureStderr();
  log.write("a line that must not be lost\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "a line that must not be lost\n");
}

}  // namespace
