#include "bench/limits/listing.h"

#include <sys/wait.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <stdexcept>

namespace limits {

namespace {

// The first N fields of a line.
template <std::size_t N>
std::array<std::string_view, N> fields_of(std::string_view line) {
  std::array<std::string_view, N> fields;
  const char* at = line.data();
  const char* const end = at + line.size();
  for (std::string_view& field : fields) {
    if (at == end) throw std::runtime_error("too few fields: " + std::string(line));
    const char* const begin = at;
    while (at != end && *at != ' ') ++at;
    field = {begin, static_cast<std::size_t>(at - begin)};
    while (at != end && *at == ' ') ++at;
  }
  return fields;
}

template <class Number>
Number number_in(std::string_view text) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ptr != end || text.empty()) throw std::runtime_error("no number");
  return number;
}

}  // namespace

Listing::Listing(const std::string& command, std::string disk_pool)
    : m_stream(::popen(command.c_str(), "re")), m_disk_pool(std::move(disk_pool)) {
  if (m_stream == nullptr) throw std::runtime_error("could not run " + command);
  if (!read_line()) close();
}

Listing::~Listing() {
  if (m_stream != nullptr) ::pclose(m_stream);
  std::free(m_buffer);
}

bool Listing::read_line() {
  const ssize_t length = ::getline(&m_buffer, &m_capacity, m_stream);
  m_line = length > 0 ? std::string_view(m_buffer, static_cast<std::size_t>(length) - 1) : "";
  return length > 0;
}

bool Listing::next() {
  if (m_stream == nullptr) return false;
  const auto fields = fields_of<14>(m_line);
  m_client = fields[1];
  m_policy = fields[6];
  m_time = number_in<std::int64_t>(fields[13]);
  m_copies.clear();
  while (read_line()) {
    if (m_line[0] == 'I') return true;
    take_fragment();
  }
  close();
  return true;
}

void Listing::take_fragment() {
  const auto fields = fields_of<26>(m_line);
  const std::string_view media = fields[15];
  const std::size_t end = media.rfind(';');
  const std::size_t begin = media.rfind(';', end - 1) + 1;
  if (media.substr(begin, end - begin) != m_disk_pool) return;
  const auto copy = number_in<std::uint32_t>(fields[1]);
  if (std::find(m_copies.begin(), m_copies.end(), copy) == m_copies.end()) m_copies.push_back(copy);
}

void Listing::close() {
  const int status = ::pclose(m_stream);
  m_stream = nullptr;
  constexpr int k_nothing_listed = 227;
  if (!WIFEXITED(status) || (WEXITSTATUS(status) != 0 && WEXITSTATUS(status) != k_nothing_listed)) {
    throw std::runtime_error("the query failed");
  }
}

}  // namespace limits
