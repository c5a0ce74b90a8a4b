#include "platform/network.h"

void NetStart() {}
void NetStop() {}
