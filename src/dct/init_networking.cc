#include "dct/init_networking.h"

#include "platform/network.h"

namespace dct {

InitNetworking& InitNetworking::getInstance() {
  static InitNetworking instance;
  return instance;
}

InitNetworking::InitNetworking() {
  NetStart();
}
InitNetworking::~InitNetworking() {
  NetStop();
}

}  // namespace dct
