#pragma once

#include <nlohmann/json.hpp>

#include "tests/scenario/scenario.h"

// Runs of the report.
namespace scenario::report_test {

using Json = nlohmann::json;

inline Ended report(const Words& arguments) {
  const Words command = joined({MDFIXUP_REPORT_PROGRAM}, arguments);
  return sandbox::run(command, {{"TZ", "UTC"}, {"KSREGISTRY", "/no/such"}});
}

inline Json json(const Words& arguments) {
  return Json::parse(report(joined(arguments, {"--json"})).out);
}

// Expects each key on the page.
inline void expect_documented(const Json& json, const std::string& page) {
  if (json.is_object()) {
    for (const auto& [key, value] : json.items()) {
      EXPECT_TRUE(contains(page, "`" + key + "`")) << key;
      expect_documented(value, page);
    }
  }
  if (json.is_array() && !json.empty()) expect_documented(json[0], page);
}

}  // namespace scenario::report_test
