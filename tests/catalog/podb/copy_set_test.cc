#include "catalog/podb/copy_set.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

namespace {

using catalog::podb::CopySet;
using catalog::podb::details::numbers;

std::vector<numbers> content(const CopySet& copies) {
  std::vector<numbers> result;
  copies.for_each([&](const numbers& copy) { result.push_back(copy); });
  return result;
}

// Short runs in ascending order, with leaps between them, back ones too.
TEST(CopySet, HoldsWhatASetHolds) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    const unsigned leaps = seed % 4;  // of ten
    numbers at{0, 1};
    const auto next = [&] {
      const auto step = static_cast<std::int64_t>(random() % 3);
      at.backup_time = random() % 10 < leaps ? static_cast<std::int64_t>(random() % 60) - 5
                                             : at.backup_time + step;
      at.copy_number = static_cast<std::uint32_t>(random() % 2 + 1);
      return at;
    };
    CopySet copies;
    std::set<numbers> expected;
    for (int i = 0; i < 60; ++i) {
      copies.insert(next());
      expected.insert(at);
    }
    copies.finish();
    at.backup_time = -5;
    for (int i = 0; i < 60; ++i) {
      const bool was_there = expected.erase(next()) != 0;
      ASSERT_EQ(copies.erase(at), was_there) << "seed " << seed;
      ASSERT_EQ(copies.size(), expected.size()) << "seed " << seed;
    }
    ASSERT_EQ(content(copies), std::vector<numbers>(expected.begin(), expected.end()))
        << "seed " << seed;
  }
}

}  // namespace
