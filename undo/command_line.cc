#include "undo/command_line.h"

#include <cstdint>
#include <iostream>
#include <stdexcept>
#include <vector>

#include "config/options.h"
#include "text/one_line.h"
#include "tool/option_table.h"

namespace undo {

namespace {

const char* opt_client = nullptr;
const char* opt_policy = nullptr;

const OptDescriptor o_client{0, "client", nullptr, &opt_client};
const OptDescriptor o_policy{0, "policy", nullptr, &opt_policy};
const OptDescriptor o_version{0, "version", "false", &opt_version};

const OptDescriptor* const k_options[] = {&o_client,       &o_policy,  &o_dry_run, &o_num_threads,
                                          &o_tvr_location, &o_version, &o_help,    nullptr};

struct Form {
  const char* name;
  Command command;
  bool has_run;
};
constexpr Form k_forms[] = {{"list", Command::list, false},
                            {"show", Command::show, true},
                            {"restore", Command::restore, true},
                            {"forget", Command::forget, true}};

[[noreturn]] void refuse(const std::string& text) {
  throw std::invalid_argument(text);
}

// Whether the next word is the value of this option.
bool takes_next_word(const std::string& word) {
  for (const OptDescriptor* const* option = k_options; *option != nullptr; ++option) {
    if (!(*option)->is_flag() && word == std::string("--") + (*option)->long_name) return true;
  }
  return false;
}

using Words = std::vector<std::string>;

// Returns the words that are neither options nor their values; adds the others to `options`.
Words split(int argc, char** argv, std::vector<char*>& options) {
  Words words;
  options.push_back(argv[0]);
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word.empty() || word[0] != '-') {
      words.push_back(word);
      continue;
    }
    options.push_back(argv[i]);
    if (takes_next_word(word) && i + 1 < argc) options.push_back(argv[++i]);
  }
  return words;
}

const Form& form_of(const Words& words) {
  if (words.empty()) refuse("a command is missing: list, show, restore or forget");
  for (const Form& form : k_forms) {
    if (words[0] != form.name) continue;
    if (form.has_run && words.size() < 2) refuse(words[0] + ": the run is missing");
    const std::size_t most = form.has_run ? 2 : 1;
    if (words.size() > most) refuse("unexpected argument '" + words[most] + "'");
    return form;
  }
  refuse("unrecognised command '" + words[0] + "'");
}

Request request_of(const Words& words) {
  Request request;
  if (opt_version) request.command = Command::version;
  if (opt_version || opt_help) return request;
  const Form& form = form_of(words);
  request.command = form.command;
  if (form.has_run) request.run = words[1];
  if (opt_client != nullptr) request.wanted.client = opt_client;
  if (opt_policy != nullptr) request.wanted.policy = opt_policy;
  request.dry_run = opt_dry_run;
  const bool is_plain = request.wanted.are_all() && !request.dry_run;
  if (!is_plain && form.command != Command::restore) {
    refuse("--client, --policy and --dry_run go with restore alone");
  }
  if (form.has_run && request.run.empty()) refuse(words[0] + ": the run is missing");
  return request;
}

}  // namespace

bool parse(int argc, char** argv, Request& request) {
  std::vector<char*> options;
  const Words words = split(argc, argv, options);
  if (opt_parse(k_options, static_cast<int>(options.size()), options.data()) != 0) return false;
  try {
    request = request_of(words);
  } catch (const std::invalid_argument& error) {
    std::cerr << progname + ": " + util::on_one_line(error.what()) + "\n";
    return false;
  }
  return num_threads_are_in_range();
}

std::string help() {
  return "Usage: " + progname + R"( COMMAND [RUN] [OPTION]...
Undoes what a deletion or a repair of mdfixup changed, from the record of its run. RUN is
the id of a run, or the path of its record.

Commands:
  list            the runs that can be undone, newest first
  show RUN        what a run changed, by client and policy
  restore RUN     bring the metadata of a run back
  forget RUN      remove what a run saved, for the room that it takes

Options:
  --client NAME   restore this client alone
  --policy NAME   restore this policy alone
  --dry_run       restore: report what would be restored, and change nothing
  --num_threads arg (=1)
                  threads to restore with, 0 to 1024
  --tvr_location arg (=/usr/quorv)
                  where Tavrin is installed
  --version       show the version
  -h --help       show this help

A restore needs the services stopped. A deletion can be undone until the storage has
removed the data that the metadata no longer refers to; see the manual.
)";
}

}  // namespace undo
