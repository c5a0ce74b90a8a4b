#include <cstdlib>
#include <string>

#include "catalog/podb/basename_time_and_copy.h"
#include "catalog/podb/po_filename.h"
#include "fuzz/memory_file.h"

// The client's name, a line end, the basename.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = fuzz::text_of(data, size);
  const std::size_t line_end = text.find('\n');
  if (line_end == std::string::npos || line_end == 0) return -1;
  const std::string client = text.substr(0, line_end);
  const std::string basename = text.substr(line_end + 1);
  catalog::podb::POFilename full;
  catalog::podb::BasenameTimeAndCopy light;
  const bool is_full = fuzz::succeeds([&] { full.parse(basename, client); }, true);
  const bool is_light = fuzz::succeeds([&] { light.parse(basename, client); }, true);
  if (is_full && !is_light) std::abort();
  if (is_light && basename.compare(0, client.size(), client) != 0) std::abort();
  const bool same = full.client_name == light.client_name &&
                    full.backup_time == light.backup_time && full.copy_number == light.copy_number;
  if (is_full && !same) std::abort();
  return 0;
}
