#include "tests/support/child.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace support {

namespace {

void redirect(const std::string& file, int descriptor) {
  const int opened = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (opened < 0 || ::dup2(opened, descriptor) < 0) ::_exit(127);
}

[[noreturn]] void exec(const std::vector<std::string>& arguments,
                       const Child::Environment& environment) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) ::signal(signal, SIG_DFL);
  for (const auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  ::execvp(argv[0], argv.data());
  ::_exit(127);
}

}  // namespace

Child::Child(const std::vector<std::string>& arguments, const Environment& environment)
    : m_pid(::fork()) {
  if (m_pid < 0) throw std::runtime_error("fork failed");
  if (m_pid == 0) {
    redirect((m_dir.path() / "out").string(), STDOUT_FILENO);
    redirect((m_dir.path() / "err").string(), STDERR_FILENO);
    exec(arguments, environment);
  }
}

void Child::send(int signal) const {
  ::kill(m_pid, signal);
}

std::string Child::err() const {
  return read_text(m_dir.path() / "err");
}

Ended Child::wait() {
  int status = 0;
  if (::waitpid(m_pid, &status, 0) != m_pid) throw std::runtime_error("waitpid failed");
  Ended ended;
  if (WIFEXITED(status)) ended.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) ended.signal = WTERMSIG(status);
  ended.out = read_text(m_dir.path() / "out");
  ended.err = err();
  return ended;
}

Ended run(const std::vector<std::string>& arguments, const Child::Environment& environment) {
  return Child(arguments, environment).wait();
}

std::string sqlite(const boost::filesystem::path& file, const std::string& statements) {
  const Ended ended = run({"sqlite3", file.string(), statements});
  if (ended.exit_status != 0) throw std::runtime_error("sqlite3: " + ended.err);
  return ended.out;
}

}  // namespace support
