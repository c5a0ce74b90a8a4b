#include "report/saved.h"

#include <string>

namespace report {

const char* const k_saved_size = "iif(typeof(s.size) = 'integer', min(max(s.size, 0), 1 << 52), 0)";

Saved saved_of(record::RunReader& reader) {
  Saved saved;
  reader.rows(std::string("SELECT count(*), sum(") + k_saved_size + ") FROM saved s",
              [&](const record::RunReader::Row& row) {
                saved = {row.count(0), row.count(1)};
              });
  return saved;
}

}  // namespace report
