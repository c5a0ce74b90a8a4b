#include "dct/popen_read.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <vector>

#include "dct/shell.h"
#include "status/status.h"
#include "tests/support/temp_dir.h"

namespace {

using dct::PopenRead;

constexpr std::size_t k_capacity = 8;

TEST(PopenRead, ReadsLinesAndReportsTheEnd) {
  const std::string small = "pipe buffer is too small";
  // The command; its lines, then its exit status or the error.
  const std::pair<std::string, std::vector<std::string>> rows[] = {
      {"printf 'one\\ntwo'; exit 3", {"one", "tw", "3"}},
      {"printf '1234567\\n'", {small}},
      {"printf '\\0ga\\nb\\n\\0\\n'", {"", "b", "", "0"}},
      {"printf 'a\\nbc\\0d'", {"a", "b", "0"}},
      {"printf '\\0234567890\\n'", {small}},
  };
  for (const auto& [command, expected] : rows) {
    std::vector<std::string> lines;
    try {
      PopenRead pipe(k_capacity, PopenRead::start(command));
      while (pipe.read_line()) lines.emplace_back(pipe.line());
      lines.push_back(std::to_string(pipe.close()));
    } catch (const Cr_ErrnoException& error) {
      lines.push_back(error.GetString());
    }
    EXPECT_EQ(lines, expected) << command;
  }
}

// Lines split between two reads, at every position.
TEST(PopenRead, ReadsMoreThanItsBufferHolds) {
  constexpr int k_lines = 99999;
  PopenRead pipe(k_capacity, PopenRead::start("seq " + std::to_string(k_lines)));
  int count = 0;
  while (pipe.read_line()) ASSERT_EQ(pipe.line(), std::to_string(++count));
  EXPECT_EQ(count, k_lines);
}

TEST(PopenRead, FailedReadIsNotTheEnd) {
  PopenRead::Stream stream = PopenRead::start("true");
  const int unreadable = ::open("/", O_RDONLY);
  ASSERT_GE(::dup2(unreadable, ::fileno(stream.get())), 0);
  ::close(unreadable);
  PopenRead pipe(k_capacity, std::move(stream));
  EXPECT_THROW(pipe.read_line(), Cr_ErrnoException);
}

TEST(RunInShell, TakesQuotedTextLiterally) {
  const support::TempDir dir;
  const auto file = dir.path() / "a  b\"c$HOME`id`\\d'$(id)*\n;";
  dct::run_in_shell("echo > " + dct::in_double_quotes(file.string()));
  EXPECT_EQ(support::read_text(file), "\n");
}

}  // namespace
