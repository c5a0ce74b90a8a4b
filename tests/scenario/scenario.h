#pragma once

#include <gtest/gtest.h>

#include <boost/algorithm/string.hpp>
#include <boost/filesystem/operations.hpp>

#include "tests/support/scene.h"

// Whole runs of the program, with a namespace for each file.
namespace scenario {

namespace fs = boost::filesystem;
using boost::algorithm::ends_with;
using boost::algorithm::replace_all_copy;
using boost::algorithm::starts_with;

// Boost's takes minutes in a log that a sanitizer watches.
inline bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

inline void expect_parts(const std::string& text, const Words& parts) {
  for (const std::string& part : parts)
    EXPECT_TRUE(contains(text, part)) << part << "\nin " << text;
}

// Expects the steps in a trace, in this order.
inline void expect_in_order(const std::string& calls, const Words& steps) {
  std::size_t at = 0;
  for (const std::string& step : steps) {
    at = calls.find(step, at);
    ASSERT_NE(at, std::string::npos) << step << " in\n" << calls;
    at += step.size();
  }
}

// The leak sanitizer does not work in a traced process.
const std::string k_strace = "ASAN_OPTIONS=detect_leaks=0 exec strace -o trace ";

// Expects the exit status and the whole standard error.
inline void expect_end(const Ended& ended, int exit_status, const std::string& err) {
  EXPECT_EQ(ended.exit_status, exit_status) << err;
  EXPECT_EQ(ended.err, err);
}

// The error of a directory that was not compared, or of the whole listing if `dir` is empty.
inline std::string not_compared(const std::string& status, const fs::path& dir,
                                const std::string& text) {
  return "ERROR (" + status +
         ") : could not compare the Tavrin catalog and deduplication metadata" +
         (dir.empty() ? "" : " for " + dir.string()) + "; " + text + "\n";
}

inline void expect_failure(const Ended& ended, const Words& err_parts) {
  EXPECT_EQ(ended.exit_status, 1) << ended.err;
  expect_parts(ended.err, err_parts);
}

// Stores POs in policy p of each client; their names are the client's and one of the ends.
inline void put_own(const Scene& scene, const Words& clients, const Words& ends) {
  for (const std::string& client : clients) {
    Words basenames;
    for (const std::string& end : ends) basenames.push_back(client + end);
    scene.put(client, "p", basenames);
  }
}

inline fs::path runs_dir(const Scene& scene) {
  return scene.log_dir() / layout::k_records;
}

inline void remove_reports(const Scene& scene) {
  fs::remove_all(scene.log_dir() / layout::k_consistency_logs);
}

// The records of a task's runs.
inline std::vector<fs::path> records_of(const Scene& scene, const std::string& task) {
  std::vector<fs::path> records;
  for (const auto& entry : fs::directory_iterator(runs_dir(scene))) {
    const fs::path& file = entry.path();
    if (file.extension() == ".db" && sqlite(file, "SELECT task FROM run") == task + "\n")
      records.push_back(file);
  }
  return records;
}

inline std::string id_of(const Scene& scene, const std::string& task) {
  return records_of(scene, task).at(0).stem().string();
}

// The rows of a query on these records, sorted.
inline Words rows_of(const Scene& scene, const std::string& task, const std::string& query) {
  std::string rows;
  for (const fs::path& record : records_of(scene, task)) rows += sqlite(record, "SELECT " + query);
  return sorted_lines(rows);
}

// A long record fills a chain of pages. Makes the first page point to none.
inline void damage_long_record(const fs::path& po_db) {
  const std::string page =
      sqlite(po_db, "SELECT min(pageno) FROM dbstat WHERE pagetype = 'overflow'");
  std::string bytes = read_text(po_db);
  write_text(po_db, bytes.replace((std::stoul(page) - 1) * 4096, 4, "\x7f\xff\xff\xff"));
}

}  // namespace scenario
