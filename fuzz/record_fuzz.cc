#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>

#include <boost/filesystem/operations.hpp>
#include <nlohmann/json.hpp>

#include "fuzz/memory_file.h"
#include "report/report.h"
#include "report/views.h"
#include "sandbox/text_file.h"

namespace {

// The output of a view. It must not contain control characters, even in names.
std::string harmless(const report::Report& made, decltype(report::write_text) write) {
  std::ostringstream out;
  write(made, out);
  for (const char c : out.str()) {
    if (c != '\n' && c != '\t' && static_cast<unsigned char>(c) < ' ') std::abort();
  }
  return out.str();
}

void show(const report::Request& request) {
  const report::Report made = report::make_report(request);
  for (const auto write : {report::write_text, report::write_page}) harmless(made, write);
  if (nlohmann::json::parse(harmless(made, report::write_json))["version"] != 2) std::abort();
}

}  // namespace

// A record. It is rejected, or every view succeeds, with valid JSON and without control characters.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto file = boost::filesystem::temp_directory_path() / std::to_string(::getpid());
  sandbox::write_text(file, fuzz::text_of(data, size));
  report::Request request;
  request.words = {file.string()};
  show(request);
  request.scope = report::Scope::images;
  const report::Report images = report::make_report(request);
  // Orphans are read during the output, so this may fail.
  (void)fuzz::succeeds([&] {
    harmless(images, report::write_text);
    std::istringstream lines(harmless(images, report::write_json));
    for (std::string line; std::getline(lines, line);) (void)nlohmann::json::parse(line);
  });
  request = {};
  request.words = {file.string(), file.string()};
  request.is_comparison = true;
  try {
    show(request);
  } catch (const std::invalid_argument&) {
    // The run lists no orphans.
  }
  return 0;
}
