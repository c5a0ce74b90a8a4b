#include "dct/shell_word.h"

#include <algorithm>

namespace dct {

namespace {

bool is_plain(char c) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  const bool digit = c >= '0' && c <= '9';
  const bool beyond_ascii = static_cast<unsigned char>(c) >= 0x80;
  return letter || digit || beyond_ascii ||
         std::string_view("._-+:@/").find(c) != std::string_view::npos;
}

}  // namespace

bool is_plain_shell_word(std::string_view text) {
  return !text.empty() && text.front() != '-' && std::all_of(text.begin(), text.end(), is_plain);
}

}  // namespace dct
