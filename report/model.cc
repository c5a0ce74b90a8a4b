#include "report/model.h"

#include <algorithm>

namespace report {

std::optional<double> ImageGroup::share() const {
  if (!dir_copies || *dir_copies == 0) return std::nullopt;
  return std::min(1.0, static_cast<double>(copies) / static_cast<double>(*dir_copies));
}

bool Report::whole() const {
  return std::all_of(files.begin(), files.end(),
                     [](const SourceFile& file) { return file.whole(); });
}

}  // namespace report
