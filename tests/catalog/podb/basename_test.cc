#include <gtest/gtest.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/lexical_cast.hpp>

#include "catalog/podb/basename_time_and_copy.h"
#include "catalog/podb/po_filename.h"
#include "status/status.h"

namespace {

const std::string k_client = "hA";

// The result of parsing: the fields; or status and text, with "$" for the basename; or "bad cast".
template <class Name>
std::string outcome(Name& name, const std::string& basename) {
  try {
    name.parse(basename, k_client);
    std::string fields = name.client_name + " " + std::to_string(name.backup_time) + " " +
                         std::to_string(name.copy_number);
    if constexpr (std::is_same_v<Name, catalog::podb::POFilename>) {
      fields += " " + std::to_string(name.fragment_number) + " " +
                std::to_string(name.extra_number) + " " + name.suffix;
    }
    return fields;
  } catch (const Cr_ErrnoException& error) {
    const std::string text = std::to_string(error.GetStatus()) + " " + error.GetString();
    return basename.empty() ? text : boost::replace_all_copy(text, basename, "$");
  } catch (const boost::bad_lexical_cast&) {
    return "bad cast";
  }
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
      {"hA_5_C1_HDR.info", "hA 5 1 77 88 info", "hA 5 1"},
      {"hA_5_C12_F2_S4.img", "hA 5 12 2 4 img", "hA 5 12"},
      {"hA_1_C1_F1.img.a.b", "hA 1 1 1 88 img", "hA 1 1"},
      {"hA-1_C1_F1.^`\xdf/-\xae", "hA 1 1 1 88 ^`\xdf/-\xae", "hA 1 1"},
      {"hA_-1_C-1_F1.", "hA -1 4294967295 1 88 ", "hA -1 4294967295"},
      {"ha_1_C1_F1.img", letter_case, letter_case},
      {"hB_1_C1_F1.img", prefix, prefix},
      {"EVENT_1_C1_F1.img", "103 EVENT", "103 EVENT"},
      {"hA_1_C1_F1.img[R]", "103 [R]", "hA 1 1"},
      {"ha_1_C1_F1.img[R]", "103 [R]", letter_case},
      {"hA_1_C1", few, few},
      {"hA_1_C1_F1_x_y_z_w", many, "hA 1 1"},
      {"hA_1_C1_1_2_3_4_5_6", many, many},
      {"hA_1_C1_HDRx.img", unknown, "hA 1 1"},
      {"hA_1_C1_F1__img", "bad cast", "hA 1 1"},
      {"hA_1__F1.img", "bad cast", "bad cast"},
      {"hA_9223372036854775808_C1_F1.img", "bad cast", "bad cast"},
      {"hA_9223372036854775807_C4294967295_F-2147483648.img",
       "hA 9223372036854775807 4294967295 -2147483648 88 img", "hA 9223372036854775807 4294967295"},
      {"hA_1234567890123456_C12345678_F12345678.img",
       "hA 1234567890123456 12345678 12345678 88 img", "hA 1234567890123456 12345678"},
      {"hA_1_C4294967296_F1.img", "bad cast", "bad cast"},
      {"hA", "4 $ does not match the prefix of $", "4 $ does not match the prefix of $"},
      {"", "4 hA does not match the prefix of ", "4 hA does not match the prefix of "},
  };
  for (const auto& [basename, full_outcome, light_outcome] : rows) {
    catalog::podb::POFilename full;
    full.fragment_number = 77;
    full.extra_number = 88;
    EXPECT_EQ(outcome(full, basename), full_outcome) << basename;
    for (const auto& before : rows) {
      catalog::podb::BasenameTimeAndCopy used;
      (void)outcome(used, before[0]);
      EXPECT_EQ(outcome(used, basename), light_outcome) << basename << " after " << before[0];
    }
  }
}

}  // namespace
