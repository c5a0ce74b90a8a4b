#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include "dct/queries.h"
#include "tests/support/temp_dir.h"
#include "tvr_utils/queries.h"

TEST(DiskPool, FirstLineWhoseServerBeginsWithTheHostNameWins) {
  const support::TempDir dir;
  support::write_script(dir.path() / "tvdevinfo",
                        "[ \"$*\" = '-listdp -stype Kestrel -l' ] || exit 1\ncat <<'END'\n"
                        "V dp1 3 4 5 6 7 8 9 10 11 media10\n"
                        "V   dp2 3 4  5 6 7 8 9 10 11    MEDIA2.EXAMPLE.LAN more\n"
                        " V dp3 3 4 5 6 7 8 9 10 media3\n"
                        "V dp4 3 4 5 6 7 8 9 10 11 media2\n"
                        "V dp5 3 4 5 6 7 8 9 10 11 media10.example.lan\nEND\n");
  const std::string rows[][2] = {{"media1", "dp1"}, {"media1.example.lan", ""},
                                 {"media2", "dp2"}, {"media2.example.lan", "dp2"},
                                 {"media3", "V"},   {"media4", ""}};
  for (const auto& [host, pool] : rows)
    EXPECT_EQ(dct::GetDiskPoolName(dir.path(), host).name(), pool) << host;
  if (::unshare(CLONE_NEWUTS) != 0) GTEST_SKIP() << "the host's name cannot be set";
  // The full name precedes the short one.
  const std::string labels[][2] = {{"media10.example.lan", "dp5"}, {"media10.other.lan", "dp1"}};
  for (const auto& [host, pool] : labels) {
    ASSERT_EQ(::sethostname(host.c_str(), host.size()), 0);
    EXPECT_EQ(tvr_utils::GetDiskPoolLabel(dir.path()), pool) << host;
  }
}
