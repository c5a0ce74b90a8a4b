#pragma once

// Start and stop the process's use of the network library.
//
// There is nothing to start on Linux, where sockets need no set-up: both do nothing. They exist
// because the library's interface pairs them, and other systems need the pair.
inline void NetStart() {}
inline void NetStop() {}
