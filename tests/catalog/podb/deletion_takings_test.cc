#include "catalog/podb/deletion_takings.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "platform/sqlite_podb.h"
#include "sandbox/storage_builder.h"
#include "tests/support/scene.h"

namespace {

using catalog::podb::CopySet;
using catalog::podb::DeletionTakings;
using catalog::podb::details::numbers;

// What a statement takes, or nearly.
std::string odd_name(std::mt19937& random) {
  const std::vector<std::string> parts[] = {
      {"c_d", "c_d", "c_d", "C_D", "cxd", "c\xc3\xa4\x64", "c_", "d", ""},
      {"_", "_", "_", "-", "\xc3\xa4", "\xff", ""},
      {"1", "16", "160", "-16", "17", "016", ""},
      {"_C1_", "_C10_", "xc1", "C1_", "0C1_", "_D1_", ""},
      {"F1.img", "", "x"},
  };
  std::string name;
  for (const auto& part : parts) name += part[random() % part.size()];
  return name;
}

TEST(DeletionTakings, AreFoundInTheRangesThatTheyName) {
  std::mt19937 random(1);
  support::TempDir dir;
  for (int round = 0; round < 20; ++round) {
    const auto policy = dir.path() / std::to_string(round) / "2" / "c_d" / "p";
    boost::filesystem::create_directories(policy);
    sandbox::PolicyDirWriter writer(policy, 1, 1);
    // The ranges of these two are adjacent.
    for (const char* name : {"c_d_20_C0_F1.img", "c_d_21_C0_F1.img"}) writer.put(name);
    for (int i = 0; i < 150; ++i) writer.put(odd_name(random));
    writer.finish();
    support::sqlite(policy / "po.db",
                    "UPDATE po SET basename = CAST(basename AS BLOB) WHERE rowid % 9 = 0");
    CopySet orphans;
    std::vector<numbers> copies{{20, 0}, {21, 0}};
    for (const std::int64_t time : {-16, 1, 16, 17, 160}) {
      for (const std::uint32_t copy : {1U, 10U}) {
        if (random() % 2 == 0) copies.push_back({time, copy});
      }
    }
    for (const numbers& copy : copies) orphans.insert(copy);
    orphans.finish();
    SQLitePODB database("", policy.string());
    DeletionTakings expected("c_d", orphans);
    DeletionTakings found("c_d", orphans);
    ASSERT_EQ(database.get_basenames_in({{"", ""}}, [&](auto name) { expected.add(name); }), 0);
    ASSERT_EQ(database.get_basenames_in(found.ranges(), [&](auto name) { found.add(name); }), 0);
    for (const numbers& copy : {copies[0], copies[1]}) EXPECT_EQ(found.of(copy).pos, 1U);
    for (const numbers& copy : copies) {
      EXPECT_EQ(found.of(copy).pos, expected.of(copy).pos) << round << " " << copy.backup_time;
      EXPECT_EQ(found.of(copy).other_copies, expected.of(copy).other_copies) << round;
    }
  }
}

}  // namespace
