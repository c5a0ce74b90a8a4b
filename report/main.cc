#include <exception>
#include <initializer_list>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include <boost/filesystem/operations.hpp>
#include <boost/program_options.hpp>

#include "config/version.h"
#include "report/escape.h"
#include "report/fleet/fleet.h"
#include "report/metrics/metrics.h"
#include "report/output_file.h"
#include "report/report.h"
#include "report/views.h"

namespace {

namespace po = boost::program_options;

constexpr int k_complete = 0;
constexpr int k_no_report = 1;
constexpr int k_incomplete = 2;

constexpr const char* k_usage =
    R"(Usage: mdfixup-report [--text | --json | --html FILE] [--runs | --images]
                      [LOG DIRECTORY | RECORD...]
       mdfixup-report --compare [--text | --json | --html FILE] OLD NEW
       mdfixup-report --openmetrics [FILE] [LOG DIRECTORY]
       mdfixup-report --fleet [--text | --json | --html FILE] JSON...
Shows what runs of mdfixup found and did, from the records in the log directory: all runs and,
in detail, the newest run of each task. A record is named by its file or by the id of its run,
and is then shown in detail. OLD and NEW are records of dry runs, JSON the reports of several
hosts. Without a log directory, the one of the storage's configuration is read. Nothing is
changed.
)";

void complain(const std::string& text) {
  std::cerr << "mdfixup-report: " + text + "\n";
}

po::options_description describe() {
  po::options_description options("Options");
  auto add = options.add_options();
  add("text", "tables for the terminal (the default)");
  add("json", "JSON, of the version that it names");
  add("html", po::value<std::string>()->value_name("FILE"),
      "one page, written to FILE; - is standard output");
  add("runs", "only the table of runs");
  add("images", "one line, or one JSON object, for each orphan");
  add("openmetrics", po::value<std::string>()->implicit_value("-")->value_name("FILE"),
      "metrics for Prometheus, written to FILE or to standard output");
  add("fleet", "the JSON reports of several hosts");
  add("compare", "the orphans that two dry runs share, and those of one alone");
  add("version", "show the version");
  add("help,h", "show this help");
  return options;
}

po::variables_map parse(int argc, char** argv) {
  po::options_description all = describe();
  all.add_options()("path", po::value<report::Texts>());
  po::positional_options_description words;
  words.add("path", -1);
  po::variables_map given;
  namespace style = po::command_line_style;
  po::command_line_parser parser(argc, argv);
  parser.options(all).positional(words).style(style::unix_style & ~style::allow_guessing);
  po::store(parser.run(), given);
  const auto require_one_at_most = [&](std::initializer_list<const char*> names,
                                       const char* fault) {
    std::size_t count = 0;
    for (const char* name : names) count += given.count(name);
    if (count > 1) throw std::invalid_argument(fault);
  };
  require_one_at_most({"text", "json", "html"}, "--text, --json and --html exclude each other");
  require_one_at_most({"runs", "images"}, "--runs and --images exclude each other");
  require_one_at_most({"html", "images"}, "--html and --images exclude each other");
  require_one_at_most({"compare", "runs"}, "--compare and --runs exclude each other");
  require_one_at_most({"compare", "images"}, "--compare and --images exclude each other");
  for (const char* other : {"runs", "images", "compare", "openmetrics"}) {
    require_one_at_most({"fleet", other}, "--fleet excludes the other contents");
  }
  for (const char* other : {"text", "json", "html", "runs", "images", "compare"}) {
    require_one_at_most({"openmetrics", other}, "--openmetrics excludes all other forms");
  }
  return given;
}

report::Request request_of(const po::variables_map& given) {
  report::Request request;
  if (given.count("path") != 0) request.words = given["path"].as<report::Texts>();
  request.is_comparison = given.count("compare") != 0;
  if (given.count("runs") != 0) request.scope = report::Scope::runs;
  if (given.count("images") != 0) request.scope = report::Scope::images;
  if (given.count("html") != 0) request.max_rows = report::k_max_page_rows;
  if (given.count("json") + given.count("html") == 0) request.max_rows = report::k_max_text_rows;
  return request;
}

void write(const po::variables_map& given, const report::Report& report) {
  if (given.count("json") != 0) return report::write_json(report, std::cout);
  if (given.count("html") == 0) return report::write_text(report, std::cout);
  const auto file = given["html"].as<std::string>();
  if (file == "-") return report::write_page(report, std::cout);
  std::ostringstream page;
  report::write_page(report, page);
  report::write_output_file(file, page.str(), report::k_page_form);
}

// Prints them on standard error. The exit status of a report with these faults.
int report_faults(const std::vector<report::Fault>& faults) {
  for (const report::Fault& fault : faults) {
    complain(report::printable(fault.path) + ": " + report::printable(fault.text));
  }
  return faults.empty() ? k_complete : k_incomplete;
}

void require_written() {
  if (!std::cout.flush()) throw std::runtime_error("standard output could not be written");
}

// A directory after --openmetrics is no file to write, but one to read.
int write_metrics(const po::variables_map& given) {
  auto file = given["openmetrics"].as<std::string>();
  report::Texts words = request_of(given).words;
  boost::system::error_code error;
  if (boost::filesystem::is_directory(file, error)) words.push_back(std::exchange(file, "-"));
  const report::Metrics metrics = report::make_metrics(words);
  if (file == "-") {
    std::cout << metrics.text;
    require_written();
  } else {
    report::write_output_file(file, metrics.text, report::k_metrics_form);
  }
  return report_faults(metrics.faults);
}

int run(int argc, char** argv) {
  const po::variables_map given = parse(argc, argv);
  if (given.count("version") != 0) {
    std::cout << version_text("mdfixup-report");
    return k_complete;
  }
  if (given.count("help") != 0) {
    std::cout << k_usage << describe();
    return k_complete;
  }
  if (given.count("openmetrics") != 0) return write_metrics(given);
  const report::Report report = given.count("fleet") != 0
                                    ? report::fleet::make_report(request_of(given).words)
                                    : report::make_report(request_of(given));
  const int status = report_faults(report.faults);
  if (report.overview.count == 0) {
    complain("no record of a run was found");
    return k_no_report;
  }
  write(given, report);
  require_written();
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  try {
    return run(argc, argv);
  } catch (const po::error& error) {
    complain(error.what());
    std::cerr << k_usage;
  } catch (const std::exception& error) {
    complain(error.what());
  }
  return k_no_report;
}
