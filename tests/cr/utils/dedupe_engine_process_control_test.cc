#include "cr/utils/dedupe_engine_process_control.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "status/status.h"
#include "tests/support/temp_dir.h"

namespace {

TEST(ServiceControl, ReadsTheListerAndThePidFiles) {
  const support::TempDir dir;
  const std::string file = (dir.path() / "segstored.pid").string();
  const std::string message = "Could not read the pid from " + file +
                              ".\nIf segstored is not running, please remove " + file + "\n\n";
  const std::string own_pid = std::to_string(::getpid()) + "\n";
  const std::string gone = "2147483647\n";
  // The lister's script, the pid file's text, whether all are stopped, and the error.
  const std::tuple<std::string, std::string, bool, std::string> rows[] = {
      {"", gone, true, ""},
      {"", own_pid, false, ""},
      {"", "", false, message},
      {"", "-1", false, message},
      {"", "4294967297", false, message},
      {"echo a; echo tvsvcwatch; yes", gone, false, ""},
      {"echo 'tvsvcwatch '; echo tvsvcwatch 12; echo TVSVCWATCH", gone, true, ""},
      {"printf tvsvcwatch.", gone, false, ""},
  };
  const cr::utils::DedupeEngineProcessControl services(dir.path(), dir.path());
  for (const auto& [script, text, stopped, error] : rows) {
    support::write_script(dir.path() / "tavrin/bin/tvprocs", script);
    support::write_text(file, text);
    testing::internal::CaptureStderr();
    EXPECT_EQ(services.all_are_stopped(), stopped) << script << text;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), error) << script << text;
  }
  for (const char* end : {"kill -9 $PPID", "kill -TERM $$", "echo a; exit 141"}) {
    support::write_script(dir.path() / "tavrin/bin/tvprocs", end);
    EXPECT_THROW(services.all_are_stopped(), Cr_ErrnoException) << end;
  }
}

}  // namespace
