#include <gtest/gtest.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/lexical_cast.hpp>

#include "catalog/podb/basename_time_and_copy.h"
#include "catalog/podb/po_filename.h"
#include "platform/status.h"

namespace {

const std::string k_client = "hA";

// What parsing gave, in words: the fields; or the status and text, with "$" for the basename; or
// "bad cast".
template <class Parse>
std::string outcome(const std::string& basename, Parse parse) {
  try {
    return parse();
  } catch (const Cr_ErrnoException& error) {
    const std::string text = std::to_string(error.GetStatus()) + " " + error.GetString();
    return basename.empty() ? text : boost::replace_all_copy(text, basename, "$");
  } catch (const boost::bad_lexical_cast& error) {
    EXPECT_NE(std::string(error.source_type().name()).find("iterator_range"), std::string::npos);
    return "bad cast";
  }
}

std::string full(const std::string& basename) {
  return outcome(basename, [&] {
    catalog::podb::POFilename name;
    name.fragment_number = 77;
    name.extra_number = 88;
    name.parse(basename, k_client);
    return name.client_name + " " + std::to_string(name.backup_time) + " " +
           std::to_string(name.copy_number) + " " + std::to_string(name.fragment_number) + " " +
           std::to_string(name.extra_number) + " " + name.suffix;
  });
}

std::string light(const std::string& basename, catalog::podb::BasenameTimeAndCopy name = {}) {
  return outcome(basename, [&] {
    name.parse(basename, k_client);
    return name.client_name + " " + std::to_string(name.backup_time) + " " +
           std::to_string(name.copy_number);
  });
}

TEST(Basename, Parses) {
  const std::string few = "4 $ has too few underscores";
  const std::string many = "4 $ has too many underscores";
  const std::string unknown = "4 $ has as unknown fragment type";
  const std::string prefix = "4 hA does not match the prefix of $";
  const std::string letter_case = "4 the client directory name hA does not match the case of ha";
  const std::string rows[][3] = {
      {"hA_1602000000_C1_F1.img", "hA 1602000000 1 1 88 img", "hA 1602000000 1"},
      {"hA_5_C2_TIR3.map", "hA 5 2 -3 88 map", "hA 5 2"},
      {"hA_5_C2_TIR-2147483648.map", "hA 5 2 -2147483648 88 map", "hA 5 2"},
      {"hA_5_C1_HDR.info", "hA 5 1 77 88 info", "hA 5 1"},
      {"hA_5_C10_HDR.info", "hA 5 10 77 88 info", "hA 5 10"},
      {"hA_5_C1_F2_S4.img", "hA 5 1 2 4 img", "hA 5 1"},
      {"hA_1_C1_F1.img.a.b", "hA 1 1 1 88 img", "hA 1 1"},
      {"hA-1_C1_F1.img", "hA 1 1 1 88 img", "hA 1 1"},
      {"hA_-1_C-1_F1.", "hA -1 4294967295 1 88 ", "hA -1 4294967295"},
      {"ha_1_C1_F1.img", letter_case, letter_case},
      {"hB_1_C1_F1.img", prefix, prefix},
      {"EVENT_1_C1_F1.img", "103 EVENT", "103 EVENT"},
      {"hA_1_C1_F1.img[R]", "103 [R]", "hA 1 1"},
      {"ha_1_C1_F1.img[R]", "103 [R]", letter_case},
      {"hA_1_C1", few, few},
      {"hA_1_C1_F1_x_y_z_w", many, "hA 1 1"},
      {"hA_1_C1_1_2_3_4_5_6", many, many},
      {"hA_1_C1_X1.img", unknown, "hA 1 1"},
      {"hA_1_C1_HDRx.img", unknown, "hA 1 1"},
      {"hA_1_C1_TIR.img", "bad cast", "hA 1 1"},
      {"hA_1_C1_F1__img", "bad cast", "hA 1 1"},
      {"hA_1__F1.img", "bad cast", "bad cast"},
      {"hA_9223372036854775808_C1_F1.img", "bad cast", "bad cast"},
      {"hA", "4 $ does not match the prefix of $", "4 $ does not match the prefix of $"},
      {"", "4 hA does not match the prefix of ", "4 hA does not match the prefix of "},
  };
  for (const auto& [basename, full_outcome, light_outcome] : rows) {
    EXPECT_EQ(full(basename), full_outcome) << basename;
    EXPECT_EQ(light(basename), light_outcome) << basename;
    for (const auto& before : rows) {
      catalog::podb::BasenameTimeAndCopy used;
      (void)outcome(before[0], [&] { return used.parse(before[0], k_client), ""; });
      EXPECT_EQ(light(basename, used), light_outcome) << basename << " behind " << before[0];
    }
  }
}

}  // namespace
