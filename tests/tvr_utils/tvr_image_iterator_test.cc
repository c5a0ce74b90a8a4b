#include "tvr_utils/tvr_image_iterator.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <boost/lexical_cast.hpp>

#include "platform/status.h"
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

template <class Numbers>
std::string joined(const Numbers& numbers) {
  std::string text;
  for (const auto number : numbers) text += (text.empty() ? "" : ",") + std::to_string(number);
  return text;
}

// Every image that the listing gives, a line each, and how it failed if it did.
std::string images(const std::string& output, const std::string& end) {
  const support::TempDir dir;
  support::write_text(dir.path() / "listing", output);
  support::write_script(dir.path() / "tvimagequery",
                        "echo \"$*\" > $0.args; cat $0.listing 2>/dev/null || cat " +
                            (dir.path() / "listing").string() + "\n" + end + "\n");
  std::string result;
  try {
    const TVRImageIterator last;
    TVRImageIterator it(dir.path(), "pool", "c", "p", 53);
    for (; it != last; ++it) {
      result += it->client_name + " " + it->policy_name + " " + std::to_string(it->backup_time) +
                " " + joined(it->copy_numbers) + " " + joined(it->fragment_numbers) + " " +
                joined(it->frag_values) + "\n";
    }
  } catch (const Cr_ErrnoException& error) {
    result += "status " + std::to_string(error.GetStatus());
  } catch (const boost::bad_lexical_cast&) {
    result += "bad cast";
  }
  EXPECT_EQ(support::read_text(dir.path() / "tvimagequery.args"),
            "-client c -policy p -hoursago 53\n");
  return result;
}

TEST(TVRImageIterator, DeliversImagesWithAcceptedFragments) {
  const std::string one = image("c", "p", "10") + frag("1", "1", "5");
  const std::string one_image = "c p 10 1,1 1,0 5,5\n";
  const std::string rows[][3] = {
      {"", "", ""},
      {"no entity was found in the catalog\nmore\n", "exit 227", ""},
      {one, "", one_image},
      {image("c", "p", "-7") + frag("1", "f", "5") + frag("1", "1", "5"), "", "bad cast"},
      {image("c", "p", "-7") + frag("1", "1", "5") + frag("1", "+2", "9") + frag("2", "-3", "3"),
       "", "c p -7 1,1,2,1,2 1,2,-3,0,0 5,9,3,9,3\n"},
      {image("c", "p", "9") + frag("1", "1", "5", "a;b;c;other;e") + one, "", one_image},
      {image("c", "p", "9") + frag("x", "1", "5", "a;b;c;other;e") + one, "", one_image},
      {image("c", "p", "9") + frag("1", "1", "5", ";b;;c;pool;e"), "", "c p 9 1,1 1,0 5,5\n"},
      {image("c", "p", "9") + frag("1", "1", "5", "a;;b;c;pool;"), "", "c p 9 1,1 1,0 5,5\n"},
      {one + image("C", "p", "11") + frag("1", "1", "6") + image("c", "p", "12") +
           frag("2", "1", "7"),
       "", one_image + "c p 12 2,2 1,0 7,7\n"},
      {one + image("c", "p", "11"), "", one_image},
      {one + image("c", "q", "11") + frag("1", "1", "6"), "", one_image},
      {one + "HISTO 1 2\n\n" + frag("1", "2", "3"), "", "c p 10 1,1,1 1,2,0 5,3,5\n"},
      {one + image("c", "p", "11").substr(0, 30), "", one_image + "status 4"},
      {image("c", "p", "12"), "printf 'FRAG 1'", "status 4"},
      {image("c", "p", "1x"), "", "bad cast"},
      {"IMAGE c 2 3 4 5 p 7 8 9 10 11 12\n", "", "status 4"},
      {one, "exit 25", one_image + "status 17"},
      {image("c", "q", "10") + frag("1", "1", "5"), "exit 25", "status 17"},
      {one, "exit 141", one_image + "status 4"},
      {one, "kill -TERM $PPID", one_image + "status 99"},
      {"", "printf xx", "status 4"},
      {"", "printf x", "status 4"},
      {"", "printf 'no entity was found x'", "status 4"},
      {one, "printf 'IMAGE c 2 3 4  5 p 7 8 9 10 11 12 13 14'", one_image + "status 4"},
      {image("c", "q", "9"), "printf 'IMAGE c 2 3 4  5 p 7 8 9 10 11 12 13 14'", "status 4"},
      {image("c", "q", "9"), "printf 'FRAG 1'", "status 4"},
      {one, "printf FRA; exit 25", "status 17"},
      {"", "printf IMAGES", "status 4"},
  };
  for (const auto& [output, end, expected] : rows) {
    EXPECT_EQ(images(output, end), expected) << output << end;
  }
}

// What would have followed the place where a listing was cut is not known to be gone. Only a fragment's
// line without its end passes, as long as it has its fields.
TEST(TVRImageIterator, ListingThatEndsInsideALineIsAnError) {
  const std::string listing =
      image("c", "p", "10") + frag("1", "1", "5") + image("c", "p", "11") + frag("1", "1", "6");
  for (std::size_t length = 0; length <= listing.size(); ++length) {
    const std::string text = listing.substr(0, length);
    std::string last = text.substr(text.find_last_of('\n') + 1);
    const bool is_whole = last.empty();
    if (!is_whole) last.pop_back();
    const bool passes =
        last.compare(0, 4, "FRAG") == 0 && std::count(last.begin(), last.end(), ' ') == 25;
    const std::string found = images(text, "");
    EXPECT_EQ(found.find("status 4") == std::string::npos, is_whole || passes) << text;
  }
}

TEST(TVRImageIterator, AbandonedListingClosesQuietlyAndItsEndIsFinal) {
  const support::TempDir dir;
  support::write_script(dir.path() / "tvimagequery", "echo '" + image("c", "p", "1") +
                                                         frag("1", "1", "5") + "'; yes '" +
                                                         image("c", "p", "2") + "'; exit 25\n");
  { const TVRImageIterator abandoned(dir.path(), "pool", 1); }
  TVRImageIterator end;
  EXPECT_THROW(++end, Cr_ErrnoException);
}

}  // namespace
