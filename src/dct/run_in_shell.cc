#include "dct/run_in_shell.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <iostream>

#include "console/run_log.h"
#include "dct/descriptor_limit.h"

namespace dct {

bool run_in_shell(const std::string& command) {
  InfoA("running " + command);
  std::cout.flush();  // what the command prints comes behind what was said before
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
    if (std::string("\"\\$`").find(c) != std::string::npos) word += '\\';
    word += c;
  }
  return word + "\"";
}

}  // namespace dct
