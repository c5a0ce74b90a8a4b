#include "tests/scenario/paused_run.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <regex>

#include <boost/algorithm/string/join.hpp>

namespace scenario::progress {

// Starts a command line on a pseudo terminal; what it writes there is the child's standard error.
std::unique_ptr<Child> start_on_terminal(const Scene& scene, const std::string& setup,
                                         const Words& command) {
  const std::string line = setup + "; exec " + boost::algorithm::join(command, " ");
  const Words shell{"sh", "-c", "exec script -qefc \"$1\" /dev/null >&2 </dev/null", "sh", line};
  return std::make_unique<Child>(shell, scene.environment());
}

// What is written without the lines that were erased before anything else was written.
std::string screen(const std::string& written) {
  static const std::regex gone("(\r[^\r\n\033]*\033\\[K)*\r\033\\[K|\r(?=\n)");
  return std::regex_replace(written, gone, "");
}

// The run prints two orphans in each directory after the pause.
TEST(Progress, LineOnTheTerminalIsErased) {
  if (::access("/dev/pts/ptmx", F_OK) != 0) GTEST_SKIP() << "no pseudo terminals";
  // The threads, the terminal, and what is shown during the run.
  const std::tuple<std::string, std::string, Words> rows[] = {
      {"1", "TERM=xterm; stty cols 200", {" of 4 directories, ", " orphan copies"}},
      {"4", "TERM=xterm; stty cols 200", {" of 4 directories, ", " orphan copies"}},
      {"1", "TERM=xterm; stty cols 24", {" of 4 directories, ...\033[K"}},
      {"1", "TERM=dumb", {}},
  };
  for (const auto& [threads, terminal, shown] : rows) {
    const PausingScene scene;
    put_own(scene, {"hosta", "hostb", "hostc"}, {"_1600000000_C1_F1.img", "_1600000001_C1_F1.img"});
    write_text(scene.po_db("broken", "p"), "no database");
    scene.put("hostd", "p", {});
    const Words words = dry_run_on(threads, {"--except", "hostd"});
    const auto run = start_on_terminal(scene, terminal, scene.command(words));
    scene.await_pause();
    for (const std::string& text : shown)
      while (!contains(run->err(), text)) ::sched_yield();
    scene.go_on();
    const Ended ended = run->wait();
    EXPECT_EQ(ended.exit_status, 1);
    EXPECT_EQ(contains(ended.err, "\033"), !shown.empty()) << ended.err;
    const std::string left = screen(ended.err);
    const Ended plain = scene.run(words);
    for (const char* begin : {"{", "ERROR"})
      EXPECT_EQ(lines_beginning(left, begin), lines_beginning(plain.out + plain.err, begin));
    expect_parts(left, {"\nTotal: 4 policy directories, 1 failed, 6 orphan copies, 0 mi",
                        "\n1 policy directories skipped\n",
                        "copies in the metadata: is it the right disk pool?\n"});
    EXPECT_FALSE(contains(left, " of 4 directories")) << left;
    EXPECT_FALSE(contains(plain.out + plain.err, "\033"));
    EXPECT_FALSE(contains(scene.run_log(), "progress")) << "the run was short";
  }
}

TEST(Progress, StoppedTerminalDoesNotStopTheRun) {
  if (::access("/dev/pts/ptmx", F_OK) != 0) GTEST_SKIP() << "no pseudo terminals";
  const PausingScene scene;
  const std::string terminal = (scene.root() / "terminal").string();
  const auto run = start_on_terminal(scene, "TERM=xterm; tty > " + terminal,
                                     joined(scene.command(dry_run_on("1")), {">", "/dev/null"}));
  scene.await_pause();
  while (!contains(run->err(), "directories, ")) ::sched_yield();
  const std::string name = sorted_lines(read_text(terminal)).at(0);
  const int stopped = ::open(name.substr(0, name.size() - 1).c_str(), O_RDWR | O_NOCTTY);
  EXPECT_EQ(::tcflow(stopped, TCOOFF), 0);
  ::close(stopped);
  scene.go_on();
  EXPECT_EQ(run->wait().exit_status, 0);
}

// A full pipe without a reader.
TEST(Progress, AnswerWithoutAReaderDoesNotStopTheRun) {
  const Scene scene;
  scene.put("hosta", "p", {});
  scene.script("tvimagequery", "kill -USR1 $(cat mdfixup.lock)\nexit 227\n");
  const Ended ended = scene.run_in_shell(
      "mkfifo pipe; exec 9<>pipe; head -c 65536 /dev/zero >&9; \"$@\" 2>&9", k_dry_run);
  EXPECT_EQ(ended.exit_status, 0);
}

}  // namespace scenario::progress
