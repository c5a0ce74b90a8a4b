#include <gtest/gtest.h>

#include "dct/get_disk_pool_name.h"
#include "tests/support/temp_dir.h"

namespace {

std::string pool(const std::string& output, const std::string& host) {
  const support::TempDir dir;
  support::write_script(
      dir.path() / "tvdevinfo",
      "[ \"$*\" = '-listdp -stype Kestrel -l' ] || exit 1\ncat <<'END'\n" + output + "END\n");
  return dct::GetDiskPoolName(dir.path(), host).name();
}

TEST(DiskPool, FirstLineWhoseServerBeginsWithTheHostNameWins) {
  const std::string to_11 = " dp1 3 4 5 6 7 8 9 10 11";
  const std::string rows[][3] = {
      {"V" + to_11 + " media1.example.lan\n", "media1.example.lan", "dp1"},
      {"V" + to_11 + " MEDIA1.EXAMPLE.LAN more\n", "media1.example.lan", "dp1"},
      {"V   dp1 3 4  5 6 7 8 9 10 11    media1\n", "media1", "dp1"},
      {"V" + to_11 + " media10\n", "media1", "dp1"},
      {"V" + to_11 + " media1\n", "media1.example.lan", ""},
      {" V dp1 3 4 5 6 7 8 9 10 media1\n", "media1", "V"},
      {"V" + to_11 + " other\nV dp2 3 4 5 6 7 8 9 10 11 media1\nV dp3 3 4 5 6 7 8 9 10 11 media1\n",
       "media1", "dp2"},
  };
  for (const auto& [output, host, name] : rows) EXPECT_EQ(pool(output, host), name) << output;
}

}  // namespace
