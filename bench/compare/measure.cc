// measure FILE PROGRAM ARGUMENT...: runs the program and writes its figures into FILE, on one line:
// - seconds;
// - CPU seconds of the program alone, and with the children it waited for;
// - peak memory in KiB.
// Exit status: the program's, or 1 if a signal ended it or it could not be run.
//
// It is a small program because a process inherits the peak memory of its parent.
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>

namespace {

double seconds(const timespec& time) {
  constexpr double k_nanosecond = 1e-9;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * k_nanosecond;
}

double seconds(const timeval& time) {
  constexpr double k_microsecond = 1e-6;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * k_microsecond;
}

double now() {
  timespec time{};
  ::clock_gettime(CLOCK_MONOTONIC, &time);
  return seconds(time);
}

// Requires a process that has ended and was not reaped.
double own_cpu_seconds(pid_t pid) {
  clockid_t clock{};
  timespec time{};
  if (::clock_getcpuclockid(pid, &clock) != 0 || ::clock_gettime(clock, &time) != 0) return -1;
  return seconds(time);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 1;
  std::FILE* out = std::fopen(argv[1], "we");
  if (out == nullptr) return 1;
  const double begin = now();
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::execvp(argv[2], argv + 2);
    ::_exit(1);
  }
  siginfo_t info{};
  if (pid < 0 || ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) != 0) return 1;
  const double wall = now() - begin;
  const double own = own_cpu_seconds(pid);
  int status = 0;
  rusage usage{};
  if (::wait4(pid, &status, 0, &usage) != pid) return 1;
  std::fprintf(out, "%.6f %.6f %.6f %ld\n", wall, own,
               seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss);
  if (std::fclose(out) != 0 || !WIFEXITED(status)) return 1;
  return WEXITSTATUS(status);
}
