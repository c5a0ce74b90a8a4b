#pragma once

#include <cstdint>
#include <string>

#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include "status/status.h"

namespace fuzz {

inline std::string text_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// The path of a file in memory that holds the text, until the next one is made.
std::string memory_file(const std::string& text);

// What commands that are opened as a pipe print from now on, and the wait status that they leave. The
// targets' popen and pclose are this file's.
void set_command(const std::string& output, int wait_status = 0);

// Whether the action ends without an error of ours; where there are numbers to read, one may be none.
template <class Action>
bool succeeds(const Action& action, bool reads_numbers = false) {
  try {
    action();
    return true;
  } catch (const Cr_ErrnoException&) {
    return false;
  } catch (const boost::bad_lexical_cast&) {
    if (!reads_numbers) throw;
    return false;
  }
}

}  // namespace fuzz
