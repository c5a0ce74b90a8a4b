#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <boost/program_options.hpp>

#include "cr/config.h"
#include "report/escape.h"
#include "report/output_file.h"
#include "report/report.h"
#include "report/views.h"

namespace {

namespace po = boost::program_options;

constexpr int k_complete = 0;
constexpr int k_no_report = 1;
constexpr int k_incomplete = 2;

constexpr const char* k_usage =
    "Usage: mdfixup-report [--text | --json | --html FILE] [--runs | --images]\n"
    "                      [LOG DIRECTORY | RECORD...]\n"
    "Shows what runs of mdfixup found and did, from the records in the log directory: all runs "
    "and,\n"
    "in detail, the newest run of each task. A record is named by its file or by the id of its "
    "run,\n"
    "and is then shown in detail. Without a log directory, the one of the storage's configuration "
    "is\n"
    "read. Nothing is changed.\n";

po::options_description describe() {
  po::options_description options("Options");
  auto add = options.add_options();
  add("text", "tables for the terminal (the default)");
  add("json", "JSON, of the version that it names");
  add("html", po::value<std::string>()->value_name("FILE"),
      "one page, written to FILE; - is standard output");
  add("runs", "only the table of runs");
  add("images", "one line, or one JSON object, for each orphan");
  add("help,h", "show this help");
  return options;
}

// The log directory that the configuration names.
std::string configured_log_dir() {
  const auto config = cr::Config::init_from_ksregistry(cr::registry_file(), cr::k_registry_key);
  std::string dir = cr::get_log_dir(config).string();
  if (dir.empty()) throw std::runtime_error("name a log directory, or records");
  return dir;
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
  const std::pair<std::vector<const char*>, const char*> rows[] = {
      {{"text", "json", "html"}, "--text, --json and --html exclude each other"},
      {{"runs", "images"}, "--runs and --images exclude each other"},
      {{"html", "images"}, "--html and --images exclude each other"}};
  for (const auto& [names, fault] : rows) {
    std::size_t count = 0;
    for (const char* name : names) count += given.count(name);
    if (count > 1) throw std::invalid_argument(fault);
  }
  return given;
}

report::Request request_of(const po::variables_map& given) {
  report::Request request;
  request.configured = configured_log_dir;
  if (given.count("path") != 0) request.words = given["path"].as<report::Texts>();
  if (given.count("runs") != 0) request.scope = report::Scope::runs;
  if (given.count("images") != 0) request.scope = report::Scope::images;
  if (given.count("html") != 0) request.most_rows = report::k_most_page_rows;
  if (given.count("json") + given.count("html") == 0) request.most_rows = report::k_most_text_rows;
  return request;
}

void write(const po::variables_map& given, const report::Report& report) {
  const bool images = given.count("images") != 0;
  if (given.count("html") != 0) {
    const auto file = given["html"].as<std::string>();
    if (file == "-") return report::write_page(report, std::cout);
    std::ostringstream page;
    report::write_page(report, page);
    report::store(file, page.str());
  } else if (given.count("json") != 0) {
    images ? report::write_json_images(report, std::cout) : report::write_json(report, std::cout);
  } else {
    images ? report::write_images(report, std::cout) : report::write_text(report, std::cout);
  }
}

int run(int argc, char** argv) {
  const po::variables_map given = parse(argc, argv);
  if (given.count("help") != 0) {
    std::cout << k_usage << describe();
    return k_complete;
  }
  const report::Report report = report::make_report(request_of(given));
  for (const report::Fault& fault : report.faults) {
    std::cerr << "mdfixup-report: " + report::printable(fault.path) + ": " +
                     report::printable(fault.text) + "\n";
  }
  if (report.runs.count == 0) {
    std::cerr << "mdfixup-report: no record of a run was found\n";
    return k_no_report;
  }
  write(given, report);
  if (!std::cout.flush()) throw std::runtime_error("standard output could not be written");
  return report.faults.empty() ? k_complete : k_incomplete;
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  try {
    return run(argc, argv);
  } catch (const po::error& error) {
    std::cerr << std::string("mdfixup-report: ") + error.what() + "\n" + k_usage;
  } catch (const std::exception& error) {
    std::cerr << std::string("mdfixup-report: ") + error.what() + "\n";
  }
  return k_no_report;
}
