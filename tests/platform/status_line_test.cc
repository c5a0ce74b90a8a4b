#include "platform/status_line.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "platform/reports.h"
#include "tests/support/scene.h"
#include "tests/support/terminal.h"

namespace {

using platform::StatusLine;
using support::OnTerminal;

std::string written_by(const std::function<void()>& body, unsigned short columns = 0) {
  OnTerminal process(body, columns);
  EXPECT_EQ(process.wait(), 0);
  return process.written();
}

TEST(StatusLine, IsCutToTheTerminalAndLeavesNothingBehind) {
  if (!support::terminals_are_there()) GTEST_SKIP() << "no pseudo terminals";
  const auto show = [] {
    StatusLine line;
    line.show("0123456789");
    line.show("012");
  };
  EXPECT_EQ(written_by(show, 8), "\r0123...\033[K\r012\033[K\r\033[K");
  EXPECT_EQ(written_by(show), "\r0123456789\033[K\r012\033[K\r\033[K") << "of unknown width";
}

TEST(StatusLine, NeedsATerminalThatCanErase) {
  if (!support::terminals_are_there()) GTEST_SKIP() << "no pseudo terminals";
  for (const char* name : {"dumb", "", static_cast<const char*>(nullptr)}) {
    const std::string written = written_by([name] {
      name == nullptr ? ::unsetenv("TERM") : ::setenv("TERM", name, 1);
      StatusLine().show("text");
      platform::print("printed\n");
    });
    EXPECT_EQ(written, "printed\r\n");
  }
}

// The line is shown in the foreground first, as in a run that is then sent to the background.
TEST(StatusLine, KeepsOutOfTheWayInTheBackground) {
  if (!support::terminals_are_there()) GTEST_SKIP() << "no pseudo terminals";
  const std::string written = written_by([] {
    StatusLine line;
    line.show("text");
    struct termios settings {};
    ::tcgetattr(STDERR_FILENO, &settings);
    settings.c_lflag |= TOSTOP;
    ::tcsetattr(STDERR_FILENO, TCSANOW, &settings);
    const pid_t background = ::fork();
    if (background == 0) {
      ::setpgid(0, 0);
      line.show("hidden");
      (void)line.erase();
      ::_exit(0);
    }
    int status = 0;
    ::waitpid(background, &status, WUNTRACED);
    ::_exit(WIFEXITED(status) ? 0 : 1);
  });
  EXPECT_EQ(written, "\rtext\033[K");
}

TEST(StatusLine, DoesNotWaitForAStoppedTerminal) {
  if (!support::terminals_are_there()) GTEST_SKIP() << "no pseudo terminals";
  const std::string written = written_by([] {
    {
      StatusLine line;
      line.show("text");
      ::tcflow(STDERR_FILENO, TCOOFF);
      line.show("not taken");
      if (line.erase()) ::_exit(1);
    }
    ::tcflow(STDERR_FILENO, TCOON);
    platform::print("printed\n");
  });
  EXPECT_EQ(written, "\rtext\033[K\r\033[Kprinted\r\n");
}

TEST(StatusLine, NeverMixesWithWhatIsPrintedOrTold) {
  if (!support::terminals_are_there()) GTEST_SKIP() << "no pseudo terminals";
  constexpr int k_texts = 300;
  OnTerminal process([] {
    StatusLine line;
    std::atomic<bool> is_over{false};
    std::thread shower([&] {
      while (!is_over) line.show("a line that is longer than any other text of this process");
    });
    std::vector<std::thread> others;
    for (const auto write : {+[](const std::string& text) { platform::print(text); },
                             +[](const std::string& text) { platform::tell_or_lose(text); }}) {
      others.emplace_back([write] {
        for (int i = 0; i < k_texts; ++i) write("two lines\nin one text\n");
      });
    }
    for (std::thread& other : others) other.join();
    platform::print("without line end");
    line.show("never shown");
    platform::print("\n");
    is_over = true;
    shower.join();
  });
  EXPECT_EQ(process.wait(), 0);
  std::string expected;
  for (int i = 0; i < 2 * k_texts; ++i) expected += "two lines\nin one text\n";
  EXPECT_EQ(process.screen(), expected + "without line end\n");
}

}  // namespace
