#include "tvr_utils/tvr_image_parser.h"

#include <array>
#include <cstddef>
#include <cstring>

#include <boost/algorithm/string/predicate.hpp>

#include "console/run_log.h"
#include "status/status.h"
#include "text/split.h"
#include "text/to_number.h"
#include "tvr_utils/names_in_listing.h"

namespace details {

namespace {

using util::Separators;
using util::to_number;

constexpr char k_image[] = "IMAGE";
constexpr char k_frag[] = "FRAG";

// The constant length makes this a comparison of two numbers.
template <std::size_t Size>
bool starts_with(std::string_view line, const char (&word)[Size]) {
  constexpr std::size_t k_length = Size - 1;
  return line.size() >= k_length && std::memcmp(line.data(), word, k_length) == 0;
}

constexpr const char* k_not_an_image =
    "Invalid line in parsing; expected an IMAGE line,but received:\n\t";
constexpr const char* k_invalid_image = "Invalid tvimagequery IMAGE line: ";

// Fields are counted from 0.
constexpr std::size_t k_image_fields = 14;
constexpr std::size_t k_image_client = 1;
constexpr std::size_t k_image_policy = 6;
constexpr std::size_t k_image_backup_time = 13;

constexpr std::size_t k_frag_fields = 26;
constexpr std::size_t k_frag_copy = 1;
constexpr std::size_t k_frag_number = 2;
constexpr std::size_t k_frag_media = 15;
constexpr std::size_t k_frag_value = 20;

constexpr std::size_t k_media_fields = 5;
constexpr std::size_t k_media_disk_pool = 3;

}  // namespace

const std::string BaseTVRImageIteratorImpl::no_images_were_found_string = "no entity was found";

BaseTVRImageIteratorImpl::BaseTVRImageIteratorImpl(std::string disk_pool, std::string client,
                                                   std::string policy, bool filtered)
    : m_disk_pool(std::move(disk_pool)),
      m_client_filter(std::move(client)),
      m_policy_filter(std::move(policy)),
      m_filtered(filtered) {
  m_image.client_name = m_client_filter;
  m_image.policy_name = m_policy_filter;
}

void BaseTVRImageIteratorImpl::begin() {
  m_current = &m_image;
  increment();
}

void BaseTVRImageIteratorImpl::increment() {
  verify_has_next();
  m_current = nullptr;  // until the next one is complete
  try {
    if (ok_to_increment() && read_image()) m_current = &m_image;
  } catch (const boost::bad_lexical_cast&) {
    // Its text names neither field nor line.
    ErrorA("not a number in the tvimagequery line: " + std::string(m_line));
    throw;
  }
}

// False when the output ended without an image to deliver.
bool BaseTVRImageIteratorImpl::read_image() {
  bool skip = false;
  if (current_line_is_image()) {
    skip = parse_image_line();
  } else if (current_line_is_frag()) {
    parse_frag_line();
  }
  if (read_to_next_image(skip)) return true;
  finish();
  return false;
}

// Reads the fragments of the current image. Goes on to the next image if this one is filtered out
// (`skip`) or has no fragments. The line after the image becomes the current line. False when the output
// ended without an image to deliver.
bool BaseTVRImageIteratorImpl::read_to_next_image(bool skip) {
  while (read_line()) {
    const bool is_image = current_line_is_image();
    // If this line is cut, the next increment throws.
    if (is_image && !skip && !m_image.copy_numbers.empty()) return true;
    throw_if_cut();
    if (is_image) {
      skip = parse_image_line();
    } else if (current_line_is_frag() && (!skip || m_is_cut)) {
      parse_frag_line();  // a cut line is an error even if its image is filtered out
    }
  }
  return !skip && !m_image.copy_numbers.empty();
}

bool BaseTVRImageIteratorImpl::ok_to_increment() {
  throw_if_current_line_is_not_IMAGE();
  return true;
}

void BaseTVRImageIteratorImpl::throw_if_current_line_is_not_IMAGE() {
  if (!current_line_is_image()) throw_malformed(k_not_an_image);
}

void BaseTVRImageIteratorImpl::throw_if_cut() {
  if (!m_is_cut || current_line_is_frag()) return;
  finish();
  throw_malformed(current_line_is_image() ? k_invalid_image : k_not_an_image);
}

void BaseTVRImageIteratorImpl::verify_has_next() const {
  if (m_current == nullptr) {
    throw Cr_ErrnoException(k_status_end_of_iteration, "End of iteration was reached");
  }
}

bool BaseTVRImageIteratorImpl::current_line_is_image() const {
  return starts_with(m_line, k_image);
}

bool BaseTVRImageIteratorImpl::current_line_is_frag() const {
  return starts_with(m_line, k_frag);
}

bool BaseTVRImageIteratorImpl::no_images_were_found() const {
  return boost::algorithm::starts_with(m_line, no_images_were_found_string);
}

void BaseTVRImageIteratorImpl::throw_malformed(const std::string& text) {
  throw Cr_ErrnoException(k_status_malformed, text + std::string(m_line));
}

// Returns whether the image is filtered out; the current image is unchanged then.
bool BaseTVRImageIteratorImpl::parse_image_line() {
  std::array<std::string_view, k_image_fields> fields;
  if (util::split<' '>(m_line, Separators::runs, fields) < k_image_fields) {
    throw_malformed(k_invalid_image);
  }
  // Stores names only if they differ: nearly all images have the same client as the one before.
  const bool is_other = m_image.client_name != fields[k_image_client] ||
                        m_image.policy_name != fields[k_image_policy];
  if (is_other && m_filtered) {
    warn_of_other_spelling(fields[k_image_client], fields[k_image_policy]);
    return true;
  }
  if (is_other) {
    m_image.client_name = fields[k_image_client];
    m_image.policy_name = fields[k_image_policy];
  }
  m_image.copy_numbers.clear();
  m_image.fragment_numbers.clear();
  m_image.frag_values.clear();
  m_image.backup_time = to_number<std::int64_t>(fields[k_image_backup_time]);
  return false;
}

void BaseTVRImageIteratorImpl::warn_of_other_spelling(std::string_view client,
                                                      std::string_view policy) {
  using boost::algorithm::iequals;
  if (m_warned || !iequals(client, m_client_filter) || !iequals(policy, m_policy_filter)) return;
  m_warned = true;
  tvr_utils::warn_of_other_spelling({client, policy}, {m_client_filter, m_policy_filter});
}

void BaseTVRImageIteratorImpl::parse_frag_line() {
  std::array<std::string_view, k_frag_fields> fields;
  if (util::split<' '>(m_line, Separators::runs, fields) < k_frag_fields) {
    throw_malformed("Invalid tvimagequery FRAG line: ");
  }
  std::array<std::string_view, k_media_fields> media;
  if (util::split<';'>(fields[k_frag_media], Separators::runs, media) < k_media_fields) return;
  if (media[k_media_disk_pool] != m_disk_pool) return;
  const auto copy = to_number<std::uint32_t>(fields[k_frag_copy]);
  const auto fragment = to_number<std::int32_t>(fields[k_frag_number]);
  const auto value = to_number<std::uint32_t>(fields[k_frag_value]);
  m_image.copy_numbers.push_back(copy);
  m_image.fragment_numbers.push_back(fragment);
  m_image.frag_values.push_back(value);
}

}  // namespace details
