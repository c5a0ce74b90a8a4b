#pragma once

#include "dct/network.h"

namespace dct {

// The process's use of the network library, from the first call of getInstance to the process's
// end.
//
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
