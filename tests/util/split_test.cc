#include "util/split.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include <boost/algorithm/string.hpp>

namespace {

TEST(Split, EqualsTheLibraryOnRandomText) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (auto n = random() % 12; n > 0; --n) text += "_.a"[random() % 3];
    const bool runs = random() % 2 == 0;
    std::vector<std::string> expected;
    boost::split(expected, text, boost::is_any_of("_."),
                 runs ? boost::token_compress_on : boost::token_compress_off);
    std::array<std::string_view, 5> fields;
    const std::size_t count =
        util::split<'_', '.'>(text, runs ? util::Separators::runs : util::Separators::each, fields);
    expected.resize(std::min(expected.size(), fields.size()));
    EXPECT_EQ(std::vector<std::string>(fields.begin(), fields.begin() + count), expected) << text;
  }
}

}  // namespace
