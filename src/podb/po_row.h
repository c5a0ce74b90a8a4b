#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <variant>

namespace database {

// An SQL BLOB.
struct Blob {
  std::string bytes;

  bool operator==(const Blob& other) const { return bytes == other.bytes; }
};

// A value as a database stores it, with its type.
using Value = std::variant<std::int64_t, double, std::string, Blob>;

// The columns of a PO as they are stored: basename, POID, size, mtime, record. Unlike a PO, it
// holds columns of any type.
using PORow = std::array<Value, 5>;

}  // namespace database
