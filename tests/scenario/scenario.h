#pragma once

#include <gtest/gtest.h>

#include <boost/algorithm/string.hpp>
#include <boost/filesystem/operations.hpp>

#include "tests/support/scene.h"

// Whole runs of the program, a namespace for each file, and what all of them use.
namespace scenario {

namespace fs = boost::filesystem;
using boost::algorithm::contains;
using boost::algorithm::ends_with;
using boost::algorithm::replace_all_copy;
using boost::algorithm::starts_with;
using support::Ended;
using support::lines_beginning;
using support::Scene;
using support::Words;

inline void expect_parts(const std::string& text, const Words& parts) {
  for (const std::string& part : parts)
    EXPECT_TRUE(contains(text, part)) << part << "\nin " << text;
}

// How a run ended, and all that it wrote to standard error.
inline void expect_end(const Ended& ended, int exit_status, const std::string& err) {
  EXPECT_EQ(ended.exit_status, exit_status) << err;
  EXPECT_EQ(ended.err, err);
}

// The pages of a record that is too long for one are a chain; the first is made to lead nowhere.
inline void damage_long_record(const fs::path& po_db) {
  const std::string page =
      support::sqlite(po_db, "SELECT min(pageno) FROM dbstat WHERE pagetype = 'overflow'");
  std::string bytes = support::read_text(po_db);
  support::write_text(po_db, bytes.replace((std::stoul(page) - 1) * 4096, 4, "\x7f\xff\xff\xff"));
}

}  // namespace scenario
