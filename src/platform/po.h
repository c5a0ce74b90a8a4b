#pragma once

#include <cstdint>
#include <string>

// A path object: one record of a path-object database.
class PO {
 public:
  virtual ~PO() = default;

  std::string basename;
  std::string poid;        // identity of the content, 64 hexadecimal digits
  std::int64_t size = 0;   // bytes of the object
  std::int64_t mtime = 0;  // seconds since the epoch
  std::string record;      // the object's segment list; opaque bytes

  // Sets `text` to a description of the PO on one line, without a line end.
  void to_string(std::string& text) const;
};

// A new, empty PO, owned by the caller; null when there is no memory for it.
PO* POCreate();

// The PO's identity (its POID), which lives as long as the PO.
const std::string& POGetHashRef(const PO& po);
