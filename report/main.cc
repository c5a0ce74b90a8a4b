#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/program_options.hpp>

#include "cr/config.h"
#include "report/collect.h"
#include "report/escape.h"
#include "report/output_file.h"
#include "report/views.h"
#include "report/wording.h"

namespace {

namespace po = boost::program_options;

constexpr int k_complete = 0;
constexpr int k_no_report = 1;
constexpr int k_incomplete = 2;

constexpr const char* k_usage =
    "Usage: mdfixup-report [--text | --json | --html FILE] [LOG DIRECTORY | LOG FILE...]\n"
    "Shows what runs of mdfixup left in the log directory: the runs and how they ended and, of\n"
    "the newest run of each task or of the logs named, what was found. Without a path, the log\n"
    "directory of the storage's configuration is read. Nothing is changed.\n";

// For each form of a report, what writes it.
using Writer = void (*)(const report::Report&, std::ostream&);

struct Request {
  Writer writer = report::write_text;
  std::string file;  // standard output when empty
  std::vector<std::string> paths;
  bool help = false;
};

po::options_description describe() {
  po::options_description options("Options");
  auto add = options.add_options();
  add("text", "tables for the terminal (the default)");
  add("json", "JSON, of the version that it names");
  add("html", po::value<std::string>()->value_name("FILE"),
      "one page, written to FILE; - is standard output");
  add("help,h", "show this help");
  return options;
}

Request parse(int argc, char** argv) {
  po::options_description all = describe();
  all.add_options()("path", po::value<std::vector<std::string>>());
  po::positional_options_description words;
  words.add("path", -1);
  po::variables_map given;
  namespace style = po::command_line_style;
  po::store(po::command_line_parser(argc, argv)
                .options(all)
                .positional(words)
                .style(style::unix_style & ~style::allow_guessing)
                .run(),
            given);
  if (given.count("text") + given.count("json") + given.count("html") > 1) {
    throw std::invalid_argument("--text, --json and --html exclude each other");
  }
  Request request;
  request.help = given.count("help") != 0;
  if (given.count("path") != 0) request.paths = given["path"].as<std::vector<std::string>>();
  if (given.count("json") != 0) request.writer = report::write_json;
  if (given.count("html") != 0) {
    request.writer = report::write_page;
    request.file = given["html"].as<std::string>();
    if (request.file == "-") request.file.clear();
  }
  return request;
}

// The log directory that the configuration names.
std::string configured_log_dir() {
  const auto config = cr::Config::init_from_ksregistry(cr::registry_file(), cr::k_registry_key);
  std::string dir = cr::get_log_dir(config).string();
  if (dir.empty()) throw std::runtime_error("name a log directory, or log files");
  return dir;
}

void write(const Request& request, const report::Report& report) {
  if (request.file.empty()) {
    request.writer(report, std::cout);
    if (!std::cout.flush()) throw std::runtime_error("standard output could not be written");
    return;
  }
  std::ostringstream text;
  request.writer(report, text);
  report::store(request.file, text.str());
}

void tell_faults(const report::Report& report) {
  for (const report::SourceFile& file : report.files) {
    if (!file.whole()) {
      std::cerr << "mdfixup-report: " + report::printable(file.path) + ": " +
                       report::fault_of(file) + "\n";
    }
  }
}

int run(int argc, char** argv) {
  Request request = parse(argc, argv);
  if (request.help) {
    std::cout << k_usage << describe();
    return k_complete;
  }
  if (request.paths.empty()) request.paths.push_back(configured_log_dir());
  const report::Report report = report::collect(request.paths);
  tell_faults(report);
  if (!report.has_content()) {
    std::cerr << "mdfixup-report: no log of a run was found\n";
    return k_no_report;
  }
  write(request, report);
  return report.whole() ? k_complete : k_incomplete;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const po::error& error) {
    std::cerr << std::string("mdfixup-report: ") + error.what() + "\n" + k_usage;
  } catch (const std::exception& error) {
    std::cerr << std::string("mdfixup-report: ") + error.what() + "\n";
  }
  return k_no_report;
}
