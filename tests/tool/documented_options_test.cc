#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "config/version.h"
#include "tests/scenario/scenario.h"
#include "tool/option_table.h"

namespace scenario::documented_options {

// Of each option: "flag", its default value, or "none"; "hidden" follows if the help omits it.
using Options = std::map<std::string, std::string>;

std::vector<std::smatch> matches(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  return {std::sregex_iterator(text.begin(), text.end(), regex), std::sregex_iterator()};
}

Words first_groups(const std::string& text, const char* pattern) {
  Words groups;
  for (const std::smatch& match : matches(text, pattern)) groups.push_back(match[1]);
  return groups;
}

Options options_of_the_table() {
  const std::string shown = sandbox::run({MDFIXUP_PROGRAM, "--help"}).out;
  Options options;
  for (const OptDescriptor* const* o = option_table(); *o != nullptr; ++o) {
    const std::string name = std::string("--") + (*o)->long_name;
    const std::string value = (*o)->default_text != nullptr ? (*o)->default_text : "none";
    const bool hidden = shown.find(name) == std::string::npos;
    options[name] = ((*o)->is_flag() ? "flag" : value) + (hidden ? " hidden" : "");
    if ((*o)->letter != 0) options[std::string("-") + (*o)->letter] = options[name];
  }
  return options;
}

Options options_of_the_help(const std::string& program) {
  const std::string shown = sandbox::run({program, "--help"}).out;
  Options options;
  for (const auto& m : matches(shown, "[ [](--?\\w+)(?: arg \\(=(\\S+)\\)| (?:\\[=?)?([A-Z]+))?")) {
    options.emplace(m[1], m[2].matched ? m[2].str() : m[3].matched ? "none" : "flag");
  }
  return options;
}

Options options_of_the_manual(const std::string& page) {
  const std::string text = read_text(MDFIXUP_SOURCE_DIR "/docs/man/" + page);
  Options options;
  for (const auto& item : matches(text, "\n\\.It Fl ([^\n]*)((?:\n(?!\\.It |\\.El)[^\n]*)*)")) {
    const std::string names = item[1], body = item[2];
    std::string what = names.find(" Ar ") == std::string::npos ? "flag" : "none";
    for (const auto& value : matches(body, "\nDefault: (\\S+)\\.(?=\n|$)")) what = value[1];
    if (body.find("\nNot in the help text.") != std::string::npos) what += " hidden";
    for (const auto& m : matches(names, "(?:^|Fl )(-?\\w+)")) options["-" + m[1].str()] = what;
  }
  return options;
}

// The completions of the last word; "<dirnames>" and the like if the function leaves it to bash.
Words offered_by_bash(const Words& words) {
  const char* const script = R"(compopt() { [[ $2 == nosort ]] || echo "<$2>"; }
    source "$0"
    registered=($(complete -p "$1")) COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    "${registered[2]}" "$1" "${COMP_WORDS[-1]#=}" "${COMP_WORDS[-2]}"
    printf '%s\n' "${COMPREPLY[@]}")";
  const Words bash{"bash", "-c", script, MDFIXUP_SOURCE_DIR "/packaging/completion/mdfixup.bash"};
  const Ended ended = sandbox::run(joined(bash, words));
  EXPECT_EQ(ended.err, "");
  return first_groups(ended.out, "([^\n]+)");
}

Words options_of_zsh(const std::string& function) {
  const std::string text = read_text(MDFIXUP_SOURCE_DIR "/packaging/completion/_mdfixup");
  const std::size_t begin = text.find("\n" + function + "() {");
  return first_groups(text.substr(begin, text.find("\n}", begin) - begin), "(--\\w+)=?\\[");
}

TEST(DocumentedOptions, AreThoseOfTheProgram) {
  // The program, its manual page and zsh function, and the words before its options in bash.
  const std::tuple<const char*, const char*, const char*, Words> programs[] = {
      {MDFIXUP_PROGRAM, "mdfixup.8", "_mdfixup_tasks", {"mdfixup"}},
      {MDFIXUP_SANDBOX_PROGRAM,
       "mdfixup-sandbox.1",
       "_mdfixup_sandbox",
       {"mdfixup-sandbox", "create", "dir"}},
      {MDFIXUP_REPORT_PROGRAM, "mdfixup-report.1", "_mdfixup_report", {"mdfixup-report"}},
      {MDFIXUP_UNDO_PROGRAM, "mdfixup-undo.8", "_mdfixup_undo", {"mdfixup-undo", "restore", "1-2"}},
  };
  for (auto [program, page, zsh_function, words] : programs) {
    const bool has_table = words[0] == "mdfixup";
    const Options options = has_table ? options_of_the_table() : options_of_the_help(program);
    EXPECT_EQ(sandbox::run({program, "--version"}).out, version_text(words[0]));
    EXPECT_EQ(options_of_the_manual(page), options) << page;
    std::set<std::string> names;
    words.emplace_back();
    for (const auto& [name, what] : options) {
      if (name.rfind("--", 0) == 0) names.insert(name);
      if (what.rfind("flag", 0) == 0) continue;
      Words with_value = words;
      with_value.insert(with_value.end() - 1, name);
      for (const auto& word : offered_by_bash(with_value)) EXPECT_EQ(word[0], '<') << name;
    }
    words.back() = "--";
    for (const Words& offered : {offered_by_bash(words), options_of_zsh(zsh_function)})
      EXPECT_EQ(std::set<std::string>(offered.begin(), offered.end()), names) << page;
  }
  EXPECT_EQ(offered_by_bash({"mdfixup", "--F"}).size(), 2U) << "bash would complete a deletion";
}

}  // namespace scenario::documented_options
