#pragma once

#include <functional>
#include <string_view>

#include "platform/status.h"

class PO;

// The path objects of one policy directory.
//
// Threads: one thread at a time.
// Errors: operations return a status, 0 for success.
class PODB {
 public:
  // Takes one basename; the text is valid during the call only.
  using BasenameVisitor = std::function<void(std::string_view)>;

  PODB() = default;
  virtual ~PODB() = default;
  PODB(const PODB&) = delete;
  PODB& operator=(const PODB&) = delete;

  // Hands every basename to `visitor`, in byte order, in one pass that holds no list of them: a
  // directory may have millions. On failure some names may have been handed out already; what was
  // made of them is not to be used. An exception of the visitor passes through.
  virtual cr_status_t get_basenames(const BasenameVisitor& visitor) = 0;

  // Stores `po`, replacing a PO of the same basename.
  virtual cr_status_t put(const PO* po) = 0;
};
