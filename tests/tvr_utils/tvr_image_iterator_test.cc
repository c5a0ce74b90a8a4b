#include "tvr_utils/tvr_image_iterator.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast.hpp>

#include "status/status.h"
#include "tests/support/temp_dir.h"

namespace {

std::string image(const std::string& client, const std::string& policy, const std::string& time) {
  return "IMAGE " + client + " 2 3 4  5 " + policy + " 7 8 9 10 11 12 " + time + "\n";
}

std::string frag(const std::string& copy, const std::string& number, const std::string& value,
                 const std::string& media = "a;b;c;pool;e") {
  return "FRAG " + copy + " " + number + " 3 4 5 6 7 8 9 10 11 12 13 14 " + media +
         " 16 17 18 19 " + value + " 21 22 23 24 25\n";
}

// The images of the listing, a line each, and then the error, if any.
std::string images(const std::string& output, const std::string& end) {
  const support::TempDir dir;
  support::write_text(dir.path() / "tvimagequery.listing", output);
  support::write_script(dir.path() / "tvimagequery", "cat $0.listing\n" + end + "\n");
  std::string result;
  try {
    const TVRImageIterator last;
    for (TVRImageIterator it(dir.path(), "pool", "c", "p", 53); it != last; ++it) {
      result += it->client_name + " " + it->policy_name + " " + std::to_string(it->backup_time);
      for (std::size_t i = 0; i < it->copy_numbers.size(); ++i) {
        result += " " + std::to_string(it->copy_numbers.at(i)) + ":" +
                  std::to_string(it->fragment_numbers.at(i)) + ":" +
                  std::to_string(it->frag_values.at(i));
      }
      result += "\n";
    }
  } catch (const Cr_ErrnoException& error) {
    result += "status " + std::to_string(error.GetStatus());
  } catch (const boost::bad_lexical_cast&) {
    result += "bad cast";
  }
  return result;
}

TEST(TVRImageIterator, DeliversImagesWithAcceptedFragments) {
  const std::string one = image("c", "p", "10") + frag("1", "1", "5");
  const std::string one_image = "c p 10 1:1:5\n";
  const std::string of_9 = image("c", "p", "9");
  // The listing, how the command continues, and the images or the error.
  const std::string rows[][3] = {
      {"", "", ""},
      {"no entity was found in the catalog\nmore\n", "exit 227", ""},
      {one, "", one_image},
      {of_9 + frag("1", "f", "5") + frag("1", "1", "5"), "", "bad cast"},
      {image("c", "p", "-7") + frag("1", "1", "5") + frag("1", "+2", "9") + frag("2", "-3", "3"),
       "", "c p -7 1:1:5 1:2:9 2:-3:3\n"},
      {of_9 + frag("x", "1", "5", "a;b;c;other;e") + one, "", one_image},
      {of_9 + frag("1", "1", "5", ";b;;c;pool;e"), "", "c p 9 1:1:5\n"},
      {of_9 + frag("1", "1", "5", "a;;b;c;pool;"), "", "c p 9 1:1:5\n"},
      {one + image("C", "p", "11") + frag("1", "1", "6") + image("c", "p", "12") +
           frag("2", "1", "7"),
       "", one_image + "c p 12 2:1:7\n"},
      {one + image("c", "q", "11") + frag("1", "1", "6") + image("c", "p", "11"), "", one_image},
      {one + "HISTO 1 2\n\n" + frag("1", "2", "3"), "", "c p 10 1:1:5 1:2:3\n"},
      {image("c", "p", "1x"), "", "bad cast"},
      {"IMAGE c 2 3 4 5 p 7 8 9 10 11 12\n", "", "status 4"},
      {image("c", "q", "10") + frag("1", "1", "5"), "exit 25", "status 17"},
      {image("c", "q", "9"), "printf 'IMAGE c 2 3 4  5 p 7 8 9 10 11 12 13 14'", "status 4"},
      {image("c", "q", "9"), "printf 'FRAG 1'", "status 4"},
  };
  for (const auto& [output, end, expected] : rows)
    EXPECT_EQ(images(output, end), expected) << output << end;
}

}  // namespace
