#include "util/to_number.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include <boost/lexical_cast/try_lexical_convert.hpp>

namespace {

template <class Number>
void expect_as_library(const std::string& text) {
  Number expected = 0;
  Number found = 0;
  const bool is_number = boost::conversion::try_lexical_convert(text, expected);
  EXPECT_EQ(util::try_to_number(text, found), is_number) << "'" << text << "'";
  EXPECT_TRUE(!is_number || found == expected) << "'" << text << "'";
}

TEST(ToNumber, IsWhatTheLibraryMakesOfIt) {
  std::mt19937 random(1);
  for (int i = 0; i < 20000; ++i) {
    const std::string signs[] = {"", "", "", "-", "+", "0", " ", "x"};
    std::string text = signs[random() % std::size(signs)];
    for (auto digits = random() % 22; digits > 0; --digits) text += std::to_string(random() % 10);
    if (random() % 8 == 0) text += "+-. _,xe"[random() % 8];
    expect_as_library<std::int64_t>(text);
    expect_as_library<std::int32_t>(text);
    expect_as_library<std::uint32_t>(text);
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace
