#include "dct/popen_read.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <new>
#include <vector>

#include "dct/run_in_shell.h"
#include "platform/status.h"
#include "tests/support/temp_dir.h"

namespace {

using dct::PopenRead;

constexpr std::size_t k_capacity = 8;

// The lines that a command prints, then how it ended: the exit code, or the text of the failure.
std::vector<std::string> lines(const std::string& command) {
  std::vector<std::string> result;
  try {
    PopenRead pipe(k_capacity, PopenRead::start(command));
    while (pipe.read_line()) result.emplace_back(pipe.line());
    EXPECT_TRUE(pipe.at_end());
    result.push_back(std::to_string(pipe.close()));
  } catch (const Cr_ErrnoException& error) {
    result.push_back(std::to_string(error.GetStatus()) + " " + error.GetString());
  }
  return result;
}

using Lines = std::vector<std::string>;

TEST(PopenRead, ReadsLinesAndJudgesTheEnd) {
  const std::pair<std::string, Lines> rows[] = {
      {"printf 'one\\ntwo'", {"one", "tw", "0"}},
      {"printf '1234567\\n'", {"14 pipe buffer is too small"}},
      {"printf '\\0ga\\nb\\n'", {"", "b", "0"}},
      {"printf 'a\\0b\\n'", {"14 pipe buffer is too small"}},
      {"printf '\\0234567890\\n'", {"14 pipe buffer is too small"}},
      {"echo x; kill -TERM $$", {"x", "99 the pipe command did not exit"}},
      {"echo x; kill -PIPE $$", {"x", "99 the pipe command did not exit"}},
  };
  for (const auto& [command, expected] : rows) EXPECT_EQ(lines(command), expected) << command;
}

TEST(PopenRead, FailedReadIsNotTheEnd) {
  PopenRead::Stream stream = PopenRead::start("true");
  const int unreadable = ::open("/", O_RDONLY);
  ASSERT_GE(::dup2(unreadable, ::fileno(stream.get())), 0);
  ::close(unreadable);
  PopenRead pipe(k_capacity, std::move(stream));
  EXPECT_THROW(pipe.read_line(), Cr_ErrnoException);
}

TEST(PopenRead, ChildCutOffByTheReaderIsNoFailure) {
  for (const char* command : {"yes", "exec yes", "(yes); exit $?"}) {
    PopenRead pipe(k_capacity, PopenRead::start(command));
    EXPECT_TRUE(pipe.read_line());
    EXPECT_NO_THROW(pipe.close_query()) << command;
  }
}

#if !defined(__SANITIZE_ADDRESS__) && \
    !defined(__SANITIZE_THREAD__)  // which end the process instead
TEST(PopenRead, CommandIsClosedWhenThereIsNoMemoryForItsLines) {
  constexpr std::size_t k_too_much = std::size_t{1} << 60U;
  EXPECT_THROW(PopenRead(k_too_much, PopenRead::start("cat < /dev/null")), std::bad_alloc);
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
}
#endif

TEST(RunInShell, QuotedTextMeansItself) {
  const support::TempDir dir;
  const std::string text = "a  b\"c$HOME`id`\\d'$(id)*\n;";
  const boost::filesystem::path file = dir.path() / text;
  dct::run_in_shell("printf %s " + dct::in_double_quotes(text) + " > " +
                    dct::in_double_quotes(file.string()));
  EXPECT_EQ(support::read_text(file), text);
}

}  // namespace
