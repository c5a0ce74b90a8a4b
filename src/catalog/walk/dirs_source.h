#pragma once

#include <string>

namespace catalog {

// Hands out policy directories to several workers, each directory once.
//
// Threads: get_next_path and stop may be called from any thread.
class DirsSource {
 public:
  DirsSource() = default;
  virtual ~DirsSource() = default;
  DirsSource(const DirsSource&) = delete;
  DirsSource& operator=(const DirsSource&) = delete;

  // The next policy directory; an empty text from the end on.
  virtual std::string get_next_path() = 0;

  // Moves to the end: nothing more is handed out.
  virtual void stop() = 0;
};

}  // namespace catalog
