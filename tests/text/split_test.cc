#include "text/split.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

namespace {

// Among the characters are neighbours of the separators, and those with another highest bit.
TEST(Split, GivesTheFirstFieldsOfBoostSplit) {
  constexpr unsigned k_seed = 1;
  const std::string characters = "  __a!^`\xa0\xdf\x1f\x01\xff\x80";
  std::mt19937 random(k_seed);
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 30, ' ');
    for (char& c : text) c = characters[random() % characters.size()];
    for (const util::Separators mode : {util::Separators::each, util::Separators::runs}) {
      const bool runs = mode == util::Separators::runs;
      std::vector<std::string> expected;
      boost::split(expected, text, boost::is_any_of(" _"),
                   runs ? boost::token_compress_on : boost::token_compress_off);
      std::array<std::string_view, 5> fields;
      const std::size_t count = util::split<' ', '_'>(text, mode, fields);
      expected.resize(std::min(expected.size(), fields.size()));
      EXPECT_EQ(std::vector<std::string>(fields.begin(), fields.begin() + count), expected)
          << testing::PrintToString(text) << " seed " << k_seed << " round " << round;
    }
  }
}

}  // namespace
