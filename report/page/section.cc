#include "report/page/section.h"

#include <cctype>
#include <sstream>

#include "report/escape.h"
#include "report/page/table.h"
#include "report/wording.h"

namespace report::page {

namespace {

void write_fact(const char* name, const std::string& html, std::ostream& out) {
  out << "<div><dt>" << name << "</dt><dd>" << html << "</dd></div>\n";
}

void write_failed(const FailedDirs& failed, const std::string& id, std::ostream& out) {
  if (failed.count == 0) return;
  heading(id, "Failed directories", out);
  if (failed.count > failed.first.size()) {
    write_note("The first " + with_commas(failed.first.size()) + " of " +
                   with_commas(failed.count) + "; the log of the task names all.",
               out);
  }
  Table table(out, "What failed, and why", {{"Directory", Column::verbatim}, {"Reason"}});
  for (const FailedDir& dir : failed.first) {
    table.row();
    table.cell(code(dir.dir));
    table.text(dir.reason);
  }
  table.end();
}

void write_notes_below(const char* title, const std::string& id, const Notes& notes,
                       std::ostream& out) {
  if (notes.count == 0) return;
  heading(id, title, out);
  write_notes(notes, out);
}

}  // namespace

std::string code(std::string_view text) {
  return "<code>" + html(text) + "</code>";
}

std::string code_words(const std::vector<std::string>& words) {
  std::string result = "<code>";
  for (const std::string& word : words) result += "<span>" + html(word) + "</span> ";
  return result + "</code>";
}

std::string arguments_of(const Run& run) {
  std::vector<std::string> words;
  std::istringstream arguments(run.arguments);
  for (std::string word; std::getline(arguments, word, ' ');) words.push_back(word);
  return code_words(words);
}

void open_section(const std::string& id, const std::string& title, std::ostream& out) {
  out << "<section id=\"" << id << "\">\n<h2>" << html(title) << "</h2>\n";
}

void heading(const std::string& id, const std::string& title, std::ostream& out) {
  out << "<h3 id=\"" << id << "\">" << html(title) << "</h3>\n";
}

std::string id_of(Concern::About about) {
  switch (about) {
    case Concern::About::share:
    case Concern::About::whole_dirs:
      return "-orphans";
    case Concern::About::other_copies:
      return "-other";
    case Concern::About::failed:
      return "-failed";
    case Concern::About::errors:
      return "-errors";
    case Concern::About::warnings:
      return "-warnings";
    case Concern::About::names:
      return "-names";
    case Concern::About::collisions:
      return "-collisions";
    case Concern::About::run:
    case Concern::About::options:
    case Concern::About::counts:
      break;
  }
  return "-run";
}

void write_concerns(const std::vector<Concern>& concerns, const std::string& id,
                    std::ostream& out) {
  if (concerns.empty()) {
    out << "<p class=\"calm\"><strong>" << k_no_concern << "</strong> " << k_no_concern_caveat
        << "</p>\n";
    return;
  }
  out << "<div class=\"alert\"><h3>Look at this first</h3><ul>\n";
  for (const Concern& concern : concerns) {
    out << "<li><a href=\"#" << id << id_of(concern.about) << "\">"
        << html(capitalized(concern.text)) << "</a></li>\n";
  }
  out << "</ul></div>\n";
}

void write_run_facts(const Details& details, const std::string& id, std::ostream& out) {
  out << R"(<dl class="facts" id=")" << id << id_of(Concern::About::run) << "\">\n";
  if (details.run) {
    const Run& run = *details.run;
    const std::string took = run.summary ? ", after " + run.summary->seconds + " s" : "";
    write_fact("Ending", html(ending_of(run) + took), out);
    write_fact("Arguments", arguments_of(run), out);
  } else {
    write_fact("Ending", "not known", out);
  }
  out << "</dl>\n";
}

void write_troubles(const Details& details, const std::string& id, std::ostream& out) {
  write_failed(details.failed, id + id_of(Concern::About::failed), out);
  write_notes_below("Errors in the log of the task", id + id_of(Concern::About::errors),
                    details.errors, out);
  if (!details.run) return;
  write_notes_below("Warnings in the run log", id + id_of(Concern::About::warnings),
                    details.run->warnings, out);
}

void close_section(const Details& details, std::ostream& out) {
  out << "<p class=\"note\">From " << code_words(details.files) << "</p>\n</section>\n";
}

void write_notes(const Notes& notes, std::ostream& out) {
  out << "<ul class=\"log\">\n";
  for (const std::string& note : notes.first) out << "<li>" << code(note) << "</li>\n";
  out << "</ul>\n";
  if (notes.count > notes.first.size()) {
    write_note(with_commas(notes.count - notes.first.size()) + " more stand in the log.", out);
  }
}

void write_note(const std::string& text, std::ostream& out) {
  out << "<p class=\"note\">" << html(text) << "</p>\n";
}

void say_rows_left_out(std::size_t shown, std::size_t kept, std::ostream& out) {
  if (shown == kept) return;
  write_note("The first " + with_commas(shown) + " of " + with_commas(kept) + " rows; " +
                 with_commas(kept - shown) +
                 " more are too many for a page: mdfixup-report --json has all of them.",
             out);
}

}  // namespace report::page
