#include "util/to_number.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <random>
#include <string>

#include <boost/lexical_cast.hpp>

namespace {

template <class Number>
void expect_as_library(const std::string& text) {
  std::optional<Number> expected;
  try {
    expected = boost::lexical_cast<Number>(text.data(), text.size());
  } catch (const boost::bad_lexical_cast&) {
  }
  std::optional<Number> found;
  try {
    found = util::to_number<Number>(text);
  } catch (const boost::bad_lexical_cast& error) {
    EXPECT_EQ(error.source_type(), typeid(boost::iterator_range<const char*>));
    EXPECT_EQ(error.target_type(), typeid(Number));
  }
  EXPECT_EQ(found, expected) << "'" << text << "'";
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
