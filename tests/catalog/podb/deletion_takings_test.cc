#include "catalog/podb/deletion_takings.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
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

// Copies are put in out of order and again, and taken out in order, some twice.
void fill(CopySet& copies, std::set<numbers>& expected, std::mt19937& random) {
  constexpr std::int64_t k_times[] = {-16, 1, 16, 17, 160};
  // The ranges of these two are adjacent.
  std::vector<numbers> put{{20, 0}, {21, 0}};
  for (int i = 0; i < 12; ++i) put.push_back({k_times[random() % 5], random() % 2 == 0 ? 1U : 10U});
  for (const numbers& copy : put) copies.insert(copy);
  copies.finish();
  expected.insert(put.begin(), put.end());
  for (const numbers& copy : std::set<numbers>(expected)) {
    for (auto times = copy.copy_number == 0 ? 0 : random() % 3; times > 0; --times)
      EXPECT_EQ(copies.erase(copy), expected.erase(copy) != 0);
  }
  std::vector<numbers> left;
  copies.for_each([&](const numbers& copy) { left.push_back(copy); });
  EXPECT_EQ(left, std::vector<numbers>(expected.begin(), expected.end()));
  EXPECT_EQ(copies.size(), expected.size());
}

TEST(DeletionTakings, AreFoundInTheRangesThatTheyName) {
  std::mt19937 random(1);
  const support::TempDir dir;
  for (int round = 0; round < 20; ++round) {
    CopySet orphans;
    std::set<numbers> copies;
    fill(orphans, copies, random);
    const auto policy = dir.path() / std::to_string(round) / "2" / "c_d" / "p";
    boost::filesystem::create_directories(policy);
    sandbox::PolicyDirWriter writer(policy, 1, 1);
    for (const char* name : {"c_d_20_C0_F1.img", "c_d_21_C0_F1.img"}) writer.put(name);
    for (int i = 0; i < 150; ++i) writer.put(odd_name(random));
    writer.finish();
    support::sqlite(policy / "po.db",
                    "UPDATE po SET basename = CAST(basename AS BLOB) WHERE rowid % 9 = 0");
    SQLitePODB database("", policy.string());
    DeletionTakings expected("c_d", orphans);
    DeletionTakings found("c_d", orphans);
    const auto to = [](DeletionTakings& takings) {
      return [&](auto name, auto bytes) { takings.add(name, bytes); };
    };
    ASSERT_EQ(database.get_sizes_in({{"", ""}}, true, to(expected)), 0);
    ASSERT_EQ(database.get_sizes_in(found.ranges(), true, to(found)), 0);
    for (const numbers& copy : copies) {
      EXPECT_EQ(found.of(copy).pos, expected.of(copy).pos) << round << " " << copy.backup_time;
      EXPECT_EQ(found.of(copy).bytes, expected.of(copy).bytes);
      EXPECT_EQ(found.of(copy).other_copies, expected.of(copy).other_copies) << round;
      if (copy.copy_number == 0) {
        EXPECT_EQ(found.of(copy).pos, 1U);
      }
    }
  }
}

}  // namespace
