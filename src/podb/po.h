#pragma once

#include <cstdint>
#include <memory>
#include <string>

// The columns of one record of a path-object database.
struct POData {
  std::string basename;
  std::string poid;        // identity of the content, 64 hexadecimal digits
  std::int64_t size = 0;   // bytes of the object
  std::int64_t mtime = 0;  // seconds since the epoch
  std::string record;      // the object's segment list; opaque bytes
};

// New, empty columns, owned by the caller; null if memory is short.
POData* POCreate();

// A path object. Owns its columns; for one thread at a time.
class PO {
 public:
  // Takes over `data`, which must not be null.
  explicit PO(POData* data);
  virtual ~PO();
  PO(const PO&) = delete;
  PO& operator=(const PO&) = delete;

  POData& data() { return *m_data; }
  const POData& data() const { return *m_data; }

  // Sets `text` to a description on one line, without a line end.
  void to_string(std::string& text) const;

 private:
  std::unique_ptr<POData> m_data;
};

// The PO's identity, its POID; valid until the PO changes.
const std::string& POGetHashRef(const PO& po);
