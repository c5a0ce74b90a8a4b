#include "console/status_line.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <tuple>

#include "console/standard_streams.h"
#include "tests/support/terminal.h"

namespace {

using console::StatusLine;

void show_two() {
  StatusLine line;
  line.show("0123456789");
  line.show("012");
}

void show_without_erasing() {
  for (const char* name : {"dumb", "", static_cast<const char*>(nullptr)}) {
    name == nullptr ? ::unsetenv("TERM") : ::setenv("TERM", name, 1);
    StatusLine().show("text");
    console::print("printed\n");
  }
}

void show_on_stopped_terminal() {
  {
    StatusLine line;
    line.show("text");
    ::tcflow(STDERR_FILENO, TCOOFF);
    line.show("not taken");
    if (line.erase()) ::_exit(1);
  }
  ::tcflow(STDERR_FILENO, TCOON);
  console::print("printed\n");
}

TEST(StatusLine, IsErasedAndNeverBlocks) {
  if (!support::terminals_are_there()) GTEST_SKIP() << "no pseudo terminals";
  // The action, the terminal's columns (0 if unknown), and the output.
  const std::tuple<void (*)(), unsigned short, std::string> rows[] = {
      {show_two, 8, "\r0123...\033[K\r012\033[K\r\033[K"},
      {show_without_erasing, 0, "printed\r\nprinted\r\nprinted\r\n"},
      {show_on_stopped_terminal, 0, "\rtext\033[K\r\033[Kprinted\r\n"},
  };
  for (const auto& [body, columns, written] : rows) {
    support::OnTerminal process(body, columns);
    EXPECT_EQ(process.wait(), 0);
    EXPECT_EQ(process.written(), written);
  }
}

}  // namespace
