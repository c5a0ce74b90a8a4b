#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <variant>

namespace database {

// Bytes that are no text.
struct Blob {
  std::string bytes;

  bool operator==(const Blob& other) const { return bytes == other.bytes; }
};

// A value as a database stores it, with its type.
using Value = std::variant<std::int64_t, double, std::string, Blob>;

// The columns of a PO as they are stored: basename, POID, size, time of change, record. Unlike a PO, it
// carries whatever types and bytes are there.
using PORow = std::array<Value, 5>;

}  // namespace database
