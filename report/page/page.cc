#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <boost/algorithm/string/join.hpp>

#include "report/escape.h"
#include "report/page/consistency.h"
#include "report/page/parts.h"
#include "report/page/runs.h"
#include "report/page/section.h"
#include "report/views.h"
#include "report/wording.h"

namespace report {

namespace page {

namespace {

template <class D>
using Writer = void (*)(const D&, const std::string&, std::ostream&);

// Sections of one kind have numbers in their ids, from 1.
template <class D>
void for_each_id(const std::vector<D>& all, const char* kind, Writer<D> write, std::ostream& out) {
  std::size_t number = 0;
  for (const D& details : all) write(details, kind + std::to_string(++number), out);
}

template <class D>
void write_link(const D& details, const std::string& id, std::ostream& out) {
  out << "<a href=\"#" << id << "\">" << html(title_of(details)) << "</a>\n";
}

void write_head(const std::string& title, std::ostream& out) {
  out << "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      << R"(<meta http-equiv="Content-Security-Policy" content=")" << k_content_security_policy
      << "\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      << "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" << html(title)
      << "</title>\n<style>" << k_style << "</style>\n</head>\n<body>\n";
}

// What the page tells of in detail: "dry run, case scan".
std::string subject_of(const Report& report) {
  std::vector<std::string> names;
  const auto add = [&](const auto& all) {
    for (const auto& details : all) names.push_back(name_of(details.task));
  };
  add(report.consistency);
  add(report.scans);
  add(report.repairs);
  return names.empty() ? "no run in detail" : boost::join(names, ", ");
}

std::string span_of(const Report& report) {
  if (report.runs.empty()) return "The logs that were read tell of no run.";
  const auto start = [](const Run& run) { return to_the_second(run.start); };
  const std::string last = start(report.runs.front());
  if (report.runs.size() == 1) return "One run in the run log, of " + last + ", the host's time.";
  return with_commas(report.runs.size()) + " runs in the run log, from " +
         start(report.runs.back()) + " to " + last + ", the host's time.";
}

void write_header(const Report& report, std::ostream& out) {
  out << "<header>\n<h1>mdfixup report: " << html(subject_of(report)) << "</h1>\n<p>"
      << html(span_of(report)) << "</p>\n<nav aria-label=\"Sections\">\n";
  for_each_id<ConsistencyDetails>(report.consistency, "consistency", write_link, out);
  for_each_id<ScanDetails>(report.scans, "scan", write_link, out);
  for_each_id<RepairDetails>(report.repairs, "repair", write_link, out);
  out << "<a href=\"#runs\">All runs</a>\n<a href=\"#files\">Files read</a>\n</nav>\n</header>\n";
}

void write_unread(const Report& report, std::ostream& out) {
  if (report.whole()) return;
  out << "<section class=\"alert\"><h2>Not everything could be read</h2>\n<p>What follows may lack "
         "part of what the runs did.</p><ul>\n";
  for (const SourceFile& file : report.files) {
    if (!file.whole())
      out << "<li>" << code(file.path) << ": " << html(fault_of(file)) << "</li>\n";
  }
  out << "</ul></section>\n";
}

// The runs that have a section say there what was wrong with them; of the others this is the only word
// before the table of all runs.
void write_other_runs(const Report& report, std::ostream& out) {
  std::vector<const Run*> told;
  const auto add = [&](const auto& all) {
    for (const auto& details : all) {
      if (details.run) told.push_back(&*details.run);
    }
  };
  add(report.consistency);
  add(report.scans);
  add(report.repairs);
  std::uint64_t failed = 0;
  std::uint64_t warned = 0;
  for (const Run& run : report.runs) {
    const bool is_told = std::any_of(told.begin(), told.end(), [&](const Run* other) {
      return other->pid == run.pid && other->start == run.start;
    });
    if (is_told) continue;
    if (!run.ended_well()) ++failed;
    if (run.warnings.count != 0) ++warned;
  }
  if (failed == 0 && warned == 0) return;
  out << "<p class=\"note\">Of the other runs, " << with_commas(failed) << " did not end well and "
      << with_commas(warned) << " had warnings: see <a href=\"#runs\">all runs</a>.</p>\n";
}

}  // namespace

}  // namespace page

void write_page(const Report& report, std::ostream& out) {
  page::write_head("mdfixup report: " + page::subject_of(report), out);
  page::write_header(report, out);
  out << "<main>\n";
  page::write_unread(report, out);
  page::write_other_runs(report, out);
  page::for_each_id<ConsistencyDetails>(report.consistency, "consistency", page::write_consistency,
                                        out);
  page::for_each_id<ScanDetails>(report.scans, "scan", page::write_scan, out);
  page::for_each_id<RepairDetails>(report.repairs, "repair", page::write_repair, out);
  page::write_runs(report, out);
  page::write_files(report, out);
  out << "</main>\n<script>" << page::k_script << "</script>\n</body>\n</html>\n";
}

}  // namespace report
