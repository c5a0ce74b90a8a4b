#include "sandbox/child.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

extern "C" {
#include <sys/pidfd.h>  // this version lacks extern "C"
}

namespace sandbox {

namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// Opened for appending: the writers of several processes would otherwise overwrite each other.
int make_file(const char* name) {
  const int descriptor = ::memfd_create(name, MFD_CLOEXEC);
  if (descriptor < 0 || ::fcntl(descriptor, F_SETFL, O_APPEND) != 0)
    fail("could not make a file for a child's output");
  return descriptor;
}

std::string read_whole(int descriptor) {
  struct stat info {};
  if (::fstat(descriptor, &info) != 0) fail("could not look at a child's output");
  std::string text(static_cast<std::size_t>(info.st_size), '\0');
  const ssize_t read = ::pread(descriptor, text.data(), text.size(), 0);
  text.resize(read < 0 ? 0 : static_cast<std::size_t>(read));
  return text;
}

bool ends_within(pid_t pid, int seconds) {
  constexpr int k_second_milliseconds = 1000;
  struct pollfd end {};
  end.fd = ::pidfd_open(pid, 0);
  end.events = POLLIN;
  if (end.fd < 0) fail("could not watch a child");
  const bool ended = ::poll(&end, 1, seconds * k_second_milliseconds) == 1;
  (void)::close(end.fd);
  return ended;
}

}  // namespace

void exec(const std::vector<std::string>& arguments, const Child::Environment& environment) {
  constexpr int k_not_executed = 127;
  (void)::setpgid(0, 0);  // the parent calls it too: either may run first
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) ::signal(signal, SIG_DFL);
  for (const auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  ::execvp(argv[0], argv.data());
  ::_exit(k_not_executed);
}

Child::Child(const std::vector<std::string>& arguments, const Environment& environment)
    : m_out(make_file("out")), m_err(make_file("err")), m_pid(::fork()) {
  if (m_pid < 0) fail("could not start a child");
  if (m_pid == 0) {
    if (::dup2(m_out, STDOUT_FILENO) < 0 || ::dup2(m_err, STDERR_FILENO) < 0) ::_exit(1);
    exec(arguments, environment);
  }
  (void)::setpgid(m_pid, m_pid);
}

Child::~Child() {
  (void)::close(m_out);  // this process writes nothing through them
  (void)::close(m_err);
}

void Child::send(int signal) const {
  (void)::kill(m_pid, signal);  // fails if it has ended, which is harmless
}

void Child::send_to_group(int signal) const {
  (void)::kill(-m_pid, signal);
}

std::string Child::err() const {
  return read_whole(m_err);
}

Ended Child::wait(int at_most_seconds) {
  Ended ended;
  ended.timed_out = at_most_seconds != 0 && !ends_within(m_pid, at_most_seconds);
  if (ended.timed_out) send_to_group(SIGKILL);
  int status = 0;
  if (::waitpid(m_pid, &status, 0) != m_pid) fail("could not wait for a child");
  if (WIFEXITED(status)) ended.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) ended.signal = WTERMSIG(status);
  ended.out = read_whole(m_out);
  ended.err = err();
  return ended;
}

Ended run(const std::vector<std::string>& arguments, const Child::Environment& environment) {
  return Child(arguments, environment).wait();
}

}  // namespace sandbox
