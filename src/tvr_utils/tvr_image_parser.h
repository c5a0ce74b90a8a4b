#pragma once

#include <string>
#include <string_view>

#include "tvr_utils/tvr_image.h"

namespace details {

// Makes images of the lines of a backup catalog's listing, one image for each increment.
//
// Threads: one thread.
// Errors: Cr_ErrnoException for a malformed line, boost::bad_lexical_cast for a field that is no number.
//   After an error there is no current image.
class BaseTVRImageIteratorImpl {
 public:
  virtual ~BaseTVRImageIteratorImpl() = default;
  BaseTVRImageIteratorImpl(const BaseTVRImageIteratorImpl&) = delete;
  BaseTVRImageIteratorImpl& operator=(const BaseTVRImageIteratorImpl&) = delete;

  // Moves to the next image that matches the filters and has a fragment in the disk pool.
  void increment();

  // The current image; null at the end of the iteration.
  const TVRImage* current() const { return m_current; }

 protected:
  // An iteration at its end.
  BaseTVRImageIteratorImpl() = default;

  // Counts only fragments in `disk_pool`; with `filtered`, only images of that client and policy.
  BaseTVRImageIteratorImpl(std::string disk_pool, std::string client, std::string policy,
                           bool filtered);

  static const std::string no_images_were_found_string;

  // Reads the next line into the current line; false at the end of the output.
  virtual bool read_line() = 0;

  // Whether the current line starts another image. Called before each image.
  virtual bool ok_to_increment();

  // Checks how the listing ended. Called at the end of the output if no image is left to deliver, so
  // that a failed listing never passes for a short one.
  virtual void finish() {}

  void throw_if_current_line_is_not_IMAGE();
  void verify_has_next() const;

  // Throws if the output ended inside the current line: the listing may have more images. Calls finish
  // first. Accepts a line of a fragment, which is parsed without its last character.
  void throw_if_cut();

  bool no_images_were_found() const;
  bool current_line_is_image() const;

  // Positions on the first image. The current line is the first of the listing.
  void begin();

  // `is_cut` if the output ended before the line's end.
  void set_current_line(std::string_view line, bool is_cut = false) {
    m_line = line;
    m_is_cut = is_cut;
  }
  std::string_view current_line() const { return m_line; }

 private:
  bool current_line_is_frag() const;
  bool parse_image_line();
  void parse_frag_line();
  void warn_of_other_spelling(std::string_view client, std::string_view policy);
  bool read_image();
  bool read_to_next_image(bool skip);
  [[noreturn]] void throw_malformed(const std::string& text);

  TVRImage m_image;
  const TVRImage* m_current = nullptr;
  const std::string m_disk_pool;
  const std::string m_client_filter;
  const std::string m_policy_filter;
  std::string_view m_line;  // into the reader's buffer
  bool m_is_cut = false;
  const bool m_filtered = false;
  bool m_warned = false;
};

}  // namespace details
