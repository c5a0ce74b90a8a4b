#include "tvr_utils/tvr_image_iterator.h"

#include "dct/popen_read.h"
#include "dct/shell.h"
#include "status/status.h"
#include "tvr_utils/tvr_image_parser.h"

namespace fs = boost::filesystem;

namespace {

constexpr std::size_t k_listing_line_capacity = 1048576;

// The product's exit codes.
constexpr int k_exit_success = 0;
constexpr int k_exit_cannot_connect = 25;
constexpr int k_exit_connection_refused = 37;
constexpr int k_exit_no_images = 227;

void throw_unless_success(int exit_code) {
  if (exit_code == k_exit_success || exit_code == k_exit_no_images) return;
  const std::string error = "tvimagequery error (" + std::to_string(exit_code) + "): ";
  if (exit_code == k_exit_cannot_connect) {
    throw Cr_ErrnoException(k_status_cannot_connect, error + "cannot connect to master server");
  }
  if (exit_code == k_exit_connection_refused) {
    throw Cr_ErrnoException(k_status_connection_refused,
                            error + "master server refused connection");
  }
  throw Cr_ErrnoException(k_status_malformed,
                          error + "UNKNOWN tvimagequery error; look in tavrin logs (e.g. tvcatd)");
}

void reject_special_name(const std::string& name) {
  if (!dct::is_plain_shell_word(name) || name.find('/') != std::string::npos) {
    throw Cr_ErrnoException(k_status_malformed,
                            "the name " + name + " cannot be passed to tvimagequery");
  }
}

}  // namespace

// Feeds the parser from the pipe. Checks how the command ended before the iteration ends: after a failed
// command, images that it did not list would count as orphans.
class TVRImageIterator::PopenImageReader final : public details::BaseTVRImageIteratorImpl {
 public:
  PopenImageReader() = default;

  PopenImageReader(const fs::path& admincmd_dir, const std::string& disk_pool,
                   unsigned long hours_ago)
      : BaseTVRImageIteratorImpl(disk_pool, "", "", false) {
    call_tvimagequery(admincmd_dir, "", hours_ago);
  }

  PopenImageReader(const fs::path& admincmd_dir, const std::string& disk_pool,
                   const std::string& client, const std::string& policy, unsigned long hours_ago)
      : BaseTVRImageIteratorImpl(disk_pool, client, policy, true) {
    reject_special_name(client);
    reject_special_name(policy);
    call_tvimagequery(admincmd_dir, " -client " + client + " -policy " + policy, hours_ago);
  }

 protected:
  bool read_line() override;
  bool ok_to_increment() override;
  void finish() override;

 private:
  void call_tvimagequery(const fs::path& admincmd_dir, const std::string& restriction,
                         unsigned long hours_ago);
  void read_no_images();

  boost::scoped_ptr<dct::PopenRead> m_pipe;
};

// The arguments begin with a blank of their own: the product's audit trail has the command that way.
void TVRImageIterator::PopenImageReader::call_tvimagequery(const fs::path& admincmd_dir,
                                                           const std::string& restriction,
                                                           unsigned long hours_ago) {
  const std::string command = (admincmd_dir / "tvimagequery").string() + " " + restriction +
                              " -hoursago " + std::to_string(hours_ago) + " 2>&1";
  m_pipe.reset(new dct::PopenRead(k_listing_line_capacity, dct::PopenRead::start(command)));
  if (!read_line()) {
    finish();
  } else if (no_images_were_found()) {
    read_no_images();
  } else {
    begin();
  }
}

bool TVRImageIterator::PopenImageReader::read_line() {
  const bool read = m_pipe->read_line();
  set_current_line(m_pipe->line(), read && m_pipe->at_end());
  return read;
}

bool TVRImageIterator::PopenImageReader::ok_to_increment() {
  if (!m_pipe->at_end()) return BaseTVRImageIteratorImpl::ok_to_increment();
  throw_if_cut();
  finish();
  if (!current_line().empty()) throw_if_current_line_is_not_IMAGE();  // a fragment of no image
  return false;
}

// The current line stays valid: it is in the pipe's buffer, which outlives the command.
void TVRImageIterator::PopenImageReader::finish() {
  throw_unless_success(m_pipe->close());
}

// Reads the output to its end: a child that is cut off looks like one that failed. A listing that says
// that it is empty and also lists images is an error.
void TVRImageIterator::PopenImageReader::read_no_images() {
  throw_if_cut();
  while (read_line()) {
    throw_if_cut();
    if (current_line_is_image()) {
      throw Cr_ErrnoException(k_status_malformed,
                              "Invalid line in parsing; expected no images,"
                              "but received:\n\t" +
                                  std::string(current_line()));
    }
  }
  finish();
}

TVRImageIterator::TVRImageIterator() : m_reader(new PopenImageReader) {}

TVRImageIterator::TVRImageIterator(const fs::path& admincmd_dir, const std::string& disk_pool,
                                   unsigned long hours_ago)
    : m_reader(new PopenImageReader(admincmd_dir, disk_pool, hours_ago)) {}

TVRImageIterator::TVRImageIterator(const fs::path& admincmd_dir, const std::string& disk_pool,
                                   const std::string& client, const std::string& policy,
                                   unsigned long hours_ago)
    : m_reader(new PopenImageReader(admincmd_dir, disk_pool, client, policy, hours_ago)) {}

TVRImageIterator::~TVRImageIterator() = default;

const TVRImage& TVRImageIterator::dereference() const {
  return *m_reader->current();
}

bool TVRImageIterator::equal(const TVRImageIterator& other) const {
  return m_reader->current() == other.m_reader->current();
}

void TVRImageIterator::increment() {
  m_reader->increment();
}
