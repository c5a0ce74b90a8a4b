#pragma once

#include <cstdint>
#include <string>

#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include "status/status.h"

namespace fuzz {

inline std::string text_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// The path of a file in memory with this text. Each call replaces the file.
std::string memory_file(const std::string& text);

// Sets the output and wait status of commands that popen starts; popen and pclose are replaced.
void set_command(const std::string& output, int wait_status = 0);

// Whether the action succeeds. Only with `reads_numbers` may it fail because a number is invalid.
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
