#include <gtest/gtest.h>

#include <iostream>
#include <random>

#include <boost/algorithm/string.hpp>
#include <boost/lexical_cast.hpp>

#include "catalog/podb/basename_time_and_copy.h"
#include "catalog/podb/po_filename.h"
#include "platform/status.h"

namespace {

using catalog::podb::BasenameTimeAndCopy;
using catalog::podb::POFilename;

// What parsing gave, in words: the fields, the status and text, or "bad cast".
template <class Parse>
std::string outcome(Parse parse) {
  try {
    return parse();
  } catch (const Cr_ErrnoException& error) {
    return std::to_string(error.GetStatus()) + " " + error.GetString();
  } catch (const boost::bad_lexical_cast& error) {
    EXPECT_NE(std::string(error.source_type().name()).find("iterator_range"), std::string::npos);
    return "bad cast";
  }
}

std::string full(const std::string& basename, const std::string& client) {
  return outcome([&] {
    POFilename name;
    name.fragment_number = 77;
    name.extra_number = 88;
    name.parse(basename, client);
    return name.client_name + " " + std::to_string(name.backup_time) + " " +
           std::to_string(name.copy_number) + " " + std::to_string(name.fragment_number) + " " +
           std::to_string(name.extra_number) + " " + name.suffix;
  });
}

std::string light(const std::string& basename, const std::string& client) {
  return outcome([&] {
    BasenameTimeAndCopy name;
    name.parse(basename, client);
    return name.client_name + " " + std::to_string(name.backup_time) + " " +
           std::to_string(name.copy_number);
  });
}

TEST(Basename, Parses) {
  const struct {
    std::string basename;
    std::string full;
    std::string light;
  } rows[] = {
      {"hostA_1602000000_C1_F1.img", "hostA 1602000000 1 1 88 img", "hostA 1602000000 1"},
      {"hostA_1602000000_C2_TIR3.map", "hostA 1602000000 2 -3 88 map", "hostA 1602000000 2"},
      {"hostA_5_C2_TIR-2147483648.map", "hostA 5 2 -2147483648 88 map", "hostA 5 2"},
      {"hostA_1602000000_C1_HDR.info", "hostA 1602000000 1 77 88 info", "hostA 1602000000 1"},
      {"hostA_1602000000_C1_F2_S4.img", "hostA 1602000000 1 2 4 img", "hostA 1602000000 1"},
      {"hostA_1_C1_F1.img.a.b", "hostA 1 1 1 88 img", "hostA 1 1"},
      {"hostA-1_C1_F1.img", "hostA 1 1 1 88 img", "hostA 1 1"},
      {"hostA_-1_C-1_F1.", "hostA -1 4294967295 1 88 ", "hostA -1 4294967295"},
      {"HostA_1_C1_F1.img", "4 the client directory name hostA does not match the case of HostA",
       "4 the client directory name hostA does not match the case of HostA"},
      {"hostB_1_C1_F1.img", "4 hostA does not match the prefix of hostB_1_C1_F1.img",
       "4 hostA does not match the prefix of hostB_1_C1_F1.img"},
      {"EVENT_1_C1_F1.img", "103 EVENT", "103 EVENT"},
      {"hostA_1_C1_F1.img[R]", "103 [R]", "hostA 1 1"},
      {"HostA_1_C1_F1.img[R]", "103 [R]",
       "4 the client directory name hostA does not match the case of HostA"},
      {"hostA_1_C1", "4 hostA_1_C1 has too few underscores",
       "4 hostA_1_C1 has too few underscores"},
      {"hostA_1_C1_F1_x_y_z_w", "4 hostA_1_C1_F1_x_y_z_w has too many underscores", "hostA 1 1"},
      {"hostA_1_C1_1_2_3_4_5", "4 hostA_1_C1_1_2_3_4_5 has too many underscores", "hostA 1 1"},
      {"hostA_1_C1_1_2_3_4_5_6", "4 hostA_1_C1_1_2_3_4_5_6 has too many underscores",
       "4 hostA_1_C1_1_2_3_4_5_6 has too many underscores"},
      {"hostA_1_C1_X1.img", "4 hostA_1_C1_X1.img has as unknown fragment type", "hostA 1 1"},
      {"hostA_1_C1_HDRx.img", "4 hostA_1_C1_HDRx.img has as unknown fragment type", "hostA 1 1"},
      {"hostA_1_C1_.img", "4 hostA_1_C1_.img has as unknown fragment type", "hostA 1 1"},
      {"hostA_1_C1_TIR.img", "bad cast", "hostA 1 1"},
      {"hostA_1_C1_F1__img", "bad cast", "hostA 1 1"},
      {"hostA_abc_C1_F1.img", "bad cast", "bad cast"},
      {"hostA_1__F1.img", "bad cast", "bad cast"},
      {"hostA_9223372036854775808_C1_F1.img", "bad cast", "bad cast"},
      {"hostA_1_C4294967296_F1.img", "bad cast", "bad cast"},
      {"hostA", "4 hostA does not match the prefix of hostA",
       "4 hostA does not match the prefix of hostA"},
      {"host", "4 hostA does not match the prefix of host",
       "4 hostA does not match the prefix of host"},
      {"", "4 hostA does not match the prefix of ", "4 hostA does not match the prefix of "},
      {"hostA_", "4 hostA_ has too few underscores", "4 hostA_ has too few underscores"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(full(row.basename, "hostA"), row.full) << row.basename;
    EXPECT_EQ(light(row.basename, "hostA"), row.light) << row.basename;
  }
}

// The light parser, spelled out over the general-purpose library.
std::string reference(const std::string& basename, const std::string& client) {
  return outcome([&]() -> std::string {
    const std::string prefix = basename.substr(0, client.size());
    if (basename.size() <= client.size() || !boost::iequals(prefix, client)) {
      if (boost::starts_with(basename, "EVENT_")) throw Cr_ErrnoException(103, "EVENT");
      throw Cr_ErrnoException(4, client + " does not match the prefix of " + basename);
    }
    if (prefix != client) {
      throw Cr_ErrnoException(
          4, "the client directory name " + client + " does not match the case of " + prefix);
    }
    std::vector<boost::iterator_range<const char*>> tokens;
    const char* rest = basename.c_str() + client.size() + 1;
    boost::split(tokens, boost::make_iterator_range(rest, rest + std::strlen(rest)),
                 boost::is_any_of("_."));
    if (tokens.size() < 4) throw Cr_ErrnoException(4, basename + " has too few underscores");
    if (tokens.size() > 7) throw Cr_ErrnoException(4, basename + " has too many underscores");
    const long time = boost::lexical_cast<long>(tokens[0]);
    if (!tokens[1].empty()) tokens[1].advance_begin(1);
    const auto copy = boost::lexical_cast<unsigned>(tokens[1]);
    return client + " " + std::to_string(time) + " " + std::to_string(copy);
  });
}

TEST(Basename, EqualsTheReferenceOnRandomNames) {
  const unsigned seed = std::random_device()();
  std::cout << "seed " << seed << "\n";
  std::mt19937 random(seed);
  const std::vector<std::string> pieces{"hostA", "HostA", "_", "_", "_", ".", "C1", "C",
                                        "F1",    "12",    "-", "+", "x", "]", "",   "99999999999"};
  for (int i = 0; i < 20000; ++i) {
    std::string name = random() % 4 == 0 ? "" : "hostA_";
    for (auto n = random() % 14; n > 0; --n) name += pieces[random() % pieces.size()];
    EXPECT_EQ(light(name, "hostA"), reference(name, "hostA")) << name;
  }
}

}  // namespace
