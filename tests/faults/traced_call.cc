#include "tests/faults/traced_call.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include <boost/algorithm/string/predicate.hpp>

#include "sandbox/text_file.h"

namespace sandbox::faults {

namespace {

// Also calls that the program does not make: a replay without them would be wrong.
const std::string k_calls =
    "openat,write,pwrite64,ftruncate,fsync,fdatasync,mkdir,rmdir,rename,link,symlink,unlink,"
    "unlinkat,"
    "open,creat,truncate,writev,pwritev,pwritev2,mkdirat,renameat,renameat2,linkat,symlinkat,"
    "fallocate,copy_file_range,sendfile,splice,msync,sync_file_range";

// With -xx, strace writes each byte of a string as \x and two digits.
std::string unescaped(const std::string& text) {
  constexpr std::size_t k_escape = 4;
  constexpr int k_hexadecimal = 16;
  std::string bytes;
  for (std::size_t i = 0; i + k_escape <= text.size(); i += k_escape)
    bytes += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, k_hexadecimal));
  return bytes;
}

std::string decoded(const std::string& word) {
  const std::size_t begin = word.find_first_of("\"<");
  const std::size_t end = word.find_last_of("\">");
  if (begin == std::string::npos || begin == end) return word;
  return unescaped(word.substr(begin + 1, end - begin - 1));
}

// "pid name(word, word) = result". Only the separators have a comma and a blank.
TracedCall parse(const std::string& line) {
  const std::size_t open = line.find('(');
  const std::size_t close = line.rfind(") = ");
  const std::size_t blank = line.rfind(' ', open);
  if (close == std::string::npos || blank > open)
    throw std::runtime_error("not a traced call: " + line.substr(0, open));
  TracedCall call{line.substr(blank + 1, open - blank - 1), {}, line.substr(close + 4)};
  for (std::size_t begin = open + 1; begin < close;) {
    const std::size_t end = std::min(line.find(", ", begin), close);
    call.words.push_back(decoded(line.substr(begin, end - begin)));
    begin = end + 2;
  }
  return call;
}

}  // namespace

std::vector<std::string> trace_changes(const boost::filesystem::path& trace) {
  return {"strace",     "-fqq",        "-y",          "-xx", "-s",
          "1000000000", "-e",          "signal=none", "-e",  "trace=" + k_calls,
          "-o",         trace.string()};
}

std::vector<TracedCall> traced_calls(const boost::filesystem::path& trace) {
  std::vector<TracedCall> calls;
  std::istringstream lines(read_text(trace));
  for (std::string line; std::getline(lines, line);) {
    // Two processes at work are the program's commands; a pipe is all that they write to.
    const bool is_part = boost::algorithm::contains(line, "<unfinished ...>") ||
                         boost::algorithm::contains(line, " resumed>");
    const bool changes_nothing = boost::algorithm::contains(line, ") = -1 ") ||
                                 boost::algorithm::contains(line, ") = ?") ||
                                 boost::algorithm::contains(line, ">(deleted)");
    if (!is_part && !changes_nothing) calls.push_back(parse(line));
  }
  return calls;
}

}  // namespace sandbox::faults
