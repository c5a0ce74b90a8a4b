#include "config/options.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <boost/program_options/options_description.hpp>
#include <boost/program_options/parsers.hpp>
#include <boost/program_options/value_semantic.hpp>

#include "text/one_line.h"

namespace {

namespace po = boost::program_options;

std::string displayed(const OptDescriptor& option) {
  return std::string("--") + option.long_name;
}

const OptDescriptor* find(const OptDescriptor* const* options, const std::string& long_name) {
  for (; *options != nullptr; ++options) {
    if (long_name == (*options)->long_name) return *options;
  }
  return nullptr;
}

// Sets an option's variable from a text.
struct VariableSetter {
  const OptDescriptor& option;
  const std::string& text;

  void operator()(bool* flag) const { *flag = text == "true"; }
  // Decimal digits alone: a sign, a blank or a unit is probably a mistake.
  template <class Number>
  void operator()(Number* number) const {
    const bool digits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    if (!digits || !boost::conversion::try_lexical_convert(text, *number)) {
      throw std::invalid_argument("the argument ('" + text + "') for option '" + displayed(option) +
                                  "' is invalid");
    }
  }
  void operator()(const char** variable) const {
    static std::deque<std::string> texts;  // a deque, because the variables point into its elements
    *variable = texts.emplace_back(text).c_str();
  }
  void operator()(std::vector<std::string>* texts) const { texts->push_back(text); }
};

void store(const OptDescriptor& option, const std::string& text) {
  std::visit(VariableSetter{option, text}, option.variable);
}

po::options_description describe(const OptDescriptor* const* options) {
  po::options_description description;
  for (; *options != nullptr; ++options) {
    const OptDescriptor& option = **options;
    std::string names = option.long_name;
    if (option.letter != 0) names += std::string(",") + option.letter;
    // The library takes ownership.
    description.add_options()(names.c_str(), new po::untyped_value(option.is_flag()));
  }
  return description;
}

const char* following_value(const OptDescriptor& option, int i, int argc, char** argv) {
  if (i >= argc || argv[i][0] == '-') {
    throw std::invalid_argument("the required argument for option '" + displayed(option) +
                                "' is missing");
  }
  if (argv[i][0] == '\0') {
    throw std::invalid_argument("the argument for option '" + displayed(option) + "' is empty");
  }
  return argv[i];
}

// The words of the command line, with `--name value` joined to `--name=value`. The library's
// two-word form would accept a word that begins with "-" as a value.
std::vector<std::string> joined_words(const OptDescriptor* const* options, int argc, char** argv) {
  std::vector<std::string> words;
  for (int i = 1; i < argc; ++i) {
    std::string word = argv[i];
    if (word == "--") throw std::invalid_argument("unexpected argument '--'");
    if (word.rfind("--", 0) == 0) {
      const OptDescriptor* option = find(options, word.substr(2));
      if (option != nullptr && !option->is_flag()) {
        word.append("=").append(following_value(*option, ++i, argc, argv));
      }
    }
    words.push_back(word);
  }
  return words;
}

void parse(const OptDescriptor* const* options, int argc, char** argv) {
  const po::options_description description = describe(options);
  namespace style = po::command_line_style;
  const auto parsed =
      po::command_line_parser(joined_words(options, argc, argv))
          .options(description)
          .style(style::allow_long | style::long_allow_adjacent | style::allow_short |
                 style::allow_dash_for_short | style::short_allow_adjacent)
          .run();
  for (const po::option& given : parsed.options) {
    const OptDescriptor* option = find(options, given.string_key);
    if (option == nullptr) {
      throw std::invalid_argument("unexpected argument '" + given.original_tokens.at(0) + "'");
    }
    store(*option, option->is_flag() ? "true" : given.value.at(0));
  }
}

}  // namespace

int opt_parse(const OptDescriptor* const* options, int argc, char** argv) {
  try {
    for (const OptDescriptor* const* option = options; *option != nullptr; ++option) {
      if ((*option)->default_text != nullptr) store(**option, (*option)->default_text);
    }
    parse(options, argc, argv);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << GetProgramName(argv[0]) + ": " + util::on_one_line(error.what()) + "\n";
    return -1;
  }
}

std::string GetProgramName(const char* argv0) {
  return boost::filesystem::path(argv0 == nullptr ? "" : argv0).filename().string();
}
