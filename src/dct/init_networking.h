#pragma once

// Start and stop the network library. Linux needs neither, so both do nothing.
inline void NetStart() {}
inline void NetStop() {}

namespace dct {

// The process's use of the network library, from the first getInstance to the process's end.
// Threads: getInstance may be called from any thread.
class InitNetworking {
 public:
  static InitNetworking& getInstance() {
    static InitNetworking instance;
    return instance;
  }

  InitNetworking(const InitNetworking&) = delete;
  InitNetworking& operator=(const InitNetworking&) = delete;

 private:
  InitNetworking() { NetStart(); }
  ~InitNetworking() { NetStop(); }
};

}  // namespace dct
