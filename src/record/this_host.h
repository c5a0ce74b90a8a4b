#pragma once

#include <string>

namespace record {

// The name of this host, as in records that are made here.
std::string this_host();

}  // namespace record
