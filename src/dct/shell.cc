#include "dct/shell.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <iostream>

#include "console/run_log.h"
#include "dct/descriptor_limit.h"

namespace dct {

namespace {

bool is_plain(char c) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  const bool digit = c >= '0' && c <= '9';
  const bool beyond_ascii = static_cast<unsigned char>(c) >= 0x80;
  return letter || digit || beyond_ascii ||
         std::string_view("._-+:@/").find(c) != std::string_view::npos;
}

}  // namespace

bool run_in_shell(const std::string& command) {
  InfoA("running " + command);
  std::cout.flush();  // keeps our output before the command's
  const int status = ::system(with_first_descriptor_limit(command).c_str());
  if (status == 0) return true;
  if (status != -1 && WIFSIGNALED(status)) {
    WarningA("signal " + std::to_string(WTERMSIG(status)) + " ended " + command);
    if (WTERMSIG(status) == SIGINT) (void)::raise(SIGINT);
  } else {
    const int code = status == -1 ? status : WEXITSTATUS(status);
    WarningA("exit status " + std::to_string(code) + " of " + command);
  }
  return false;
}

std::string in_double_quotes(const std::string& text) {
  std::string word = "\"";
  for (const char c : text) {
    if (std::string_view("\"\\$`").find(c) != std::string_view::npos) word += '\\';
    word += c;
  }
  return word + "\"";
}

bool is_plain_shell_word(std::string_view text) {
  return !text.empty() && text.front() != '-' && std::all_of(text.begin(), text.end(), is_plain);
}

}  // namespace dct
