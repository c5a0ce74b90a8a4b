#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include <boost/filesystem/operations.hpp>
#include <nlohmann/json.hpp>

#include "report/collect.h"
#include "report/views.h"
#include "sandbox/text_file.h"

namespace fs = boost::filesystem;

namespace {

// The names of the logs, by the digit that the input begins with.
constexpr const char* k_names[] = {"mdfixup.log",
                                   "OrphanImages_1.log",
                                   "MissingImages_1.log",
                                   "PolicyDirs_1.log",
                                   "client_names_with_case_sensitivity_issues.1",
                                   "repaired_client_names_with_case_sensitivity_issues.1",
                                   "dedupe_client_name_repair_collisions.1"};

// Removed when the process ends.
class LogDir {
 public:
  LogDir() { fs::create_directories(m_path); }
  ~LogDir() { fs::remove_all(m_path); }
  std::string file(const char* name) const { return (m_path / name).string(); }

 private:
  const fs::path m_path = fs::temp_directory_path() / fs::unique_path();
};

}  // namespace

// A digit for the kind of log, and the log. Whatever it holds: every view can be made, JSON is JSON,
// and nothing that acts on a terminal is shown.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || data[0] < '0' || data[0] > '6') return -1;
  static const LogDir dir;
  const std::string log = dir.file(k_names[data[0] - '0']);
  sandbox::write_text(log, std::string(reinterpret_cast<const char*>(data + 1), size - 1));
  const report::Report report = report::collect({log});
  std::ostringstream text;
  report::write_text(report, text);
  for (const char c : text.str()) {
    if (c != '\n' && static_cast<unsigned char>(c) < ' ') std::abort();
  }
  std::ostringstream json;
  report::write_json(report, json);
  if (nlohmann::json::parse(json.str())["version"] != 1) std::abort();
  std::ostringstream page;
  report::write_page(report, page);
  return 0;
}
